#include "orv/dataformats/data/String.h"

#include "orv/dataformats/data/ConstVisitor.h"
#include "orv/dataformats/data/Visitor.h"

namespace orv {
namespace dataformats {
namespace data {

String::String(const std::string& text) : m_text(text) {}

String::String(std::string&& text) noexcept : m_text(std::move(text)) {}

String::~String() = default;

void String::visit(Visitor& visitor) {
    visitor.visitString(*this);
}

void String::visit(ConstVisitor& visitor) const {
    visitor.visitString(getBytes());
}

Value::EType String::getType() const {
    return EType::String;
}

}  // namespace data
}  // namespace dataformats
}  // namespace orv
