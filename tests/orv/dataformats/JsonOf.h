#pragma once

#include <string>

#include "orv/dataformats/StringAppendConsumer.h"
#include "orv/dataformats/data/Value.h"
#include "orv/dataformats/json/Writer.h"

namespace orv {
namespace dataformats {
namespace testing {

// The JSON text of `value` as the platform writer writes it.
inline std::string jsonOf(const data::Value* value) {
    std::string text;
    StringAppendConsumer consumer(text);
    json::Writer writer(consumer);
    writer.visit(value);
    return text;
}

inline std::string jsonOf(const data::Value& value) {
    return jsonOf(&value);
}

}  // namespace testing
}  // namespace dataformats
}  // namespace orv
