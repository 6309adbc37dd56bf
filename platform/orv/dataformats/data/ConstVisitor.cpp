#include "orv/dataformats/data/ConstVisitor.h"

#include "orv/dataformats/data/Value.h"

namespace orv {
namespace dataformats {
namespace data {

void ConstVisitor::visit(const Value* value) {
    if (value == nullptr) {
        visitNull();
        return;
    }
    value->visit(*this);
}

ConstVisitor::~ConstVisitor() = default;

}  // namespace data
}  // namespace dataformats
}  // namespace orv
