#include "orv/nol/common/HttpStatusCode.h"

#include <gtest/gtest.h>

#include <climits>

namespace orv {
namespace nol {
namespace common {
namespace {

HttpStatusCode code(int value) {
    return static_cast<HttpStatusCode>(value);
}

TEST(HttpStatusCodeTest, TableHasTheFortyTwoCodesInAscendingOrder) {
    ASSERT_EQ(HttpStatusCodeAndStringMap.size(), 42U);
    EXPECT_EQ(HttpStatusCodeAndStringMap.begin()->first, HttpStatusCode::Undefined);
    EXPECT_EQ(HttpStatusCodeAndStringMap.rbegin()->first, code(505));
}

TEST(HttpStatusCodeTest, TextsKeepTheirOwnSpelling) {
    const struct {
        int value;
        const char* text;
    } cases[] = {
        {0, "Undefined"},
        {200, "OK"},
        {203, "Non-Authoritative Information"},
        {306, "Unused"},
        {404, "NotFound"},
        {408, "Request Time-out"},
        {414, "Request-URI Too Large"},
        {416, "Requested range not satisfiable"},
        {504, "Gateway Time-out"},
        {505, "Http Version not supported"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(convertStatusCodeToString(code(c.value)), c.text) << c.value;
    }
}

TEST(HttpStatusCodeTest, UnknownValuesGiveUndefinedAndTheInvalidText) {
    EXPECT_EQ(convertIntToStatusCode(404), HttpStatusCode::NotFound);
    for (int value : {299, -1, 1, 418, 600, INT_MIN, INT_MAX}) {
        EXPECT_EQ(convertIntToStatusCode(value), HttpStatusCode::Undefined) << value;
        EXPECT_EQ(convertStatusCodeToString(code(value)), "Invalid StatusCode!") << value;
    }
    EXPECT_EQ(&convertStatusCodeToString(code(299)), &convertStatusCodeToString(code(-7)));
}

TEST(HttpStatusCodeTest, ErrorCodesAreAllButOneToThreeHundreds) {
    const struct {
        int value;
        bool error;
    } cases[] = {{100, false}, {200, false}, {399, false}, {99, true},      {400, true},
                 {0, true},    {505, true},  {-1, true},   {INT_MIN, true}, {INT_MAX, true}};
    for (const auto& c : cases) {
        EXPECT_EQ(isErrorStatusCode(code(c.value)), c.error) << c.value;
    }
}

}  // namespace
}  // namespace common
}  // namespace nol
}  // namespace orv
