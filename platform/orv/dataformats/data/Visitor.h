#pragma once

#include "orv/dataformats/Export.h"

namespace orv {
namespace dataformats {
namespace data {

class Value;
class Null;
class Boolean;
class Integer;
class Float;
class String;
class Blob;
class Array;
class Object;

// Walks a data tree with the right to change it: each operation receives the node itself, so
// it may set a scalar, edit a container's elements or members, and descend with visit().
//
//   class Doubler : public Visitor { ... void visitInteger(Integer& n) override
//       { n.set(2 * n.get()); } ... };
//
// Thread safety: a visitor instance is not shared between threads without a lock, nor is the
// tree it changes. Ownership: the visitor owns nothing of the tree. Failure: exceptions of the
// operations pass through.
class ORV_DATAFORMATS_API Visitor {
public:
    // Dispatches to the operation of `value`'s kind. A null pointer is ignored: there is no
    // node to hand over.
    void visit(Value* value);

    virtual ~Visitor();

    virtual void visitNull(Null& value) = 0;
    virtual void visitBoolean(Boolean& value) = 0;
    virtual void visitInteger(Integer& value) = 0;
    virtual void visitFloat(Float& value) = 0;
    virtual void visitString(String& value) = 0;
    virtual void visitBlob(Blob& value) = 0;
    virtual void visitArray(Array& value) = 0;
    virtual void visitObject(Object& value) = 0;

protected:
    Visitor() = default;
    Visitor(const Visitor&) = default;
    Visitor& operator=(const Visitor&) = default;
};

}  // namespace data
}  // namespace dataformats
}  // namespace orv
