// Query: splitting and parsing query text ($fields, $sortby, $expand, paging, filters), printing
// it back as text and listing, and the round trip between the two.

#include "orv/nol/common/queries/Query.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "support/QueryRoundTrip.h"

using namespace orv::nol::common::queries;
using namespace std::string_literals;

static Query parsed(const std::string& text) {
    Query query;
    query.ParseFromQueryString(text);
    return query;
}

static std::string listing(const Query& query) {
    std::ostringstream out;
    out << query;
    return out.str();
}

// The parsed state in one line, a section per flag that is set: F{key=value,...} T{text}
// L{field(offset:limit),...} S{token,...} E<type>/<level>{name,...} P{offsetId,offset,limit},
// where a field shows its paging when it has pages, and "-" an offset or limit that is not set.
static std::string state(const Query& q) {
    const auto num = [](int v) {
        return v == OFFSET_NOT_SET || v == LIMIT_NOT_SET ? "-" : std::to_string(v);
    };
    std::vector<std::string> filters, fields;
    for (const auto& [key, value] : q.fieldValueList)
        filters.push_back(key + "=" + value);
    for (const auto& f : q.fieldList)
        fields.push_back(f.name + (f.pages ? "(" + num(f.offset) + ":" + num(f.limit) + ")" : ""));
    const auto section = [](const std::string& head, bool on, const auto& items) {
        std::string text;
        for (const auto& item : items)
            text += (&item == &*items.begin() ? "" : ",") + item;
        return on ? head + "{" + text + "}" : "";
    };
    return section("F", q.filterByFields, filters) +
           (q.filterByText ? "T{" + q.filterText + "}" : "") +
           section("L", q.fieldsFilter, fields) + section("S", q.sortFilter, q.sortedFieldList) +
           section("E" + std::to_string(q.expandType) + "/" + std::to_string(q.expandLevel),
                   q.expandType != 0, q.expandedFieldList) +
           section("P", q.pagesExist,
                   std::vector<std::string>{q.offsetId, num(q.offset), num(q.limit)});
}

// Text without a single key=value pair parses to false and sets nothing; a query is empty
// exactly when none of its flags is set.
TEST(QueryTest, ParsesEachKeyIntoItsMembers) {
    // clang-format off
    const std::pair<const char*, const char*> cases[] = {
        {"", ""}, {"abc", ""}, {"a=1=2", ""}, {"&&", ""}, {" k = a%20b+c", "F{ k = a%20b+c}"},
        {"abc=", "F{abc=}"}, {"=x", "F{=x}"}, {"a=1&a=2", "F{a=2}"}, {"$q=r%20m", "T{r%20m}"},
        {"name=a%20b&$Q=x&$top=3&?$limit=5", "F{$Q=x,$top=3,?$limit=5,name=a%20b}"},
        {"$q=x&$fields=f&$sortby=s&k=v&$expand=e&$limit=1", "F{k=v}T{x}L{f}S{s}E2/0{e}P{,-,1}"},
        // A non-numeric offset is an id, the empty text and "-" are numbers; a limit is always read.
        {"$limit=10&$offset=20", "P{,20,10}"}, {"$offset=-12", "P{,-12,-}"}, {"$offset=", "P{,0,-}"},
        {"$offset=-", "P{,0,-}"}, {"$offset=abc", "P{abc,-,-}"}, {"$offset= 5", "P{ 5,-,-}"},
        {"$offset=+1", "P{+1,-,-}"}, {"$offset=1-2", "P{1-2,-,-}"}, {"$offset=x&$offset=5", "P{,5,-}"},
        {"$limit=x", "P{,-,0}"}, {"$limit=4294967297", "P{,-,1}"}, {"$sortby=a,,b", "S{a,,b}"},
        {"$expand=a&x=1&$expand=2", "F{x=1}E1/2{}"}, {"$expand=a&$expand=2", "E1/2{}"},  // the last one counts
        // Every $expand token sets the level; a token of level 0 is a name.
        {"$expand=owner,2", "E1/2{owner}"}, {"$expand=2,owner", "E1/0{owner}"}, {"$expand=b,a,b", "E2/0{a,b}"},
        {"$expand=0", "E2/0{0}"}, {"$expand=257", "E1/1{}"}, {"$expand=256", "E2/0{256}"},
        {"$expand=-1", "E1/255{}"},
        // $fields: items split at ",", each with optional paging; names kept as written.
        {"$fields=name,owner", "L{name,owner}"}, {"$fields=", "L{}"}, {"$fields=,a,a,", "L{,a,a,}"},
        {"$fields=x y,%41", "L{x y,%41}"}, {"$fields=items($offset:10,$limit:5)", "L{items(10:5)}"},
        {"$fields=i($limit:5)", "L{i(-:5)}"}, {"$fields=i($offset:-3)", "L{i(-3:-)}"}, {"$fields=i($offset:)", "L{i(0:-)}"},
        {"$fields=i($limit:1,$limit:2)", "L{i(-:2)}"}, {"$fields=i($offset:x,$limit:2)", "L{i(-:2)}"},
        {"$fields=i($offset:x)", "L{i}"}, {"$fields=i($top:3)", "L{i}"}, {"$fields=i(3)", "L{i}"},
        {"$fields=i($offset:+3)", "L{i}"}, {"$fields=i($offset:1:2)", "L{i}"}, {"$fields=a(b,c", "L{a}"},
        {"$fields=a($limit:1)xyz,b", "L{a(-:1),b}"}, {"$fields=a(x($limit:2)),b", "L{a,b}"}, {"$fields=(),", "L{,}"}};
    // clang-format on
    for (const auto& [text, expected] : cases) {
        Query query;
        EXPECT_EQ(query.ParseFromQueryString(text), *expected != '\0') << text;
        EXPECT_EQ(state(query), expected) << text;
        EXPECT_EQ(query.isEmpty(), *expected == '\0') << text;
    }
    EXPECT_FALSE(Query().ParseFromQueryMap({}));
    EXPECT_TRUE(isNumber("-12") && isNumber("") && !isNumber("1.5"));  // the rule of $offset
}

TEST(QueryTest, ParsesAddToThePresentState) {
    Query query = parsed("a=1&$limit=5&$offset=x&$expand=a&$fields=f&$sortby=s");
    query.ParseFromQueryString("b=2&a=3&$offset=7&$expand=2");
    query.ParseExpandQuery("b");  // a 1 is never turned back into 2
    query.ParseFieldFilterQuery("g($limit:1)");
    query.ParseSortQuery("t,u");  // replaces the tokens
    EXPECT_EQ(state(query), "F{a=3,b=2}L{f,g(-:1)}S{t,u}E1/0{a,b}P{x,7,5}");
}

// A Parse* member given text that one of the query's own strings holds reads it as it stood at
// the call, as it reads a copy; the parse may overwrite, move or free that string meanwhile.
TEST(QueryTest, ParsesTextHeldByTheQueryItselfAsACopy) {
    using Place = std::function<const std::string&(Query&, const std::string&)>;
    using Parse = std::function<void(Query&, const std::string&)>;
    const Parse text = [](Query& q, const std::string& t) { q.ParseFromQueryString(t); };
    const Parse fields = [](Query& q, const std::string& t) { q.ParseFieldFilterQuery(t); };
    const Parse sort = [](Query& q, const std::string& t) { q.ParseSortQuery(t); };
    const Parse expand = [](Query& q, const std::string& t) { q.ParseExpandQuery(t); };
    const std::string heap(40, 'x');  // too long to be held inside the string object
    // clang-format off
    const std::tuple<const char*, Place, Parse, std::string> cases[] = {
        {"filterText", [](Query& q, const std::string& t) -> const std::string& { return q.filterText = t; },
         text, "zz=1&$q=" + heap},
        {"offsetId", [](Query& q, const std::string& t) -> const std::string& { return q.offsetId = t; },
         text, "zz=1&$offset=" + heap},
        {"fieldValueList", [](Query& q, const std::string& t) -> const std::string& { return q.fieldValueList["k"] = t; },
         text, "zz=1&k=" + heap},
        {"fieldList", [](Query& q, const std::string& t) -> const std::string& { return q.fieldList[0].name = t; },
         fields, "a,b($limit:2),c"},
        {"fieldList", [](Query& q, const std::string& t) -> const std::string& { return q.fieldList[0].name = t; },
         text, "$fields=a,b,cd"},
        {"sortedFieldList", [](Query& q, const std::string& t) -> const std::string& { return q.sortedFieldList[0] = t; },
         sort, "a,b," + heap},
        {"sortedFieldList", [](Query& q, const std::string& t) -> const std::string& { return q.sortedFieldList[0] = t; },
         text, "$sortby=a,b," + heap},
        {"expandedFieldList", [](Query& q, const std::string& t) -> const std::string& { return *q.expandedFieldList.insert(t).first; },
         expand, "a,2," + heap}};
    // clang-format on
    for (const auto& [field, place, parse, input] : cases) {
        Query query = parsed("$fields=f&$sortby=s&$expand=e&k=v");
        const std::string& own = place(query, input);
        Query expected = query;
        parse(expected, input);
        parse(query, own);
        EXPECT_EQ(state(query), state(expected)) << field << ": " << input;
    }
}

// The printed text joins the map in key order without escaping keys; values whose coded flag is
// not set are escaped; a part whose flag is not set is not written.
TEST(QueryTest, GetStringWritesTheFlaggedPartsInKeyOrder) {
    EXPECT_EQ(Query::mapToString({{"k&", "v=w"}, {"", "x"}, {"a", ""}}), "=x&a=&k&=v=w");
    EXPECT_EQ(parsed("y=1&$sortby=a,-b&$q=x%20y&$expand=c&$fields=f&$offset=3&b=2").getString(),
              "$expand=c&$fields=f&$offset=3&$q=x%20y&$sortby=a,-b&b=2&y=1");
    // clang-format off
    const std::pair<std::function<Query()>, const char*> cases[] = {
        {[] { Query q; q.fieldValueList = {{"a", "1"}}; q.filterText = "t"; q.fieldList = {{"f"}};
              q.sortedFieldList = {"s"}; q.expandType = 3; q.expandedFieldList = {"e"}; q.offsetId = "id"; q.limit = 2;
              return q; }, ""},
        {[] { Query q; q.filterByFields = q.filterByText = q.filterValuesCoded = true; q.filterText = "r&b";
              q.fieldValueList = {{"name", "a b"}, {"k y", "\n"}}; return q; }, "$q=r%26b&k y=\n&name=a b"},
        {[] { Query q; q.filterByFields = q.filterByText = q.filterTextCoded = true; q.filterText = "r&b";
              q.fieldValueList = {{"name", "a b"}, {"k y", "\n"}}; return q; }, "$q=r&b&k y=% a&name=a%20b"},
        // The reserved keys come after the field-value filters and overwrite them.
        {[] { Query q; q.filterByFields = q.filterValuesCoded = q.sortFilter = true;
              q.fieldValueList = {{"$sortby", "f"}}; q.sortedFieldList = {"a", ""}; return q; }, "$sortby=a,"},
        {[] { Query q; q.fieldsFilter = true; q.fieldList = {{"a b", true, OFFSET_NOT_SET, -1}, {"o", false, 3, 4}};
              return q; }, "$fields=a b($offset:-2147483648,$limit:-1),o"},
        {[] { Query q; q.pagesExist = true; q.offsetId = "x"; q.offset = 5; return q; }, "$offset=x"}};
    // clang-format on
    for (const auto& [make, expected] : cases)
        EXPECT_EQ(make().getString(), expected);
}

TEST(QueryTest, ListingWritesSeventeenLabelledLinesWithTheLevelAsARawByte) {
    const Query query = parsed(
        "$fields=a($limit:5),b&$sortby=x,-y&$expand=owner,artist,2&$offset=id&$q=q%20t&k=v&j=w");
    const std::string expected =
        "FilterByFields: 1,\nFilterValuesCoded: 1,\n-- Felder-Wert-liste --: 2\n"
        "Name: j, Wert: w\nName: k, Wert: v\nFilterByText: 1,\nFilterTextCoded: 1,\n"
        "FilterText: q%20t,\nFieldsFilter: 1,\n-- Felderliste --: 2\n"
        "Name: a, Seiten: 1, Offset: -2147483648, Limit: 5\n"
        "Name: b, Seiten: 0, Offset: -2147483648, Limit: 2147483647\n"
        "SortFilter: 1,\n-- Sortierte Felderliste --: 2\nName: x\nName: -y\nExpandType: 1,\n"
        "-- Expandierte Felderliste --: 2\nName: artist\nName: owner\nExpandLevel: \x02,\n"
        "Pages exist: 1,\nOffsetId: id,\nOffset: -2147483648,\nLimit: 2147483647,\n";
    std::ostringstream out, formatted;
    EXPECT_EQ(&query.outputToStream(out), &out);
    EXPECT_EQ(out.str(), expected);
    formatted << std::boolalpha << std::hex << std::showpos << query;
    EXPECT_EQ(formatted.str(), expected);
    EXPECT_THAT(listing(Query::None),
                testing::EndsWith("ExpandLevel: \0,\nPages exist: 0,\nOffsetId: "
                                  ",\nOffset: -2147483648,\nLimit: 2147483647,\n"s));
}

// Query texts from typical and awkward pieces: repeated keys, pieces that are no pair, unclosed
// paging, numbers at the edges of their range, and names that read as levels. A piece may go on
// with the values of other pieces, separated by ",".
static std::string randomQuery(std::mt19937& random) {
    // clang-format off
    static const std::vector<std::string> pieces = {
        "$fields=name", "$fields=items($offset:10,$limit:5)", "$fields=a b($offset:", "$fields=%41($top:3,3)",
        "$fields=", "$fields=x)y", "$fields=0($offset:-2147483648)", "$fields=i($limit:2147483647)",
        "$fields=i($limit:x,$offset:)", "$sortby=-date", "$sortby=date+", "$sortby=a b", "$expand=owner",
        "$expand=0", "$expand=2", "$expand=256", "$expand=-1", "$expand=", "$offset=", "$offset=-", "$offset=12",
        "$offset=abc", "$offset=-2147483648", "$offset=2147483647", "$limit=", "$limit=5", "$limit=x",
        "$limit=2147483647", "$limit=-2147483648", "$q=rock", "$q=a%20b", "$q=%", "genre=", "genre=x+y",
        "$top=100%", "?$limit=(:)", "=-", "abc", "a=b=c", ""};
    // clang-format on
    std::string text;
    for (auto n = random() % 8; n > 0; --n) {
        text += (text.empty() ? "" : "&") + pieces[random() % pieces.size()];
        for (auto more = random() % 3; more > 0; --more) {
            const std::string& next = pieces[random() % pieces.size()];
            text += "," + next.substr(next.find('=') + 1);
        }
    }
    return text;
}

// Printing a parsed query and parsing the text again gives the same query but for the known
// losses; parsing a text gives the same query as parsing its map.
TEST(QueryTest, PrintedTextParsesBackToTheSameQuery) {
    std::mt19937 random(0x5eed);
    support::QueryRoundTripLosses losses;
    for (int round = 0; round < 3000 && !HasFailure(); ++round) {
        const std::string text = randomQuery(random);
        const Query original = parsed(text);
        const std::string printed = original.getString();
        Query again, fromMap;
        EXPECT_EQ(again.ParseFromQueryString(printed), !printed.empty()) << printed;
        EXPECT_THAT(support::queryRoundTripMismatches(original, again, losses), testing::IsEmpty())
            << "text: " << text << "\nprinted: " << printed;
        fromMap.ParseFromQueryMap(Query::stringToMap(text));
        EXPECT_EQ(listing(fromMap), listing(original)) << text;
    }
    EXPECT_TRUE(losses.levelExpansion && losses.levelZeroAsName && losses.pagesFlagLost);
}
