#pragma once

#include "orv/dataformats/Export.h"
#include "orv/dataformats/data/PtrVector.h"
#include "orv/dataformats/data/Value.h"

namespace orv {
namespace dataformats {
namespace data {

// An ordered sequence of values that the array owns.
//
//   auto* tags = new Array();
//   tags->pushNew(new String("red"));
//   object.setNew("tags", tags);
//
// Thread safety as for every Value. Ownership: every element belongs to the array and is
// deleted with it. Failure: allocation errors pass through; pushNew then deletes the value it
// was given, so nothing leaks.
class ORV_DATAFORMATS_API Array : public Value {
public:
    Array() noexcept;
    ~Array() override;

    void visit(Visitor& visitor) override;
    void visit(ConstVisitor& visitor) const override;
    EType getType() const override;

    // Appends `value` and takes ownership of it. A null pointer is stored as a Null, so the
    // array holds no empty slots of its own making. `value` must not be owned elsewhere.
    void pushNew(Value* value);

    const PtrVector<Value>& get() const noexcept { return m_elements; }
    // For editing in place. Null pointers put in through here are visited as null values.
    PtrVector<Value>& get() noexcept { return m_elements; }

private:
    PtrVector<Value> m_elements;
};

}  // namespace data
}  // namespace dataformats
}  // namespace orv
