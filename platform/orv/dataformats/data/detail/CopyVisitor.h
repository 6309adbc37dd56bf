#pragma once

#include <memory>
#include <string>

#include "orv/dataformats/data/ConstVisitor.h"
#include "orv/dataformats/data/Value.h"

namespace orv {
namespace dataformats {
namespace data {
namespace detail {

// Builds a deep copy of a tree from what its nodes present to a ConstVisitor, so every node is
// copied as the kind it presents itself as. Used by Value::getCopy.
class CopyVisitor : public ConstVisitor {
public:
    // A new copy of `value`; a null pointer gives a Null.
    std::unique_ptr<Value> copy(const Value* value);

    void visitNull() override;
    void visitBoolean(bool value) override;
    void visitInteger(int value) override;
    void visitFloat(double value) override;
    void visitString(orv::common::types::BufferDescriptor<const char> bytes) override;
    void visitBlob(orv::common::types::BufferDescriptor<const char> bytes) override;
    void visitArray(const PtrVector<Value>& elements) override;
    void visitObject(const PtrMap<std::string, Value>& members) override;

private:
    // The copy of the node visited last.
    std::unique_ptr<Value> m_result;
};

}  // namespace detail
}  // namespace data
}  // namespace dataformats
}  // namespace orv
