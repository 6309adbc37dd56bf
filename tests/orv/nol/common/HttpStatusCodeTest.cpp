// HTTP status codes: the table of texts, conversion from integers, and which codes are errors.

#include "orv/nol/common/HttpStatusCode.h"

#include <gtest/gtest.h>

#include <climits>

using namespace orv::nol::common;

// Texts keep the table's own spelling; values outside the table are undefined, and every code
// outside 100 to 399 counts as an error.
TEST(HttpStatusCodeTest, KnownCodesHaveTheirOwnTextsAndOthersAreUndefined) {
    EXPECT_EQ(HttpStatusCodeAndStringMap.size(), 42U);
    // clang-format off
    const std::pair<int, const char*> cases[] = {
        {0, "Undefined"}, {100, "Continue"}, {203, "Non-Authoritative Information"}, {306, "Unused"},
        {404, "NotFound"}, {408, "Request Time-out"}, {414, "Request-URI Too Large"},
        {416, "Requested range not satisfiable"}, {505, "Http Version not supported"},
        {99, nullptr}, {299, nullptr}, {399, nullptr}, {-1, nullptr}, {418, nullptr}, {INT_MIN, nullptr}};
    // clang-format on
    for (const auto& [value, text] : cases) {
        const auto code = static_cast<HttpStatusCode>(value);
        EXPECT_EQ(convertIntToStatusCode(value), text ? code : HttpStatusCode::Undefined) << value;
        EXPECT_EQ(convertStatusCodeToString(code), text ? text : "Invalid StatusCode!") << value;
        EXPECT_EQ(isErrorStatusCode(code), value < 100 || value > 399) << value;
    }
}
