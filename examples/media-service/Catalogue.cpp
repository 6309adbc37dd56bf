// The catalogue's tables and the consistent adding of elements.

#include "Catalogue.h"

#include <stdexcept>
#include <utility>

#include "orv/nol/common/Utils.h"

namespace mediaservice {

using orv::nol::common::Utils;

const std::vector<std::string>& Catalogue::kinds() {
    static const std::vector<std::string> kinds{Artist::kKind, Album::kKind, Track::kKind};
    return kinds;
}

bool Catalogue::isKind(const std::string& kind) {
    return fieldsOfKind(kind) != nullptr;
}

const std::vector<const MediaElement*>& Catalogue::elementsOf(const std::string& kind) const {
    static const std::vector<const MediaElement*> none;
    auto table = m_tables.find(kind);
    return table == m_tables.end() ? none : table->second.inOrder;
}

const MediaElement* Catalogue::find(const std::string& kind, const GUID& id) const {
    auto table = m_tables.find(kind);
    if (table == m_tables.end()) {
        return nullptr;
    }
    auto element = table->second.byId.find(id);
    return element == table->second.byId.end() ? nullptr : element->second;
}

Track* Catalogue::findTrack(const GUID& id) {
    // Only tracks are stored in the tracks table, so the cast is safe.
    return static_cast<Track*>(const_cast<MediaElement*>(find(Track::kKind, id)));
}

template <typename Kind>
Kind& Catalogue::add(std::unique_ptr<Kind> element, const std::string& stableName) {
    if (!element->name.isSet() || element->name.value().empty()) {
        throw std::invalid_argument(std::string("a member of ") + Kind::kKind + " has no name");
    }
    element->id = Utils::createHashedGuid(stableName);
    KindTable& table = m_tables[Kind::kKind];
    if (table.byId.count(element->id.value()) != 0) {
        throw std::invalid_argument("the name '" + stableName + "' is taken twice");
    }
    Kind& added = *element;
    table.byId.emplace(added.id.value(), &added);
    table.inOrder.push_back(&added);
    table.owned.push_back(std::move(element));
    return added;
}

Artist& Catalogue::addArtist(const std::string& name, const std::string& country,
                             std::int64_t formed, const std::string& genre) {
    auto artist = std::make_unique<Artist>();
    artist->name = name;
    artist->country = country;
    artist->formed = formed;
    artist->genre = genre;
    return add(std::move(artist), "artist:" + name);
}

Album& Catalogue::addAlbum(Artist& artist, const std::string& name, std::int64_t year,
                           const std::string& genre) {
    auto album = std::make_unique<Album>();
    album->name = name;
    album->artist = artist.id.value();
    album->year = year;
    album->genre = genre;
    Album& added = add(std::move(album), "album:" + artist.name.value() + "/" + name);
    artist.albums.push_back(added.id.value());
    return added;
}

Track& Catalogue::addTrack(Album& album, const std::string& name, std::int64_t durationSeconds) {
    auto track = std::make_unique<Track>();
    track->name = name;
    track->album = album.id.value();
    track->artist = album.artist;
    track->number = static_cast<std::int64_t>(album.tracks.size()) + 1;
    track->duration = durationSeconds;
    const MediaElement* artist = find(Artist::kKind, album.artist);
    const std::string artistName = artist != nullptr ? artist->name.value() : std::string();
    Track& added = add(std::move(track), "track:" + artistName + "/" + album.name.value() + "/" +
                                             std::to_string(album.tracks.size() + 1));
    album.tracks.push_back(added.id.value());
    return added;
}

}  // namespace mediaservice
