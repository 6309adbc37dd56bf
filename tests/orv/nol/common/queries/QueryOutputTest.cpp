#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>

#include "orv/nol/common/queries/Query.h"

namespace {

using orv::nol::common::queries::FilterField_t;
using orv::nol::common::queries::Query;
using namespace std::string_literals;

using Map = std::map<std::string, std::string>;

Query parsed(const std::string& text) {
    Query query;
    query.ParseFromQueryString(text);
    return query;
}

TEST(QueryOutputTest, StringJoinsTheMapInKeyOrderUnescaped) {
    EXPECT_EQ(Query::None.getString(), "");
    EXPECT_TRUE(Query().getMap().empty());
    EXPECT_EQ(Query::mapToString({{"a", ""}, {"", "x"}}), "=x&a=");
    EXPECT_EQ(Query::mapToString({{"k&", "v=w"}, {"x", "a b"}}), "k&=v=w&x=a b");
    EXPECT_EQ(parsed("b=2&a=1&$limit=5").getString(), "$limit=5&a=1&b=2");
    EXPECT_EQ(parsed("y=1&$sortby=a,-b&$q=x%20y&$expand=c&$fields=f&$offset=3").getString(),
              "$expand=c&$fields=f&$offset=3&$q=x%20y&$sortby=a,-b&y=1");
}

TEST(QueryOutputTest, ValuesAreEscapedUnlessMarkedCoded) {
    Query query;
    query.filterByFields = true;
    query.fieldValueList = {{"name", "a b"}, {"k y", "\n"}};
    query.filterByText = true;
    query.filterText = "r&b";
    EXPECT_EQ(query.getString(), "$q=r%26b&k y=% a&name=a%20b");  // keys stay as they are
    query.filterValuesCoded = query.filterTextCoded = true;
    EXPECT_EQ(query.getString(), "$q=r&b&k y=\n&name=a b");
}

TEST(QueryOutputTest, NothingIsWrittenWithoutItsFlag) {
    Query query;
    query.fieldValueList["a"] = "1";
    query.filterText = "t";
    query.fieldList.push_back(FilterField_t{"f", false, 0, 0});
    query.sortedFieldList = {"s"};
    query.offsetId = "id";
    query.limit = 2;
    EXPECT_EQ(query.getString(), "");
    // A later key overwrites a field-value filter of the same name.
    query.filterByFields = query.filterValuesCoded = query.sortFilter = true;
    query.fieldValueList = {{"$sortby", "filter"}, {"$fields", "filter"}};
    EXPECT_EQ(query.getMap(), (Map{{"$fields", "filter"}, {"$sortby", "s"}}));
}

TEST(QueryOutputTest, FieldsWithPagesWriteBothValues) {
    Query query;
    query.fieldsFilter = true;
    FilterField_t items;
    items.name = "items";
    items.pages = true;
    items.offset = 10;
    query.fieldList.push_back(items);
    query.fieldList.push_back(FilterField_t{"owner", false, 3, 4});  // no pages: no values
    query.fieldList.push_back(FilterField_t{"a b", true, -2147483647 - 1, -1});
    EXPECT_EQ(query.getString(),
              "$fields=items($offset:10,$limit:2147483647),owner,"
              "a b($offset:-2147483648,$limit:-1)");
}

TEST(QueryOutputTest, ExpandWritesTheLevelOrTheNamesByType) {
    Query query;
    query.expandedFieldList = {"owner", "artist"};
    query.expandLevel = 7;
    const std::pair<int, Map> cases[] = {
        {0, {}}, {1, {{"$expand", "7"}}}, {2, {{"$expand", "artist,owner"}}}, {3, {}}, {-1, {}},
    };
    for (const auto& [type, expected] : cases) {
        query.expandType = type;
        EXPECT_EQ(query.getMap(), expected) << type;
    }
    query.expandType = 1;
    query.expandLevel = 255;
    EXPECT_EQ(query.getString(), "$expand=255");
}

TEST(QueryOutputTest, PagingWritesOnlyValuesThatAreSet) {
    struct Case {
        bool pagesExist;
        std::string offsetId;
        int offset;
        int limit;
        std::string expected;
    };
    const int noOffset = -2147483647 - 1;
    const int noLimit = 2147483647;
    const Case cases[] = {
        {true, "", 5, noLimit, "$offset=5"},
        {true, "", noOffset, 10, "$limit=10"},
        {true, "", noOffset, noLimit, ""},
        {true, "", -5, 0, "$limit=0&$offset=-5"},
        {true, "abc", 5, 10, "$limit=10&$offset=abc"},  // the id hides the number
        {false, "abc", 5, 10, ""},
    };
    for (const Case& c : cases) {
        Query query;
        query.pagesExist = c.pagesExist;
        query.offsetId = c.offsetId;
        query.offset = c.offset;
        query.limit = c.limit;
        EXPECT_EQ(query.getString(), c.expected) << c.expected;
    }
}

// The listing of a query parsed from every kind of key; line 13 carries the raw level byte.
TEST(QueryOutputTest, ListingWritesSeventeenLabelledLinesWithTheirLists) {
    const Query query = parsed(
        "$fields=a($limit:5),b&$sortby=x,-y&$expand=owner,artist,2&$offset=id&$q=q%20t&k=v&j=w");
    const std::string expected =
        "FilterByFields: 1,\n"
        "FilterValuesCoded: 1,\n"
        "-- Felder-Wert-liste --: 2\n"
        "Name: j, Wert: w\n"
        "Name: k, Wert: v\n"
        "FilterByText: 1,\n"
        "FilterTextCoded: 1,\n"
        "FilterText: q%20t,\n"
        "FieldsFilter: 1,\n"
        "-- Felderliste --: 2\n"
        "Name: a, Seiten: 1, Offset: -2147483648, Limit: 5\n"
        "Name: b, Seiten: 0, Offset: -2147483648, Limit: 2147483647\n"
        "SortFilter: 1,\n"
        "-- Sortierte Felderliste --: 2\n"
        "Name: x\n"
        "Name: -y\n"
        "ExpandType: 1,\n"
        "-- Expandierte Felderliste --: 2\n"
        "Name: artist\n"
        "Name: owner\n"
        "ExpandLevel: \x02,\n"
        "Pages exist: 1,\n"
        "OffsetId: id,\n"
        "Offset: -2147483648,\n"
        "Limit: 2147483647,\n";
    std::ostringstream out;
    EXPECT_EQ(&query.outputToStream(out), &out);
    EXPECT_EQ(out.str(), expected);

    std::ostringstream viaOperator;
    viaOperator << query;
    EXPECT_EQ(viaOperator.str(), expected);
}

TEST(QueryOutputTest, ListingOfTheEmptyQueryShowsANulLevelByte) {
    const std::string expected =
        "FilterByFields: 0,\n"
        "FilterValuesCoded: 0,\n"
        "-- Felder-Wert-liste --: 0\n"
        "FilterByText: 0,\n"
        "FilterTextCoded: 0,\n"
        "FilterText: ,\n"
        "FieldsFilter: 0,\n"
        "-- Felderliste --: 0\n"
        "SortFilter: 0,\n"
        "-- Sortierte Felderliste --: 0\n"
        "ExpandType: 0,\n"
        "-- Expandierte Felderliste --: 0\n"
        "ExpandLevel: \0,\n"
        "Pages exist: 0,\n"
        "OffsetId: ,\n"
        "Offset: -2147483648,\n"
        "Limit: 2147483647,\n"s;
    std::ostringstream out;
    out << Query::None;
    EXPECT_EQ(out.str(), expected);

    // The stream's format flags do not change the listing.
    std::ostringstream formatted;
    formatted << std::boolalpha << std::hex << std::showpos;
    formatted << Query::None;
    EXPECT_EQ(formatted.str(), expected);
}

}  // namespace
