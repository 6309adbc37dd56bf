#pragma once

#include "orv/dataformats/Export.h"
#include "orv/dataformats/data/Value.h"

namespace orv {
namespace dataformats {
namespace data {

// A signed 32-bit integer value.
//
//   object.setNew("count", new Integer(42));
//
// Thread safety, ownership and failure as for every Value: not changed while shared without a
// lock; owned by its container; nothing here throws.
class ORV_DATAFORMATS_API Integer : public Value {
public:
    explicit Integer(int value) noexcept;
    ~Integer() override;

    void visit(Visitor& visitor) override;
    void visit(ConstVisitor& visitor) const override;
    EType getType() const override;

    int get() const noexcept { return m_value; }
    void set(int value) noexcept { m_value = value; }

private:
    int m_value;
};

}  // namespace data
}  // namespace dataformats
}  // namespace orv
