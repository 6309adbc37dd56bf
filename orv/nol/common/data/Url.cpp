#include "orv/nol/common/data/Url.h"

#include <typeinfo>

#include "orv/dataformats/data/ConstVisitor.h"
#include "orv/nol/common/json/Writer.h"

namespace orv {
namespace nol {
namespace common {
namespace data {

namespace {

// This library's JSON writer behind `visitor`, or null. The exact type is checked first, which
// is a pointer comparison; only other visitors pay for the walk of dynamic_cast.
json::Writer* completingWriterOf(orv::dataformats::data::ConstVisitor& visitor) {
    if (typeid(visitor) == typeid(json::Writer)) {
        return static_cast<json::Writer*>(&visitor);
    }
    return dynamic_cast<json::Writer*>(&visitor);
}

}  // namespace

Url::Url(const std::string& url) : String(url) {}

Url::Url(std::string&& url) noexcept : String(std::move(url)) {}

Url::~Url() = default;

void Url::visit(orv::dataformats::data::ConstVisitor& visitor) const {
    if (json::Writer* writer = completingWriterOf(visitor)) {
        writer->visitUrl(get());
        return;
    }
    visitor.visitString(getBytes());
}

}  // namespace data
}  // namespace common
}  // namespace nol
}  // namespace orv
