#pragma once

#include <cstddef>

#include "orv/dataformats/Export.h"
#include "orv/dataformats/data/Value.h"

namespace orv {
namespace dataformats {
namespace data {

// The null value: present, but without content. Containers also store a Null where they are
// handed a null pointer.
//
//   object.setNew("parent", new Null());
//
// Thread safety, ownership and failure as for every Value; nothing here throws.
class ORV_DATAFORMATS_API Null : public Value {
public:
    Null() noexcept;
    ~Null() override;

    void visit(Visitor& visitor) override;
    void visit(ConstVisitor& visitor) const override;
    EType getType() const override;

    // There is no content; get() exists so that every kind reads alike in generic code.
    std::nullptr_t get() const noexcept { return nullptr; }
};

}  // namespace data
}  // namespace dataformats
}  // namespace orv
