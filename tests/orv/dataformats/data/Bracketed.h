#pragma once

#include <string>

#include "orv/dataformats/data/ConstVisitor.h"
#include "orv/dataformats/data/String.h"

namespace orv {
namespace dataformats {
namespace testing {

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

}  // namespace testing
}  // namespace dataformats
}  // namespace orv
