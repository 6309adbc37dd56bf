#pragma once

#include <string>

#include "orv/dataformats/data/String.h"
#include "orv/nol/common/Export.h"

namespace orv {
namespace nol {
namespace common {
namespace data {

// A link in a data tree: a String whose text is a URL, usually relative to the server (":" +
// port + path, e.g. ":8080/service/type/<guid>"). This library's json::Writer completes such a
// text with "http://" and the host the request came in on; every other visitor, the platform
// JSON writer included, sees the Url as the plain string it holds. getType() reports a String,
// and getCopy() gives a plain String.
//
//   object.setNew("self", new Url(":8080" + element.getUri().value()));
//
// Thread safety and ownership as for every data::Value.
class ORV_NOL_API Url : public orv::dataformats::data::String {
public:
    explicit Url(const std::string& url);
    explicit Url(std::string&& url) noexcept;
    ~Url() override;

    using orv::dataformats::data::String::visit;
    // Calls visitUrl() of a json::Writer (or a writer derived from it), and visitString() with
    // the text's bytes on any other visitor.
    void visit(orv::dataformats::data::ConstVisitor& visitor) const override;
};

}  // namespace data
}  // namespace common
}  // namespace nol
}  // namespace orv
