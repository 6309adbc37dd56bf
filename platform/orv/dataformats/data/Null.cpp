#include "orv/dataformats/data/Null.h"

#include "orv/dataformats/data/ConstVisitor.h"
#include "orv/dataformats/data/Visitor.h"

namespace orv {
namespace dataformats {
namespace data {

Null::Null() noexcept = default;

Null::~Null() = default;

void Null::visit(Visitor& visitor) {
    visitor.visitNull(*this);
}

void Null::visit(ConstVisitor& visitor) const {
    visitor.visitNull();
}

Value::EType Null::getType() const {
    return EType::Null;
}

}  // namespace data
}  // namespace dataformats
}  // namespace orv
