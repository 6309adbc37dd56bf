#include "orv/dataformats/data/detail/CopyVisitor.h"

#include <cstdint>
#include <utility>
#include <vector>

#include "orv/dataformats/data/Array.h"
#include "orv/dataformats/data/Blob.h"
#include "orv/dataformats/data/Boolean.h"
#include "orv/dataformats/data/Float.h"
#include "orv/dataformats/data/Integer.h"
#include "orv/dataformats/data/Null.h"
#include "orv/dataformats/data/Object.h"
#include "orv/dataformats/data/String.h"

namespace orv {
namespace dataformats {
namespace data {
namespace detail {

std::unique_ptr<Value> CopyVisitor::copy(const Value* value) {
    visit(value);
    return std::move(m_result);
}

void CopyVisitor::visitNull() {
    m_result = std::make_unique<Null>();
}

void CopyVisitor::visitBoolean(bool value) {
    m_result = std::make_unique<Boolean>(value);
}

void CopyVisitor::visitInteger(int value) {
    m_result = std::make_unique<Integer>(value);
}

void CopyVisitor::visitFloat(double value) {
    m_result = std::make_unique<Float>(value);
}

void CopyVisitor::visitString(orv::common::types::BufferDescriptor<const char> bytes) {
    m_result = std::make_unique<String>(std::string(bytes.begin(), bytes.end()));
}

void CopyVisitor::visitBlob(orv::common::types::BufferDescriptor<const char> bytes) {
    const auto* first = reinterpret_cast<const std::uint8_t*>(bytes.begin());
    m_result = std::make_unique<Blob>(std::vector<std::uint8_t>(first, first + bytes.size()));
}

void CopyVisitor::visitArray(const PtrVector<Value>& elements) {
    auto array = std::make_unique<Array>();
    array->get().reserve(elements.size());
    for (const auto& element : elements) {
        array->get().push_back(copy(element.get()));
    }
    m_result = std::move(array);
}

void CopyVisitor::visitObject(const PtrMap<std::string, Value>& members) {
    auto object = std::make_unique<Object>();
    auto& copies = object->get();
    for (const auto& member : members) {
        // Members arrive in key order, so each one goes in at the end.
        copies.emplace_hint(copies.end(), member.first, copy(member.second.get()));
    }
    m_result = std::move(object);
}

}  // namespace detail
}  // namespace data
}  // namespace dataformats
}  // namespace orv
