#include "orv/dataformats/data/Blob.h"

#include "orv/dataformats/data/ConstVisitor.h"
#include "orv/dataformats/data/Visitor.h"

namespace orv {
namespace dataformats {
namespace data {

Blob::Blob(std::vector<std::uint8_t> bytes) noexcept : m_bytes(std::move(bytes)) {}

Blob::~Blob() = default;

void Blob::visit(Visitor& visitor) {
    visitor.visitBlob(*this);
}

void Blob::visit(ConstVisitor& visitor) const {
    visitor.visitBlob(getBytes());
}

Value::EType Blob::getType() const {
    return EType::Blob;
}

orv::common::types::BufferDescriptor<const char> Blob::getBytes() const noexcept {
    return {reinterpret_cast<const char*>(m_bytes.data()), m_bytes.size()};
}

}  // namespace data
}  // namespace dataformats
}  // namespace orv
