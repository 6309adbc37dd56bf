// Reading the value of "$fields": 'name,items($offset:10,$limit:5),owner'.

#include <algorithm>
#include <string_view>
#include <vector>

#include "orv/nol/common/StringUtils.h"
#include "orv/nol/common/queries/Query.h"
#include "orv/nol/common/queries/detail/NumberText.h"
#include "orv/nol/common/queries/detail/QueryReading.h"
#include "orv/nol/common/queries/detail/Tokens.h"

namespace orv {
namespace nol {
namespace common {
namespace queries {

namespace {

constexpr std::string_view kOffsetKey = "$offset";
constexpr std::string_view kLimitKey = "$limit";

// Applies one 'key:number' piece of a field's paging. Pieces that do not have exactly one ":",
// whose number is not a number, or whose key is neither "$offset" nor "$limit" are ignored.
void applyPagingPiece(std::string_view piece, FilterField_t& field) {
    std::size_t colon = 0;
    if (!detail::hasExactlyOne(piece, ':', colon)) {
        return;
    }
    const std::string_view key = piece.substr(0, colon);
    const std::string_view number = piece.substr(colon + 1);
    if (!detail::isNumberText(number)) {
        return;
    }
    if (key == kOffsetKey) {
        field.pages = true;
        field.offset = int32ofString(std::string(number));
    } else if (key == kLimitKey) {
        field.pages = true;
        field.limit = int32ofString(std::string(number));
    }
}

// Makes room for `more` records (one per "," and one more is the most a value gives), growing
// geometrically so that repeated calls stay linear.
void reserveForFields(std::vector<FilterField_t>& fields, std::size_t more) {
    const std::size_t needed = fields.size() + more;
    if (needed > fields.capacity()) {
        fields.reserve(std::max(needed, 2 * fields.capacity()));
    }
}

}  // namespace

void detail::readFieldFilter(Query& query, std::string_view value) {
    query.fieldsFilter = true;
    reserveForFields(query.fieldList, tokenCount(value, ','));
    // Every round appends one record and either stops or moves `start` past a ",", so the
    // reading ends for every input.
    std::size_t start = 0;
    for (;;) {
        FilterField_t& field = query.fieldList.emplace_back();
        const std::size_t stop = value.find_first_of(",(", start);
        if (stop == std::string_view::npos) {
            field.name.assign(value.substr(start));
            return;
        }
        field.name.assign(value.substr(start, stop - start));
        std::size_t comma = stop;
        if (value[stop] == '(') {
            const std::size_t close = value.find(')', stop + 1);
            if (close == std::string_view::npos) {
                return;  // an unclosed "(" ends the reading after the name
            }
            forEachToken(value.substr(stop + 1, close - stop - 1), ',',
                         [&](std::string_view piece) { applyPagingPiece(piece, field); });
            // Text between the ")" and the next "," is ignored.
            comma = value.find(',', close + 1);
            if (comma == std::string_view::npos) {
                return;
            }
        }
        start = comma + 1;
    }
}

void Query::ParseFieldFilterQuery(const std::string& value) {
    if (detail::ownsText(*this, value)) {
        return ParseFieldFilterQuery(std::string(value));
    }
    detail::readFieldFilter(*this, value);
}

}  // namespace queries
}  // namespace common
}  // namespace nol
}  // namespace orv
