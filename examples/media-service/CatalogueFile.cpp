// Reading a catalogue from a JSON file (the --catalogue option) instead of the built-in one.

#include <fstream>
#include <stdexcept>
#include <string>

#include <nlohmann/json.hpp>

#include "Catalogue.h"

namespace mediaservice {

namespace {

using Json = nlohmann::json;

std::string textOr(const Json& object, const char* key, const std::string& fallback) {
    auto member = object.find(key);
    return member == object.end() ? fallback : member->get<std::string>();
}

std::int64_t numberOr(const Json& object, const char* key, std::int64_t fallback) {
    auto member = object.find(key);
    return member == object.end() ? fallback : member->get<std::int64_t>();
}

const Json& listOf(const Json& object, const char* key) {
    static const Json empty = Json::array();
    auto member = object.find(key);
    if (member == object.end()) {
        return empty;
    }
    if (!member->is_array()) {
        throw std::invalid_argument(std::string("\"") + key + "\" is not a list");
    }
    return *member;
}

void addArtist(Catalogue& catalogue, const Json& entry) {
    Artist& artist =
        catalogue.addArtist(entry.at("name").get<std::string>(), textOr(entry, "country", ""),
                            numberOr(entry, "formed", 0), textOr(entry, "genre", ""));
    for (const Json& albumEntry : listOf(entry, "albums")) {
        Album& album = catalogue.addAlbum(artist, albumEntry.at("name").get<std::string>(),
                                          numberOr(albumEntry, "year", 0),
                                          textOr(albumEntry, "genre", artist.genre));
        for (const Json& trackEntry : listOf(albumEntry, "tracks")) {
            catalogue.addTrack(album, trackEntry.at("name").get<std::string>(),
                               numberOr(trackEntry, "duration", 0));
        }
    }
}

}  // namespace

Catalogue loadCatalogueFile(const std::string& path) {
    std::ifstream file(path);
    if (!file) {
        throw std::runtime_error("cannot open catalogue file '" + path + "'");
    }
    try {
        const Json document = Json::parse(file);
        Catalogue catalogue;
        for (const Json& entry : listOf(document, "artists")) {
            addArtist(catalogue, entry);
        }
        return catalogue;
    } catch (const std::exception& error) {
        throw std::runtime_error("catalogue file '" + path + "': " + error.what());
    }
}

}  // namespace mediaservice
