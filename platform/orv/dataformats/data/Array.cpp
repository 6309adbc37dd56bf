#include "orv/dataformats/data/Array.h"

#include <memory>
#include <utility>

#include "orv/dataformats/data/ConstVisitor.h"
#include "orv/dataformats/data/Null.h"
#include "orv/dataformats/data/Visitor.h"

namespace orv {
namespace dataformats {
namespace data {

Array::Array() noexcept = default;

Array::~Array() = default;

void Array::visit(Visitor& visitor) {
    visitor.visitArray(*this);
}

void Array::visit(ConstVisitor& visitor) const {
    visitor.visitArray(m_elements);
}

Value::EType Array::getType() const {
    return EType::Array;
}

void Array::pushNew(Value* value) {
    // Owned before anything can throw; push_back leaves the argument alone when it fails.
    std::unique_ptr<Value> owned(value);
    if (!owned) {
        owned = std::make_unique<Null>();
    }
    m_elements.push_back(std::move(owned));
}

}  // namespace data
}  // namespace dataformats
}  // namespace orv
