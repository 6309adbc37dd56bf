#include "orv/dataformats/data/Boolean.h"

#include "orv/dataformats/data/ConstVisitor.h"
#include "orv/dataformats/data/Visitor.h"

namespace orv {
namespace dataformats {
namespace data {

Boolean::Boolean(bool value) noexcept : m_value(value) {}

Boolean::~Boolean() = default;

void Boolean::visit(Visitor& visitor) {
    visitor.visitBoolean(*this);
}

void Boolean::visit(ConstVisitor& visitor) const {
    visitor.visitBoolean(m_value);
}

Value::EType Boolean::getType() const {
    return EType::Boolean;
}

}  // namespace data
}  // namespace dataformats
}  // namespace orv
