#pragma once

// The round trip of a query through its text form: a query parsed from text, printed with
// getString() and parsed again, must come back the same except where the printed form loses
// information by design (an expansion by level keeps only the level, and level 0 reads back as
// the name "0"; pagesExist with both values unset is not printed). Shared by the unit tests and
// the fuzz target of the query, so both judge a round trip by the same rules.

#include <map>
#include <set>
#include <string>
#include <vector>

#include "orv/nol/common/queries/Query.h"
#include "support/QueryFields.h"

namespace support {

// How often each lossy case was met, so that a test can show that its inputs reach them.
struct QueryRoundTripLosses {
    int levelExpansion = 0;
    int levelZeroAsName = 0;
    int pagesFlagLost = 0;
};

namespace detail {

inline std::string textOf(const std::string& value) {
    return "'" + value + "'";
}

template <typename Number>
std::string textOf(const Number& value) {
    return std::to_string(value);
}

template <typename Range>
std::string textOfRange(const Range& values) {
    std::string text = "[";
    for (const auto& value : values) {
        text += (text.size() > 1 ? ", " : "") + textOf(value);
    }
    return text + "]";
}

template <typename T>
std::string textOf(const std::vector<T>& values) {
    return textOfRange(values);
}

inline std::string textOf(const std::set<std::string>& values) {
    return textOfRange(values);
}

inline std::string textOf(const std::map<std::string, std::string>& values) {
    std::string text = "{";
    for (const auto& [key, value] : values) {
        text += (text.size() > 1 ? ", " : "") + textOf(key) + ": " + textOf(value);
    }
    return text + "}";
}

// Adds a line to `mismatches` when `actual` differs from `expected`.
template <typename T>
void compare(std::vector<std::string>& mismatches, const char* member, const T& actual,
             const T& expected) {
    if (!(actual == expected)) {
        mismatches.push_back(std::string(member) + ": " + textOf(actual) + ", expected " +
                             textOf(expected));
    }
}

}  // namespace detail

// Compares `again`, parsed from original.getString(), with `original`, a query parsed from text.
// Returns one line per member that differs beyond the lossy cases; empty if the round trip holds.
inline std::vector<std::string> queryRoundTripMismatches(
    const orv::nol::common::queries::Query& original, const orv::nol::common::queries::Query& again,
    QueryRoundTripLosses& losses) {
    using detail::compare;
    using orv::nol::common::queries::LIMIT_NOT_SET;
    using orv::nol::common::queries::OFFSET_NOT_SET;
    std::vector<std::string> mismatches;
    compare(mismatches, "filterByFields", again.filterByFields, original.filterByFields);
    compare(mismatches, "filterValuesCoded", again.filterValuesCoded, original.filterValuesCoded);
    compare(mismatches, "fieldValueList", again.fieldValueList, original.fieldValueList);
    compare(mismatches, "filterByText", again.filterByText, original.filterByText);
    compare(mismatches, "filterTextCoded", again.filterTextCoded, original.filterTextCoded);
    compare(mismatches, "filterText", again.filterText, original.filterText);
    compare(mismatches, "fieldsFilter", again.fieldsFilter, original.fieldsFilter);
    compare(mismatches, "fieldList", describe(again.fieldList), describe(original.fieldList));
    compare(mismatches, "sortFilter", again.sortFilter, original.sortFilter);
    compare(mismatches, "sortedFieldList", again.sortedFieldList, original.sortedFieldList);

    if (original.expandType == 1 && original.expandLevel == 0) {
        // "$expand=0" reads back as the name "0".
        ++losses.levelZeroAsName;
        compare(mismatches, "expandType", again.expandType, 2);
        compare(mismatches, "expandedFieldList", again.expandedFieldList,
                std::set<std::string>{"0"});
    } else if (original.expandType == 1) {
        // Only the level is printed; the names are lost.
        ++losses.levelExpansion;
        compare(mismatches, "expandType", again.expandType, 1);
        compare(mismatches, "expandedFieldList", again.expandedFieldList, std::set<std::string>{});
    } else {
        compare(mismatches, "expandType", again.expandType, original.expandType);
        compare(mismatches, "expandedFieldList", again.expandedFieldList,
                original.expandedFieldList);
    }
    compare(mismatches, "expandLevel", again.expandLevel, original.expandLevel);

    const bool pagingPrinted = !original.offsetId.empty() || original.offset != OFFSET_NOT_SET ||
                               original.limit != LIMIT_NOT_SET;
    if (original.pagesExist && !pagingPrinted) {
        ++losses.pagesFlagLost;
    }
    compare(mismatches, "pagesExist", again.pagesExist, original.pagesExist && pagingPrinted);
    compare(mismatches, "offsetId", again.offsetId, original.offsetId);
    compare(mismatches, "offset", again.offset, original.offset);
    compare(mismatches, "limit", again.limit, original.limit);

    compare(mismatches, "getString()", again.getString(), original.getString());
    return mismatches;
}

}  // namespace support
