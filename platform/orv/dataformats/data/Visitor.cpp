#include "orv/dataformats/data/Visitor.h"

#include "orv/dataformats/data/Value.h"

namespace orv {
namespace dataformats {
namespace data {

void Visitor::visit(Value* value) {
    if (value != nullptr) {
        value->visit(*this);
    }
}

Visitor::~Visitor() = default;

}  // namespace data
}  // namespace dataformats
}  // namespace orv
