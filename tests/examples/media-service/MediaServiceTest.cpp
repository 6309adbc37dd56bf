// Reading a catalogue file (--catalogue): the documented form with the defaults of what it leaves
// out, and each way a file can be wrong, reported with the file's name. Everything the service
// answers over HTTP is checked by media_service_e2e.py.

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <utility>

#include "Catalogue.h"
#include "orv/nol/common/Utils.h"

namespace mediaservice {
namespace {

using orv::nol::common::Utils;

std::string fileHolding(const std::string& text) {
    const std::string path =
        ::testing::TempDir() + "media-catalogue-" + std::to_string(getpid()) + ".json";
    std::ofstream(path) << text;
    return path;
}

template <typename Kind>
const Kind& nth(const Catalogue& catalogue, std::size_t index) {
    return static_cast<const Kind&>(*catalogue.elementsOf(Kind::kKind).at(index));
}

TEST(CatalogueFile, LeftOutMembersTakeTheirDefaults) {
    // A track's id comes from its number, so a name may come twice on an album; an album's from
    // its artist's name, so two artists may have albums of the same name.
    const Catalogue catalogue = loadCatalogueFile(fileHolding(R"({"artists": [
        {"name": "Ada", "genre": "jazz", "albums": [
            {"name": "First", "tracks": [{"name": "Intro"}, {"name": "Intro", "duration": 7}]},
            {"name": "Second", "year": 1995, "genre": "pop"}]},
        {"name": "Bea", "albums": [{"name": "First"}]}]})"));
    EXPECT_EQ(nth<Album>(catalogue, 0).genre, "jazz");  // the artist's
    EXPECT_EQ(nth<Album>(catalogue, 1).genre, "pop");
    EXPECT_EQ(nth<Track>(catalogue, 0).duration, 0);
    EXPECT_EQ(nth<Track>(catalogue, 1).duration, 7);
    EXPECT_EQ(nth<Track>(catalogue, 1).id.value(), Utils::createHashedGuid("track:Ada/First/2"));
    EXPECT_EQ(nth<Album>(catalogue, 2).id.value(), Utils::createHashedGuid("album:Bea/First"));
    EXPECT_TRUE(loadCatalogueFile(fileHolding("{}")).elementsOf("artists").empty());
}

TEST(CatalogueFile, SaysWhatIsWrongAndWhere) {
    const auto failureOf = [](const std::string& path) -> std::string {
        try {
            loadCatalogueFile(path);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "accepted";
    };
    const std::string missing = ::testing::TempDir() + "no-such-dir/catalogue.json";
    EXPECT_EQ(failureOf(missing), "cannot open catalogue file '" + missing + "'");
    const std::pair<const char*, const char*> cases[] = {
        {R"({"artists": [)", "parse error"},
        {R"({"artists": {}})", R"("artists" is not a list)"},
        {R"({"artists": [{"country": "UK"}]})", "'name' not found"},
        {R"({"artists": [{"name": "A", "albums": [{"name": 5}]}]})", "must be string"},
        {R"({"artists": [{"name": ""}]})", "a member of artists has no name"},
        {R"({"artists": [{"name": "A"}, {"name": "A"}]})", "'artist:A' is taken twice"},
    };
    for (const auto& [text, says] : cases) {
        const std::string path = fileHolding(text);
        const std::string failure = failureOf(path);
        EXPECT_EQ(failure.rfind("catalogue file '" + path + "': ", 0), 0U) << failure;
        EXPECT_NE(failure.find(says), std::string::npos) << failure;
    }
}

}  // namespace
}  // namespace mediaservice
