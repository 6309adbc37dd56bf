#pragma once

#include "orv/dataformats/Export.h"
#include "orv/dataformats/data/Value.h"

namespace orv {
namespace dataformats {
namespace data {

// A true or false value.
//
//   object.setNew("active", new Boolean(true));
//
// Thread safety, ownership and failure as for every Value: not changed while shared without a
// lock; owned by its container; nothing here throws.
class ORV_DATAFORMATS_API Boolean : public Value {
public:
    explicit Boolean(bool value) noexcept;
    ~Boolean() override;

    void visit(Visitor& visitor) override;
    void visit(ConstVisitor& visitor) const override;
    EType getType() const override;

    bool get() const noexcept { return m_value; }
    void set(bool value) noexcept { m_value = value; }

private:
    bool m_value;
};

}  // namespace data
}  // namespace dataformats
}  // namespace orv
