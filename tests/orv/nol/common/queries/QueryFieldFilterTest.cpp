#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "orv/nol/common/queries/Query.h"
#include "support/QueryFields.h"

namespace {

using orv::nol::common::queries::Query;
using support::describe;

using Described = std::vector<std::string>;

// Records are compared as "name|pages|offset|limit".
std::string plain(const std::string& name) {
    return name + "|0|-2147483648|2147483647";
}

std::string paged(const std::string& name, const std::string& offset, const std::string& limit) {
    return name + "|1|" + offset + "|" + limit;
}

const std::string NoOffset = "-2147483648";  // NOLINT(cert-err58-cpp)
const std::string NoLimit = "2147483647";    // NOLINT(cert-err58-cpp)

TEST(QueryFieldFilterTest, ReadsItemsAndTheirParenthesisedPaging) {
    const std::pair<std::string, Described> cases[] = {
        // Items are split at "," and kept as written, empty names and duplicates included.
        {"name,owner", {plain("name"), plain("owner")}},
        {"", {plain("")}},
        {"a,", {plain("a"), plain("")}},
        {",a", {plain(""), plain("a")}},
        {"a,a", {plain("a"), plain("a")}},
        {"x y,%41", {plain("x y"), plain("%41")}},
        // Numeric "$offset" and "$limit" set `pages`; a key given twice takes its last value.
        {"items($offset:10,$limit:5)", {paged("items", "10", "5")}},
        {"items($limit:5)", {paged("items", NoOffset, "5")}},
        {"items($offset:-3)", {paged("items", "-3", NoLimit)}},
        {"items($offset:)", {paged("items", "0", NoLimit)}},  // the empty text is a number
        {"items($limit:1,$limit:2)", {paged("items", NoOffset, "2")}},
        {"items($offset:x,$limit:2)", {paged("items", NoOffset, "2")}},
        // Other pieces are ignored.
        {"items($offset:x)", {plain("items")}},
        {"items($top:3)", {plain("items")}},
        {"items(3)", {plain("items")}},
        {"items($offset:+3)", {plain("items")}},
        {"items($offset:1:2)", {plain("items")}},
        // Text after ")" up to the next "," is skipped; an unclosed "(" ends the reading; the
        // first ")" closes the paging.
        {"a($limit:1)xyz,b", {paged("a", NoOffset, "1"), plain("b")}},
        {"a(b", {plain("a")}},
        {"a(b,c", {plain("a")}},
        {"a(($limit:2)", {plain("a")}},
        {"a(x($limit:2)),b", {plain("a"), plain("b")}},
        {"(),", {plain(""), plain("")}},
    };
    for (const auto& [value, expected] : cases) {
        Query query;
        query.ParseFieldFilterQuery(value);
        EXPECT_TRUE(query.fieldsFilter) << value;
        EXPECT_EQ(describe(query.fieldList), expected) << value;
    }
}

TEST(QueryFieldFilterTest, AppendsToTheFieldsOfEarlierCalls) {
    Query query;
    query.ParseFieldFilterQuery("a");
    query.ParseFromQueryString("$fields=b($limit:1)");
    EXPECT_EQ(describe(query.fieldList), (Described{plain("a"), paged("b", NoOffset, "1")}));
}

}  // namespace
