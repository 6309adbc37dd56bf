// The JSON checker decides the verdict of the writer's fuzz target, so it is checked against
// the grammar's corner cases first: what it must accept, what it must reject, and the count of
// values it reports.

#include <gtest/gtest.h>

#include <string>

#include "helpers/JsonValidator.h"

namespace {

using orv::fuzz::checkJson;

struct Accepted {
    std::string text;
    std::size_t values;
};

TEST(JsonValidatorTest, AcceptsTheGrammarAndCountsValues) {
    const Accepted cases[] = {
        {"null", 1},
        {"true", 1},
        {"false", 1},
        {"0", 1},
        {"-0", 1},
        {"-12.5e+3", 1},
        {"1E-7", 1},
        {"5e-324", 1},
        {R"("")", 1},
        {R"("a\"\\\/\b\f\n\r\t\u00e4\uD83D")", 1},
        {"\"\x7f\x80\xff\xc3\xa4\"", 1},  // bytes of 0x80 and above pass as they stand
        {"[]", 1},
        {"{}", 1},
        {" \t\r\n[ 1 , [ ] , { } ] \n", 4},
        {R"({"a":{"b":[null,true]},"":"x"})", 6},
        {"[[[[[[[[[[1]]]]]]]]]]", 11},
    };
    for (const Accepted& accepted : cases) {
        const auto result = checkJson(accepted.text);
        EXPECT_TRUE(result.valid) << accepted.text << ": " << result.error;
        EXPECT_EQ(result.values, accepted.values) << accepted.text;
    }
}

TEST(JsonValidatorTest, RejectsWhatTheGrammarDoesNotHold) {
    const std::string cases[] = {
        "",
        " ",
        "nul",
        "True",
        "01",
        "-",
        "+1",
        ".5",
        "1.",
        "1e",
        "1e+",
        "0x10",
        "NaN",
        "Infinity",
        "\"abc",
        R"("\x41")",
        R"("\u12")",
        R"("\u12G4")",
        std::string("\"a\nb\""),
        std::string("\"\0\"", 3),
        "[1,]",
        "[,1]",
        "[1 2]",
        "{\"a\"}",
        "{\"a\":1,}",
        "{a:1}",
        "{\"a\" 1}",
        "[1]]",
        "1 2",
        "{}x",
        "[",
    };
    for (const std::string& text : cases) {
        EXPECT_FALSE(checkJson(text).valid) << text;
    }
}

TEST(JsonValidatorTest, ReportsWhereTheFirstErrorIs) {
    const auto result = checkJson("[1,2,x]");
    EXPECT_FALSE(result.valid);
    EXPECT_EQ(result.errorOffset, 5U);
    EXPECT_FALSE(result.error.empty());
}

TEST(JsonValidatorTest, DepthBeyondTheBoundIsAnError) {
    const std::string deep = std::string(20, '[') + std::string(20, ']');
    EXPECT_TRUE(checkJson(deep, 20).valid);
    EXPECT_FALSE(checkJson(deep, 19).valid);
    const std::string unbounded(100000, '[');
    EXPECT_FALSE(checkJson(unbounded).valid);  // ends without exhausting the stack
}

}  // namespace
