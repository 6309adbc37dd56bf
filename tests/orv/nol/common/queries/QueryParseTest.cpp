#include <gtest/gtest.h>

#include <iterator>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "orv/nol/common/queries/Query.h"

namespace {

using orv::nol::common::queries::isNumber;
using orv::nol::common::queries::LIMIT_NOT_SET;
using orv::nol::common::queries::OFFSET_NOT_SET;
using orv::nol::common::queries::Query;
using namespace std::string_literals;

using Map = std::map<std::string, std::string>;
using Names = std::set<std::string>;

Query parsed(const std::string& text) {
    Query query;
    query.ParseFromQueryString(text);
    return query;
}

TEST(QueryParseTest, DefaultQueryAndNoneHoldTheDefaults) {
    const Query fresh;
    for (const Query* query : {&Query::None, &fresh}) {
        EXPECT_TRUE(query->isEmpty());
        EXPECT_FALSE(query->filterValuesCoded || query->filterTextCoded);
        EXPECT_EQ(query->expandLevel, 0);
        EXPECT_EQ(query->offset, -2147483647 - 1);
        EXPECT_EQ(query->limit, 2147483647);
    }
}

TEST(QueryParseTest, IsNumberAllowsOnlyDigitsAndALeadingMinus) {
    for (const std::string number : {"", "-", "0", "-12", "0042"}) {
        EXPECT_TRUE(isNumber(number)) << number;
    }
    for (const std::string other : {"1-2", "+1", " 1", "1.5", "--1", "abc"}) {
        EXPECT_FALSE(isNumber(other)) << other;
    }
}

TEST(QueryParseTest, StringToMapKeepsPiecesWithExactlyOneEqualsUnchanged) {
    const std::pair<std::string, Map> cases[] = {
        {"", {}},
        {"a=1=2", {}},
        {"a=", {{"a", ""}}},
        {"=x", {{"", "x"}}},
        {"a=1&a=2", {{"a", "2"}}},
        {"a=1&&b&c=2&", {{"a", "1"}, {"c", "2"}}},
        {"?$limit=5", {{"?$limit", "5"}}},
        {" k = a%20b+c", {{" k ", " a%20b+c"}}},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(Query::stringToMap(text), expected) << text;
    }
}

TEST(QueryParseTest, NothingUsableGivesFalseAndChangesNothing) {
    for (const std::string text : {"", "abc", "a=1=2", "&&"}) {
        Query query;
        EXPECT_FALSE(query.ParseFromQueryString(text)) << text;
        EXPECT_TRUE(query.isEmpty() && query.fieldValueList.empty()) << text;
    }
    EXPECT_FALSE(Query().ParseFromQueryMap({}));
}

TEST(QueryParseTest, TextAndOtherKeysAreStoredCoded) {
    Query query;
    EXPECT_TRUE(query.ParseFromQueryString("abc=&name=a%20b&$Q=x&$top=3&$q=r%20m"));
    EXPECT_TRUE(query.filterByFields && query.filterValuesCoded);
    // Keys are case-sensitive; unknown "$" keys are field filters too.
    EXPECT_EQ(query.fieldValueList,
              (Map{{"abc", ""}, {"name", "a%20b"}, {"$Q", "x"}, {"$top", "3"}}));
    EXPECT_TRUE(query.filterByText && query.filterTextCoded);
    EXPECT_EQ(query.filterText, "r%20m");
}

TEST(QueryParseTest, OffsetIsReadOnlyWhenNumericLimitAlways) {
    struct Case {
        std::string text;
        std::string offsetId;
        int offset;
        int limit;
    };
    const Case cases[] = {
        {"$limit=10&$offset=20", "", 20, 10},
        {"$offset=abc", "abc", OFFSET_NOT_SET, LIMIT_NOT_SET},
        {"$offset=", "", 0, LIMIT_NOT_SET},  // the empty text counts as a number
        {"$offset=-", "", 0, LIMIT_NOT_SET},
        {"$offset= 5", " 5", OFFSET_NOT_SET, LIMIT_NOT_SET},
        {"$limit=x", "", OFFSET_NOT_SET, 0},  // a non-numeric limit becomes 0
        {"$limit=4294967297", "", OFFSET_NOT_SET, 1},
        {"$offset=x&$offset=5", "", 5, LIMIT_NOT_SET},  // only the last value of a key
    };
    for (const Case& c : cases) {
        const Query query = parsed(c.text);
        EXPECT_TRUE(query.pagesExist) << c.text;
        EXPECT_EQ(query.offsetId, c.offsetId) << c.text;
        EXPECT_EQ(query.offset, c.offset) << c.text;
        EXPECT_EQ(query.limit, c.limit) << c.text;
    }
}

TEST(QueryParseTest, SortByKeepsTokensAndAReparseReplacesThem) {
    Query query;
    query.ParseFromQueryString("$sortby=a,,b");
    EXPECT_TRUE(query.sortFilter);
    EXPECT_EQ(query.sortedFieldList, (std::vector<std::string>{"a", "", "b"}));
    query.ParseFromQueryString("$sortby=-date");
    EXPECT_EQ(query.sortedFieldList, (std::vector<std::string>{"-date"}));
}

TEST(QueryParseTest, ExpandTakesTheLevelOfEveryTokenInOrder) {
    struct Case {
        std::string value;
        Names names;
        int type;
        int level;
    };
    const Case cases[] = {
        {"owner,2", {"owner"}, 1, 2},
        {"2,owner", {"owner"}, 1, 0},  // the name resets the level, the type stays 1
        {"b,a,b", {"a", "b"}, 2, 0},
        {"0", {"0"}, 2, 0},
        {"", {""}, 2, 0},
        {"257", {}, 1, 1},       // narrowed to 8 bits
        {"256", {"256"}, 2, 0},  // reads as level 0, so a name
        {"-1", {}, 1, 255},
    };
    for (const Case& c : cases) {
        const Query query = parsed("$expand=" + c.value);
        EXPECT_EQ(query.expandType, c.type) << c.value;
        EXPECT_EQ(query.expandLevel, c.level) << c.value;
        EXPECT_EQ(query.expandedFieldList, c.names) << c.value;
    }
}

TEST(QueryParseTest, ParsesAddToThePresentState) {
    Query query;
    query.ParseFromQueryString("a=1&$limit=5&$offset=x&$expand=a");
    query.ParseFromQueryString("b=2&a=3&$offset=7&$expand=2");
    query.ParseExpandQuery("b");
    EXPECT_EQ(query.fieldValueList, (Map{{"a", "3"}, {"b", "2"}}));
    EXPECT_EQ(query.limit, 5);
    EXPECT_EQ(query.offset, 7);
    EXPECT_EQ(query.offsetId, "x");  // not reset by the numeric offset
    EXPECT_EQ(query.expandType, 1);  // a 1 is never turned back into 2
    EXPECT_EQ(query.expandedFieldList, (Names{"a", "b"}));
}

TEST(QueryParseTest, IsEmptyLooksOnlyAtTheFlagsAndTheExpandType) {
    Query query;
    query.filterValuesCoded = query.filterTextCoded = true;
    query.fieldValueList["a"] = "b";
    query.offset = 1;
    EXPECT_TRUE(query.isEmpty());
    query.expandType = 3;
    EXPECT_FALSE(query.isEmpty());
    for (const std::string text : {"x=", "$q=", "$fields=", "$sortby=", "$limit=", "$expand="}) {
        EXPECT_FALSE(parsed(text).isEmpty()) << text;
    }
}

std::string listing(const Query& query) {
    std::ostringstream out;
    out << query;
    return out.str();
}

// Parsing text directly must leave exactly the state that parsing its map does, on any bytes,
// also when the text repeats keys and the query already holds values.
TEST(QueryParseTest, TextParsesExactlyAsItsMap) {
    std::mt19937 random(31337);
    const std::string alphabet = "&&==$$,,()::-1a0qz %\xff\0"s;
    const std::string keys[] = {"$fields", "$sortby", "$expand", "$offset", "$limit", "$q", "a"};
    std::uniform_int_distribution<std::size_t> pickChar(0, alphabet.size() - 1);
    std::uniform_int_distribution<std::size_t> pickKey(0, std::size(keys) - 1);
    std::uniform_int_distribution<int> length(0, 40);
    for (int round = 0; round < 3000; ++round) {
        std::string text;
        for (int i = length(random); i > 0; --i) {
            text += pickChar(random) < 3 ? "&" + keys[pickKey(random)] + "="
                                         : std::string(1, alphabet[pickChar(random)]);
        }
        Query direct = parsed("$fields=x&$expand=y&$offset=z&k=v");
        Query viaMap = direct;
        ASSERT_EQ(direct.ParseFromQueryString(text),
                  viaMap.ParseFromQueryMap(Query::stringToMap(text)))
            << text;
        ASSERT_EQ(listing(direct), listing(viaMap)) << text;
    }
}

}  // namespace
