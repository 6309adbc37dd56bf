#pragma once

// Builders for small data trees and their JSON text, shared by the data and writer tests.

#include <initializer_list>
#include <string>
#include <utility>

#include "orv/dataformats/StringAppendConsumer.h"
#include "orv/dataformats/data/Array.h"
#include "orv/dataformats/data/Object.h"
#include "orv/dataformats/data/String.h"
#include "orv/dataformats/json/Writer.h"

namespace orv::dataformats::testing {

// The JSON text of `value` as the platform writer writes it.
inline std::string jsonOf(const data::Value* value) {
    std::string text;
    StringAppendConsumer consumer(text);
    json::Writer(consumer).visit(value);
    return text;
}

inline data::Array* arrayOf(std::initializer_list<data::Value*> elements) {
    auto* array = new data::Array();
    for (data::Value* element : elements) {
        array->pushNew(element);
    }
    return array;
}

inline data::Object* objectOf(std::initializer_list<std::pair<std::string, data::Value*>> members) {
    auto* object = new data::Object();
    for (const auto& member : members) {
        object->setNew(member.first, member.second);
    }
    return object;
}

// A string that presents itself to readers between brackets, the way a link value presents
// itself completed: it overrides only the const visit.
class Bracketed : public data::String {
public:
    using data::String::String;
    void visit(data::Visitor& visitor) override { data::String::visit(visitor); }
    void visit(data::ConstVisitor& visitor) const override {
        const std::string shown = "[" + get() + "]";
        visitor.visitString({shown.data(), shown.size()});
    }
};

}  // namespace orv::dataformats::testing
