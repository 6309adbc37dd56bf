#pragma once

// The media catalogue: every artist, album and track the service knows, by kind and by id,
// with the links between them kept consistent as elements are added.
//
// Thread: none of its own. The service touches its catalogue only on the decoupler's worker
// thread, so no lock is needed.

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "MediaElements.h"

namespace mediaservice {

class Catalogue {
public:
    Catalogue() = default;
    Catalogue(const Catalogue&) = delete;
    Catalogue& operator=(const Catalogue&) = delete;
    Catalogue(Catalogue&&) = default;
    Catalogue& operator=(Catalogue&&) = default;

    // The kinds in the order the service lists them: "artists", "albums", "tracks".
    static const std::vector<std::string>& kinds();
    static bool isKind(const std::string& kind);

    // The elements of `kind` in the order they were added; empty for an unknown kind.
    const std::vector<const MediaElement*>& elementsOf(const std::string& kind) const;

    // The element of `kind` with `id`, or null.
    const MediaElement* find(const std::string& kind, const GUID& id) const;
    Track* findTrack(const GUID& id);

    // Each adds a new element whose id is Utils::createHashedGuid of a stable name ("artist:"
    // + name, "album:" + artist + "/" + album, "track:" + artist + "/" + album + "/" + number)
    // and links it to its parents. Throws std::invalid_argument for an empty name or a name
    // already taken.
    Artist& addArtist(const std::string& name, const std::string& country, std::int64_t formed,
                      const std::string& genre);
    Album& addAlbum(Artist& artist, const std::string& name, std::int64_t year,
                    const std::string& genre);
    Track& addTrack(Album& album, const std::string& name, std::int64_t durationSeconds);

private:
    struct KindTable {
        std::vector<std::unique_ptr<MediaElement>> owned;
        std::vector<const MediaElement*> inOrder;
        std::map<GUID, MediaElement*> byId;
    };

    template <typename Kind>
    Kind& add(std::unique_ptr<Kind> element, const std::string& stableName);

    std::map<std::string, KindTable> m_tables;
};

// The built-in catalogue: a few hundred artists, albums and tracks generated from word lists,
// the same on every run.
Catalogue makeDefaultCatalogue();

// Reads a catalogue from a JSON file of this form (genre, country, formed, year and duration
// may be left out):
//
//   {"artists": [{"name": "Ada", "country": "UK", "formed": 1990, "genre": "jazz",
//                 "albums": [{"name": "First", "year": 1992,
//                             "tracks": [{"name": "Opening", "duration": 241}]}]}]}
//
// Throws std::runtime_error, with the file name and what is wrong, when the file cannot be
// read or does not have this form.
Catalogue loadCatalogueFile(const std::string& path);

}  // namespace mediaservice
