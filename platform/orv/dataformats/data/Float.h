#pragma once

#include "orv/dataformats/Export.h"
#include "orv/dataformats/data/Value.h"

namespace orv {
namespace dataformats {
namespace data {

// A double-precision floating point value. NaN and the infinities may be stored; the JSON
// writer writes them as null, since JSON has no form for them.
//
//   object.setNew("ratio", new Float(0.25));
//
// Thread safety, ownership and failure as for every Value: not changed while shared without a
// lock; owned by its container; nothing here throws.
class ORV_DATAFORMATS_API Float : public Value {
public:
    explicit Float(double value) noexcept;
    ~Float() override;

    void visit(Visitor& visitor) override;
    void visit(ConstVisitor& visitor) const override;
    EType getType() const override;

    double get() const noexcept { return m_value; }
    void set(double value) noexcept { m_value = value; }

private:
    double m_value;
};

}  // namespace data
}  // namespace dataformats
}  // namespace orv
