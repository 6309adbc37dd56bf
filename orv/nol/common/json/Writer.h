#pragma once

#include <string>

#include "orv/dataformats/DataConsumer.h"
#include "orv/dataformats/json/Writer.h"
#include "orv/nol/common/Export.h"

namespace orv {
namespace nol {
namespace common {
namespace json {

// The platform's compact JSON writer, extended to complete links with the server's host.
//
// Inside a service a link to a resource is kept as a data::Url whose text begins with ":" (port
// and path, e.g. ":8080/s/t/<guid>"), because the host under which the client reached the
// service is known only when the answer is written. A Url visited by this writer calls
// visitUrl(), which writes it as "http://" + host + text ("http://[" + host + "]" + text when
// the host holds a ":", an IPv6 address). Any other visitor sees a Url as a plain string.
//
//   std::string text;
//   orv::dataformats::StringAppendConsumer consumer(text);
//   Writer writer(consumer, "10.0.0.7");
//   writer.visit(&tree);  // {"self":"http://10.0.0.7:8080/s/t/..."}
//
// Everything else (escaping, numbers, containers) is the platform writer's, unchanged.
// Thread safety: one thread at a time. Ownership: the consumer belongs to the caller and must
// outlive the writer. Failure: exceptions of the consumer pass through.
class ORV_NOL_API Writer : public orv::dataformats::json::Writer {
public:
    // `host` is a host name or address without scheme or port; the empty text stands for
    // "unknown", which is then written into completed links as it is.
    Writer(orv::dataformats::DataConsumer& consumer, const std::string& host);
    ~Writer() override;

    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    // Writes `url` as a JSON string: completed with "http://" and the host when it begins with
    // ":" (never "https://"), unchanged otherwise (an absolute URL, a path, or any other text);
    // the empty text gives "". Quoted and escaped like every string.
    void visitUrl(const std::string& url);

    // The host that completes links; never empty.
    const std::string& getHost() const noexcept { return m_host; }

private:
    std::string m_host;
};

}  // namespace json
}  // namespace common
}  // namespace nol
}  // namespace orv
