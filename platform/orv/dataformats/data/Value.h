#pragma once

#include <memory>

#include "orv/dataformats/Export.h"

namespace orv {
namespace dataformats {
namespace data {

class Visitor;
class ConstVisitor;

// One node of a data tree: an object, array, string, integer, float, boolean, blob or null.
// Trees are built from heap nodes that their container owns; a whole tree is deleted with its
// root. Nodes are not copyable by value (that would slice); getCopy() makes a deep copy.
//
// Visiting is double dispatch: a node's visit() calls the visitor operation of its kind, so a
// subclass can present itself differently by overriding visit() (a link value may present
// itself to a JSON writer in its own way and to every other visitor as a plain string).
//
// Thread safety: a tree may be read from several threads at once; it is not shared with a
// writer without a lock. Failure: allocation errors pass through as std::bad_alloc.
class ORV_DATAFORMATS_API Value {
public:
    enum class EType { Object, Array, String, Integer, Float, Boolean, Blob, Null };

    virtual ~Value();

    // Calls the operation of `visitor` that matches this node, passing the node itself.
    virtual void visit(Visitor& visitor) = 0;

    // Calls the operation of `visitor` that matches this node, passing its content.
    virtual void visit(ConstVisitor& visitor) const = 0;

    virtual EType getType() const = 0;

    // A new deep copy, owned by the caller and independent of this tree. The copy is built from
    // what this node presents to a ConstVisitor, so a subclass is copied as the kind it presents
    // itself as (a String subclass becomes a plain String). A null child pointer found in a
    // container is copied as a Null.
    virtual std::unique_ptr<Value> getCopy() const;

    Value(const Value&) = delete;
    Value& operator=(const Value&) = delete;

protected:
    Value() = default;
};

}  // namespace data
}  // namespace dataformats
}  // namespace orv
