// The built-in catalogue: artists, albums and tracks made up from word lists by a fixed
// pseudo-random sequence, so that every run (and every machine) serves the same elements with
// the same ids.

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <set>
#include <string>

#include "Catalogue.h"

namespace mediaservice {

namespace {

constexpr const char* kArtistAdjectives[] = {
    "Velvet",  "Neon",  "Silent", "Electric", "Golden",  "Paper",  "Midnight",
    "Crystal", "Wild",  "Hollow", "Northern", "Amber",   "Copper", "Lunar",
    "Scarlet", "Quiet", "Broken", "Restless", "Distant", "Iron"};
constexpr const char* kArtistNouns[] = {"Foxes",  "Harbour", "Rivers",  "Engines",  "Lanterns",
                                        "Owls",   "Tides",   "Pilots",  "Gardens",  "Wolves",
                                        "Echoes", "Comets",  "Mirrors", "Sparrows", "Islands",
                                        "Ghosts", "Horses",  "Signals", "Machines", "Satellites"};
constexpr const char* kAlbumFirstWords[] = {"Summer", "Winter", "Static", "Glass", "Open",
                                            "Hidden", "Last",   "First",  "Long",  "Bright",
                                            "Slow",   "Deep",   "Blue",   "Red",   "Silver"};
constexpr const char* kAlbumSecondWords[] = {"Lights",  "Roads", "Hours",   "Waves",   "Dreams",
                                             "Cities",  "Skies", "Letters", "Colours", "Stories",
                                             "Seasons", "Rooms", "Maps",    "Shadows", "Bridges"};
constexpr const char* kTrackVerbs[] = {"Chasing",      "Waiting for", "Dancing in", "Falling into",
                                       "Running from", "Dreaming of", "Holding",    "Leaving",
                                       "Finding",      "Crossing"};
constexpr const char* kTrackObjects[] = {"the Night", "the Rain",    "the Light",   "the Sea",
                                         "the Fire",  "the Morning", "the Stars",   "the City",
                                         "the River", "the Storm",   "the Silence", "the Road"};
constexpr const char* kGenres[] = {"rock", "jazz",  "pop",       "electronic",
                                   "folk", "blues", "classical", "hip hop"};
constexpr const char* kCountries[] = {"UK", "US", "DE", "FR", "SE", "JP", "BR", "CA", "AU", "NO"};

constexpr int kArtistCount = 20;

// A small linear congruential generator: fixed constants, so the sequence is the same
// everywhere (unlike the standard distributions, whose results may differ between libraries).
// Each draw is a statement of its own below: the order in which the arguments of one call are
// evaluated differs between compilers, and with it would the catalogue.
class Sequence {
public:
    std::uint32_t next() {
        m_state = m_state * 1664525U + 1013904223U;
        return m_state >> 8;
    }
    std::uint32_t below(std::uint32_t bound) { return next() % bound; }
    template <std::size_t Count>
    std::string pick(const char* const (&words)[Count]) {
        return words[below(static_cast<std::uint32_t>(Count))];
    }
    // A word of the first list, a blank, a word of the second, drawn in this order.
    template <std::size_t First, std::size_t Second>
    std::string pickTwo(const char* const (&first)[First], const char* const (&second)[Second]) {
        std::string words = pick(first);
        return words + " " + pick(second);
    }

private:
    std::uint32_t m_state = 20240601U;
};

std::string artistName(int index) {
    // 7 and 20 have no common divisor, so every artist gets its own adjective-noun pair.
    const std::string pair = std::string(kArtistAdjectives[index % std::size(kArtistAdjectives)]) +
                             " " + kArtistNouns[(7 * index + 3) % std::size(kArtistNouns)];
    return index % 3 == 1 ? pair : "The " + pair;
}

std::string albumName(Sequence& sequence, std::set<std::string>& taken) {
    std::string name;
    do {
        name = sequence.pickTwo(kAlbumFirstWords, kAlbumSecondWords);
    } while (!taken.insert(name).second);
    return name;
}

void addAlbumWithTracks(Catalogue& catalogue, Artist& artist, Sequence& sequence,
                        const std::string& name, std::int64_t year) {
    const std::string genre = sequence.below(4) == 0 ? sequence.pick(kGenres) : artist.genre;
    Album& album = catalogue.addAlbum(artist, name, year, genre);
    const std::uint32_t trackCount = 5 + sequence.below(6);
    for (std::uint32_t number = 1; number <= trackCount; ++number) {
        const std::string trackName = sequence.pickTwo(kTrackVerbs, kTrackObjects);
        const std::int64_t duration = 120 + sequence.below(300);
        Track& track = catalogue.addTrack(album, trackName, duration);
        track.rating = sequence.below(6);
    }
}

}  // namespace

Catalogue makeDefaultCatalogue() {
    Catalogue catalogue;
    Sequence sequence;
    for (int index = 0; index < kArtistCount; ++index) {
        const std::int64_t formed = 1965 + sequence.below(50);
        const std::string country = sequence.pick(kCountries);
        const std::string genre = sequence.pick(kGenres);
        Artist& artist = catalogue.addArtist(artistName(index), country, formed, genre);
        std::set<std::string> albumNames;
        const std::uint32_t albumCount = 2 + sequence.below(3);
        std::int64_t year = formed + 1;
        for (std::uint32_t album = 0; album < albumCount; ++album) {
            addAlbumWithTracks(catalogue, artist, sequence, albumName(sequence, albumNames), year);
            year += 1 + sequence.below(4);
        }
    }
    return catalogue;
}

}  // namespace mediaservice
