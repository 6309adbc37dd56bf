#pragma once

// The round trip of a query through its text form: a query parsed from text, printed with
// getString() and parsed again, must come back the same except where the printed form loses
// information by design (an expansion by level keeps only the level, and level 0 reads back as
// the name "0"; pagesExist with both values unset is not printed). Shared by the unit tests and
// the fuzz target of the query, so both judge a round trip by the same rules.

#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "orv/nol/common/queries/Query.h"

namespace support {

// How often each lossy case was met, so that a test can show that its inputs reach them.
struct QueryRoundTripLosses {
    int levelExpansion = 0, levelZeroAsName = 0, pagesFlagLost = 0;
};

// Compares `again`, parsed from original.getString(), with `original`, a query parsed from text,
// by their listings, which show every member. Returns both listings when they differ beyond the
// lossy cases; empty if the round trip holds.
inline std::vector<std::string> queryRoundTripMismatches(
    const orv::nol::common::queries::Query& original, const orv::nol::common::queries::Query& again,
    QueryRoundTripLosses& losses) {
    using namespace orv::nol::common::queries;
    Query expected = original;
    if (original.expandType == 1) {
        const bool zero = original.expandLevel == 0;
        ++(zero ? losses.levelZeroAsName : losses.levelExpansion);
        expected.expandType = zero ? 2 : 1;
        expected.expandedFieldList = zero ? std::set<std::string>{"0"} : std::set<std::string>{};
    }
    if (original.pagesExist && original.offsetId.empty() && original.offset == OFFSET_NOT_SET &&
        original.limit == LIMIT_NOT_SET) {
        ++losses.pagesFlagLost;
        expected.pagesExist = false;
    }
    std::ostringstream want, got;
    want << expected;
    got << again;
    return want.str() == got.str() ? std::vector<std::string>{}
                                   : std::vector<std::string>{"after the round trip:\n" + got.str(),
                                                              "expected:\n" + want.str()};
}

}  // namespace support
