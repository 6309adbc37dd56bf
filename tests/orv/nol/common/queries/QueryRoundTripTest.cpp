// Property tests over many generated queries: printing a query and parsing the text again gives
// back the same query, except in the few respects where the printed form loses information.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "orv/nol/common/queries/Query.h"
#include "support/QueryRoundTrip.h"

namespace {

using orv::nol::common::queries::Query;
using testing::IsEmpty;

using Pool = std::vector<std::string>;

// Builds query texts from pools of typical and awkward pieces, with a fixed seed.
class QueryTextGenerator {
public:
    explicit QueryTextGenerator(unsigned seed) : m_random(seed) {}

    std::string next() {
        std::string text;
        const int pieces = number(0, 7);
        for (int i = 0; i < pieces; ++i) {
            if (i > 0) {
                text += '&';
            }
            text += piece();
        }
        return text;
    }

private:
    int number(int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(m_random);
    }

    const std::string& pick(const Pool& pool) {
        return pool[static_cast<std::size_t>(number(0, static_cast<int>(pool.size()) - 1))];
    }

    // `count` picks from `pool` joined by ",".
    std::string list(const Pool& pool, int maxCount) {
        std::string joined;
        const int count = number(1, maxCount);
        for (int i = 0; i < count; ++i) {
            joined += (i > 0 ? "," : "") + pick(pool);
        }
        return joined;
    }

    std::string fieldsValue() {
        static const Pool names = {"name", "items", "a b", "%41", "", "x)y", "0"};
        static const Pool paging = {
            "$offset:10",          "$limit:5",         "$offset:", "$top:3", "$limit:x", "3",
            "$offset:-2147483648", "$limit:2147483647"};
        std::string value;
        const int count = number(1, 4);
        for (int i = 0; i < count; ++i) {
            value += (i > 0 ? "," : "") + pick(names);
            const int shape = number(0, 5);
            if (shape < 3) {
                value += "(" + list(paging, 3) + (shape == 0 ? "" : ")");  // 0: unclosed
            }
        }
        return value;
    }

    std::string piece() {
        static const Pool sortTokens = {"name", "-date", "date+", "", "a b"};
        static const Pool expandTokens = {"owner", "artist", "0", "2", "256", "-1", ""};
        static const Pool offsets = {"", "-", "12", "abc", "-2147483648", "2147483647"};
        static const Pool limits = {"", "5", "x", "2147483647", "-2147483648"};
        static const Pool keys = {"genre", "$top", "$Q", "?$limit", "", "a b"};
        static const Pool values = {"", "rock", "a%20b", "x+y", "%", "100%", "(:)", "-"};
        static const Pool junk = {"abc", "a=b=c", ""};
        switch (number(0, 9)) {
            case 0:
                return "$fields=" + fieldsValue();
            case 1:
                return "$sortby=" + list(sortTokens, 4);
            case 2:
                return "$expand=" + list(expandTokens, 4);
            case 3:
                return "$offset=" + pick(offsets);
            case 4:
                return "$limit=" + pick(limits);
            case 5:
                return "$q=" + pick(values);
            case 6:
                return pick(junk);
            default:
                return pick(keys) + "=" + pick(values);
        }
    }

    std::mt19937 m_random;
};

TEST(QueryRoundTripTest, ReparsingThePrintedTextGivesTheSameQuery) {
    QueryTextGenerator generator(0x5eed);
    support::QueryRoundTripLosses losses;
    for (int round = 0; round < 3000; ++round) {
        const std::string text = generator.next();
        Query original;
        original.ParseFromQueryString(text);
        const std::string printed = original.getString();
        Query again;
        EXPECT_EQ(again.ParseFromQueryString(printed), !printed.empty()) << printed;
        EXPECT_THAT(support::queryRoundTripMismatches(original, again, losses), IsEmpty())
            << "text: " << text << "\nprinted: " << printed;

        Query viaMap;
        viaMap.ParseFromQueryMap(original.getMap());
        EXPECT_EQ(viaMap.getString(), printed) << text;
        if (testing::Test::HasFailure()) {
            break;  // one well-described failure is enough
        }
    }
    EXPECT_GT(losses.levelExpansion, 0);
    EXPECT_GT(losses.levelZeroAsName, 0);
    EXPECT_GT(losses.pagesFlagLost, 0);
}

}  // namespace
