// The example media service below HTTP: which elements a query selects, what of them is
// written, the actions' faults, the routes' status codes, and the catalogue's ids.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Actions.h"
#include "ApiError.h"
#include "Catalogue.h"
#include "MediaRoutes.h"
#include "QuerySelection.h"
#include "Rendering.h"
#include "orv/dataformats/data/Array.h"
#include "orv/dataformats/data/String.h"
#include "orv/media/upnp/soap/Fault.h"
#include "orv/nol/common/Utils.h"

namespace mediaservice {
namespace {

using orv::dataformats::data::Value;
using orv::media::upnp::soap::Fault;
using orv::nol::common::Utils;

// Two artists, three albums, six tracks; durations all differ.
class SmallCatalogue : public ::testing::Test {
protected:
    SmallCatalogue() {
        Artist& ada = catalogue.addArtist("Ada", "UK", 1990, "jazz");
        Artist& bea = catalogue.addArtist("Bea", "US", 1985, "rock");
        Album& first = catalogue.addAlbum(ada, "First", 1992, "jazz");
        catalogue.addTrack(first, "Opening", 200);
        catalogue.addTrack(first, "night walk", 300);
        catalogue.addTrack(first, "Closing", 100);
        Album& second = catalogue.addAlbum(ada, "Second", 1995, "fusion");
        catalogue.addTrack(second, "Alpha", 250);
        Album& loud = catalogue.addAlbum(bea, "Loud", 1987, "rock");
        catalogue.addTrack(loud, "Noise", 180);
        catalogue.addTrack(loud, "Night Drive", 240);
        firstId = first.id.value().toString();
    }

    Page select(const std::string& kind, const std::string& queryText) const {
        Query query;
        query.ParseFromQueryString(queryText);
        return selectPage(catalogue, kind, query);
    }

    std::vector<std::string> names(const std::string& kind, const std::string& queryText) const {
        std::vector<std::string> result;
        for (const MediaElement* element : select(kind, queryText).items) {
            result.push_back(element->name.value());
        }
        return result;
    }

    std::string idOf(const std::string& kind, const std::string& name) const {
        for (const MediaElement* element : catalogue.elementsOf(kind)) {
            if (element->name.value() == name) {
                return element->id.value().toString();
            }
        }
        return "";
    }

    // Renders one element as /media/<kind>/<id>?<queryText> would.
    std::unique_ptr<data::Object> render(const MediaElement& element,
                                         const std::string& queryText) const {
        Query query;
        query.ParseFromQueryString(queryText);
        return Renderer(catalogue, 8080)
            .element(element, FieldSelection::fromQuery(element.kind(), query),
                     Expansion::fromQuery(element.kind(), query));
    }

    const MediaElement& element(const std::string& kind, const std::string& name) const {
        GUID id;
        GUID::parse(idOf(kind, name), id);
        return *catalogue.find(kind, id);
    }

    Catalogue catalogue;
    std::string firstId;
};

using Names = std::vector<std::string>;

TEST_F(SmallCatalogue, SelectionFiltersSearchesSortsAndPages) {
    const struct {
        std::string query;
        Names expected;
    } cases[] = {
        {"", {"Opening", "night walk", "Closing", "Alpha", "Noise", "Night Drive"}},
        {"$sortby=name", {"Alpha", "Closing", "Night Drive", "night walk", "Noise", "Opening"}},
        {"$sortby=-duration",
         {"night walk", "Alpha", "Night Drive", "Opening", "Noise", "Closing"}},
        {"$sortby=,-duration,",
         {"night walk", "Alpha", "Night Drive", "Opening", "Noise", "Closing"}},
        {"$sortby=-number,name",
         {"Closing", "Night Drive", "night walk", "Alpha", "Noise", "Opening"}},
        {"$q=NIGHT", {"night walk", "Night Drive"}},
        {"$q=night%20d", {"Night Drive"}},
        {"$q=", {"Opening", "night walk", "Closing", "Alpha", "Noise", "Night Drive"}},
        {"duration=240", {"Night Drive"}},
        {"name=NOISE", {"Noise"}},
        {"number=2&$sortby=-name", {"night walk", "Night Drive"}},
        {"$offset=2&$limit=2", {"Closing", "Alpha"}},
        {"$offset=99", {}},
        {"$limit=0", {}},
        {"$limit=x", {}},  // the query reads a limit that is no number as 0
        {"$offset=", {"Opening", "night walk", "Closing", "Alpha", "Noise", "Night Drive"}},
        {"$sortby=name&$offset=" + idOf("tracks", "Night Drive") + "&$limit=2",
         {"Night Drive", "night walk"}},
        {"album=" + firstId, {"Opening", "night walk", "Closing"}},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(names("tracks", test.query), test.expected) << test.query;
    }
    EXPECT_EQ(names("albums", "$sortby=genre"), (Names{"Second", "First", "Loud"}));
    EXPECT_EQ(names("artists", "albums=" + firstId), (Names{"Ada"}));
}

TEST_F(SmallCatalogue, PageKnowsItsPlaceInTheResult) {
    const Page page = select("tracks", "$q=night&$offset=1&$limit=5");
    EXPECT_EQ(page.total, 2U);
    EXPECT_EQ(page.offset, 1U);
    EXPECT_EQ(page.limit, 5U);
    EXPECT_EQ(page.items.size(), 1U);
    EXPECT_EQ(select("tracks", "").limit, DefaultPageSize);
}

TEST_F(SmallCatalogue, SelectionRejectsWhatDoesNotFitTheKind) {
    const struct {
        std::string query;
        HttpStatusCode status;
    } cases[] = {
        {"colour=red", HttpStatusCode::BadRequest},
        {"duration=abc", HttpStatusCode::BadRequest},
        {"duration=", HttpStatusCode::BadRequest},
        {"album=xyz", HttpStatusCode::BadRequest},
        {"$sortby=album", HttpStatusCode::BadRequest},
        {"$sortby=-bogus", HttpStatusCode::BadRequest},
        {"$offset=-1", HttpStatusCode::BadRequest},
        {"$limit=-5", HttpStatusCode::BadRequest},
        {"$offset=not-a-guid", HttpStatusCode::BadRequest},
        {"$q=%", HttpStatusCode::BadRequest},
        {"$q=night&$offset=" + idOf("tracks", "Alpha"), HttpStatusCode::NotFound},
    };
    for (const auto& test : cases) {
        try {
            select("tracks", test.query);
            ADD_FAILURE() << test.query << " was accepted";
        } catch (const ApiError& error) {
            EXPECT_EQ(error.status(), test.status) << test.query;
        }
    }
}

TEST_F(SmallCatalogue, FieldsAndPerFieldPaging) {
    const MediaElement& first = element("albums", "First");
    auto all = render(first, "");
    EXPECT_EQ(all->get().size(), 7U);  // id, name, uri, artist, year, genre, tracks

    auto some = render(first, "$fields=name,,year");
    ASSERT_EQ(some->get().size(), 2U);
    EXPECT_NE(some->find("name"), nullptr);
    EXPECT_NE(some->find("year"), nullptr);

    const struct {
        std::string fields;
        std::size_t tracks;
    } pagings[] = {{"tracks($offset:1,$limit:1)", 1}, {"tracks($offset:1)", 2},
                   {"tracks($limit:2)", 2},           {"tracks($offset:5)", 0},
                   {"tracks($limit:0)", 0},           {"tracks", 3}};
    for (const auto& test : pagings) {
        auto object = render(first, "$fields=" + test.fields);
        const auto* tracks = static_cast<const data::Array*>(object->find("tracks"));
        EXPECT_EQ(tracks->get().size(), test.tracks) << test.fields;
    }
    auto second = render(first, "$fields=tracks($offset:1,$limit:1)");
    const auto* link = static_cast<const data::String*>(
        static_cast<const data::Array*>(second->find("tracks"))->get()[0].get());
    EXPECT_EQ(link->get(), ":8080/media/tracks/" + idOf("tracks", "night walk"));
}

TEST_F(SmallCatalogue, ExpansionByLevelAndByName) {
    const auto isObject = [](const Value* value) {
        return value != nullptr && value->getType() == Value::EType::Object;
    };
    const MediaElement& first = element("albums", "First");

    auto byName = render(first, "$expand=artist");
    EXPECT_TRUE(isObject(byName->find("artist")));
    const auto* tracks = static_cast<const data::Array*>(byName->find("tracks"));
    EXPECT_FALSE(isObject(tracks->get()[0].get()));
    // The expanded artist's own links stay links.
    const auto* artist = static_cast<const data::Object*>(byName->find("artist"));
    const auto* albums = static_cast<const data::Array*>(artist->find("albums"));
    EXPECT_FALSE(isObject(albums->get()[0].get()));

    auto levelOne = render(first, "$expand=1");
    EXPECT_TRUE(isObject(levelOne->find("artist")));
    EXPECT_TRUE(
        isObject(static_cast<const data::Array*>(levelOne->find("tracks"))->get()[0].get()));

    auto levelTwo = render(first, "$expand=2");
    const auto* artistTwo = static_cast<const data::Object*>(levelTwo->find("artist"));
    const auto* albumsTwo = static_cast<const data::Array*>(artistTwo->find("albums"));
    ASSERT_TRUE(isObject(albumsTwo->get()[0].get()));
    const auto* nested = static_cast<const data::Object*>(albumsTwo->get()[0].get());
    EXPECT_FALSE(isObject(nested->find("artist")));  // level 2 ends here

    // The query reads "2,artist" as level 0 (the last token's level): nothing is expanded.
    EXPECT_FALSE(isObject(render(first, "$expand=2,artist")->find("artist")));
    EXPECT_FALSE(isObject(render(first, "$expand=0")->find("artist")));

    for (const char* bad : {"$expand=year", "$expand=nope", "$expand=6", "$fields=nope",
                            "$fields=tracks($offset:-1)"}) {
        EXPECT_THROW(render(first, bad), ApiError) << bad;
    }
}

TEST_F(SmallCatalogue, ActionsAnswerBadArgumentsWithStandardFaults) {
    Actions actions(catalogue);
    const std::string track = idOf("tracks", "Alpha");
    const struct {
        std::string action;
        std::string body;
        int fault;  // 0: no fault
    } cases[] = {
        {"RateTrack", R"({"TrackId": ")" + track + R"(", "Rating": 4})", 0},
        {"RateTrack", R"({"TrackId": ")" + track + R"(", "Rating": "5"})", 0},
        {"GetRating", R"({"TrackId": ")" + track + R"("})", 0},
        {"RateTrack", R"({"TrackId": ")" + track + R"(", "Rating": 6})", 601},
        {"RateTrack", R"({"TrackId": ")" + track + R"(", "Rating": -1})", 601},
        {"RateTrack", R"({"TrackId": ")" + track + R"(", "Rating": "99999"})", 601},
        {"RateTrack", R"({"TrackId": ")" + track + R"(", "Rating": "abc"})", 600},
        {"RateTrack", R"({"TrackId": ")" + track + R"(", "Rating": 1.5})", 402},
        {"RateTrack", R"({"TrackId": ")" + track + R"("})", 402},
        {"RateTrack", R"({"TrackId": ")" + track + R"(", "Rating": 1, "Extra": 1})", 402},
        {"RateTrack", R"({"TrackId": "xyz", "Rating": 1})", 600},
        {"RateTrack", R"({"TrackId": "00000000-0000-5000-8000-000000000000", "Rating": 1})", 600},
        {"RateTrack", "[1]", 402},
        {"RateTrack", "not json", 402},
        {"GetRating", "", 402},
        {"Explode", "{}", 401},
    };
    for (const auto& test : cases) {
        try {
            auto out = actions.invoke(test.action, test.body);
            EXPECT_EQ(test.fault, 0) << test.action << " " << test.body;
            EXPECT_NE(out->find("Rating"), nullptr);
        } catch (const Fault& fault) {
            EXPECT_EQ(fault.getCode(), test.fault) << test.action << " " << test.body;
        }
    }
    // Only the two good ratings took effect; the faults changed nothing.
    EXPECT_EQ(static_cast<const Track&>(element("tracks", "Alpha")).rating, 5);
}

TEST_F(SmallCatalogue, RoutesMapFailuresToStatusCodes) {
    MediaRoutes routes(catalogue, 8080);
    const std::string track = "/media/tracks/" + idOf("tracks", "Alpha");
    const struct {
        std::string method;
        std::string target;
        HttpStatusCode status;
    } cases[] = {
        {"GET", "/media", HttpStatusCode::Ok},
        {"GET", "/media/tracks?$limit=1", HttpStatusCode::Ok},
        {"GET", track, HttpStatusCode::Ok},
        {"GET", "/media/actions", HttpStatusCode::Ok},
        {"GET", track + "/more", HttpStatusCode::NotFound},
        {"GET", "/media/songs", HttpStatusCode::NotFound},
        {"GET", "/media/tracks/00000000-0000-0000-0000-000000000000", HttpStatusCode::NotFound},
        {"GET", "/media/tracks/" + idOf("albums", "First"), HttpStatusCode::NotFound},
        {"GET", "/media/tracks/xyz", HttpStatusCode::BadRequest},
        {"GET", "/media/tracks?$sortby=album", HttpStatusCode::BadRequest},
        {"POST", "/media/tracks", HttpStatusCode::MethodNotAllowed},
        {"GET", "/media/actions/GetRating", HttpStatusCode::MethodNotAllowed},
        {"POST", "/media/actions/Explode", HttpStatusCode::InternalServerError},
    };
    for (const auto& test : cases) {
        const ApiResponse response = routes.handle(ApiRequest{test.method, test.target, ""});
        EXPECT_EQ(response.status, test.status) << test.method << " " << test.target;
        ASSERT_NE(response.body, nullptr);
    }
}

TEST(CatalogueIds, AreHashesOfStableNames) {
    Catalogue catalogue;
    Artist& ada = catalogue.addArtist("Ada", "", 0, "");
    Album& album = catalogue.addAlbum(ada, "First", 0, "");
    Track& track = catalogue.addTrack(album, "Opening", 1);
    EXPECT_EQ(ada.id.value(), Utils::createHashedGuid("artist:Ada"));
    EXPECT_EQ(album.id.value(), Utils::createHashedGuid("album:Ada/First"));
    EXPECT_EQ(track.id.value(), Utils::createHashedGuid("track:Ada/First/1"));
    EXPECT_EQ(track.getUri().value(), "/media/tracks/" + track.id.value().toString());
    EXPECT_THROW(catalogue.addArtist("Ada", "", 0, ""), std::invalid_argument);
    EXPECT_THROW(catalogue.addAlbum(ada, "", 0, ""), std::invalid_argument);
}

TEST(DefaultCatalogue, IsTheSameOnEveryRunAndEveryMachine) {
    const Catalogue one = makeDefaultCatalogue();
    const Catalogue two = makeDefaultCatalogue();
    std::size_t size = 0;
    for (const std::string& kind : Catalogue::kinds()) {
        const auto& a = one.elementsOf(kind);
        const auto& b = two.elementsOf(kind);
        ASSERT_EQ(a.size(), b.size()) << kind;
        for (std::size_t i = 0; i < a.size(); ++i) {
            EXPECT_EQ(a[i]->id.value(), b[i]->id.value());
        }
        size += a.size();
    }
    // Pinned: the README shows these ids, and other programs may have stored them.
    EXPECT_EQ(one.elementsOf("artists").size(), 20U);
    EXPECT_EQ(one.elementsOf("albums").size(), 58U);
    EXPECT_EQ(size, 500U);
    const MediaElement* track = one.elementsOf("tracks").front();
    EXPECT_EQ(track->id.value().toString(), "785b66bf-3361-51d3-8147-3aa3a32317ae");
    EXPECT_EQ(track->name.value(), "Running from the Stars");
    EXPECT_EQ(one.elementsOf("albums").back()->id.value().toString(),
              "f7a918a5-3a7b-5fc4-b495-aeaea1aebecb");
}

}  // namespace
}  // namespace mediaservice
