#pragma once

#include <cstdint>
#include <limits>
#include <string>

namespace orv {
namespace nol {
namespace common {
namespace queries {

// The "not set" values of an offset and a limit, in FilterField_t and in Query.
constexpr std::int32_t OFFSET_NOT_SET = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t LIMIT_NOT_SET = std::numeric_limits<std::int32_t>::max();

// One field of a "$fields" query value, with the field's own paging:
// "items($offset:10,$limit:5)" gives name "items", pages true, offset 10, limit 5.
// `pages` is set when a numeric "$offset" or "$limit" was given for the field; values that were
// not given keep OFFSET_NOT_SET and LIMIT_NOT_SET. A plain value, copied into Query::fieldList.
struct FilterField_t {
    std::string name;  // as written: neither trimmed nor unescaped
    bool pages = false;
    std::int32_t offset = OFFSET_NOT_SET;
    std::int32_t limit = LIMIT_NOT_SET;
};

}  // namespace queries
}  // namespace common
}  // namespace nol
}  // namespace orv
