#pragma once

#include <string>
#include <utility>

#include "orv/common/types/BufferDescriptor.h"
#include "orv/dataformats/Export.h"
#include "orv/dataformats/data/Value.h"

namespace orv {
namespace dataformats {
namespace data {

// A text value: any sequence of bytes, usually UTF-8; it is not checked. May be derived from
// to give a text a meaning of its own (a link, say): override visit(ConstVisitor&) to present
// the text differently to some visitors. Such a subclass is copied by getCopy() as a plain
// String.
//
//   object.setNew("name", new String("kitchen"));
//
// Thread safety and ownership as for every Value. Failure: allocation errors pass through.
class ORV_DATAFORMATS_API String : public Value {
public:
    explicit String(const std::string& text);
    explicit String(std::string&& text) noexcept;
    ~String() override;

    void visit(Visitor& visitor) override;
    void visit(ConstVisitor& visitor) const override;
    EType getType() const override;

    const std::string& get() const noexcept { return m_text; }
    void set(std::string text) noexcept { m_text = std::move(text); }

    // A view of the text's bytes, valid while this String lives unchanged.
    orv::common::types::BufferDescriptor<const char> getBytes() const noexcept {
        return {m_text.data(), m_text.size()};
    }

private:
    std::string m_text;
};

}  // namespace data
}  // namespace dataformats
}  // namespace orv
