#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "orv/common/types/BufferDescriptor.h"
#include "orv/dataformats/Export.h"
#include "orv/dataformats/data/Value.h"

namespace orv {
namespace dataformats {
namespace data {

// A value of raw bytes. Visitors receive it as a byte view; the JSON writer writes it as a
// base64 string.
//
//   object.setNew("icon", new Blob({0x89, 0x50, 0x4e, 0x47}));
//
// Thread safety and ownership as for every Value. Failure: allocation errors pass through.
class ORV_DATAFORMATS_API Blob : public Value {
public:
    explicit Blob(std::vector<std::uint8_t> bytes) noexcept;
    ~Blob() override;

    void visit(Visitor& visitor) override;
    void visit(ConstVisitor& visitor) const override;
    EType getType() const override;

    const std::vector<std::uint8_t>& get() const noexcept { return m_bytes; }
    void set(std::vector<std::uint8_t> bytes) noexcept { m_bytes = std::move(bytes); }

    // A view of the bytes, valid while this Blob lives unchanged.
    orv::common::types::BufferDescriptor<const char> getBytes() const noexcept;

private:
    std::vector<std::uint8_t> m_bytes;
};

}  // namespace data
}  // namespace dataformats
}  // namespace orv
