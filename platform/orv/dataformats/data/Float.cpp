#include "orv/dataformats/data/Float.h"

#include "orv/dataformats/data/ConstVisitor.h"
#include "orv/dataformats/data/Visitor.h"

namespace orv {
namespace dataformats {
namespace data {

Float::Float(double value) noexcept : m_value(value) {}

Float::~Float() = default;

void Float::visit(Visitor& visitor) {
    visitor.visitFloat(*this);
}

void Float::visit(ConstVisitor& visitor) const {
    visitor.visitFloat(m_value);
}

Value::EType Float::getType() const {
    return EType::Float;
}

}  // namespace data
}  // namespace dataformats
}  // namespace orv
