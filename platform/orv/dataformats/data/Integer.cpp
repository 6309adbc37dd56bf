#include "orv/dataformats/data/Integer.h"

#include "orv/dataformats/data/ConstVisitor.h"
#include "orv/dataformats/data/Visitor.h"

namespace orv {
namespace dataformats {
namespace data {

Integer::Integer(int value) noexcept : m_value(value) {}

Integer::~Integer() = default;

void Integer::visit(Visitor& visitor) {
    visitor.visitInteger(*this);
}

void Integer::visit(ConstVisitor& visitor) const {
    visitor.visitInteger(m_value);
}

Value::EType Integer::getType() const {
    return EType::Integer;
}

}  // namespace data
}  // namespace dataformats
}  // namespace orv
