#include "orv/dataformats/data/Value.h"

#include "orv/dataformats/data/detail/CopyVisitor.h"

namespace orv {
namespace dataformats {
namespace data {

Value::~Value() = default;

std::unique_ptr<Value> Value::getCopy() const {
    detail::CopyVisitor copier;
    return copier.copy(this);
}

}  // namespace data
}  // namespace dataformats
}  // namespace orv
