#pragma once

// Readable forms of FilterField_t records for query tests: a record compares and prints as
// "name|pages|offset|limit", so a mismatch shows which member differs.

#include <string>
#include <vector>

#include "orv/nol/common/queries/FilterField_t.h"

namespace support {

inline std::string describe(const orv::nol::common::queries::FilterField_t& field) {
    return field.name + "|" + (field.pages ? "1" : "0") + "|" + std::to_string(field.offset) + "|" +
           std::to_string(field.limit);
}

inline std::vector<std::string> describe(
    const std::vector<orv::nol::common::queries::FilterField_t>& fields) {
    std::vector<std::string> described;
    described.reserve(fields.size());
    for (const auto& field : fields) {
        described.push_back(describe(field));
    }
    return described;
}

}  // namespace support
