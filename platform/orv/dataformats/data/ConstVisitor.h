#pragma once

#include <string>

#include "orv/common/types/BufferDescriptor.h"
#include "orv/dataformats/Export.h"
#include "orv/dataformats/data/PtrMap.h"
#include "orv/dataformats/data/PtrVector.h"

namespace orv {
namespace dataformats {
namespace data {

class Value;

// Reads a data tree without changing it. visit(value) lets the value pick the operation of its
// kind (double dispatch through Value::visit), so subclasses of the kinds are honoured. Scalar
// content is passed by value, strings and blobs as byte views valid during the call, containers
// as their element collections; a visitor that descends calls visit() on each child itself.
//
//   class Counter : public ConstVisitor { ... void visitArray(const PtrVector<Value>& items)
//       override { for (const auto& item : items) visit(item.get()); } ... };
//
// Thread safety: a visitor instance is not shared between threads without a lock. Ownership:
// the visitor owns nothing of the tree. Failure: exceptions of the operations pass through.
class ORV_DATAFORMATS_API ConstVisitor {
public:
    // Dispatches to the operation of `value`'s kind. A null pointer is visited as a null value
    // (visitNull()), so a missing child reads like JSON null rather than failing.
    void visit(const Value* value);

    virtual ~ConstVisitor();

    virtual void visitNull() = 0;
    virtual void visitBoolean(bool value) = 0;
    virtual void visitInteger(int value) = 0;
    virtual void visitFloat(double value) = 0;
    virtual void visitString(orv::common::types::BufferDescriptor<const char> bytes) = 0;
    virtual void visitBlob(orv::common::types::BufferDescriptor<const char> bytes) = 0;
    virtual void visitArray(const PtrVector<Value>& elements) = 0;
    virtual void visitObject(const PtrMap<std::string, Value>& members) = 0;

protected:
    ConstVisitor() = default;
    ConstVisitor(const ConstVisitor&) = default;
    ConstVisitor& operator=(const ConstVisitor&) = default;
};

}  // namespace data
}  // namespace dataformats
}  // namespace orv
