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
// A data::Url whose text begins with ":" (port and path, ":8080/s/t/<guid>") is written as
// "http://" + host + text, or "http://[" + host + "]" + text for a host holding ":" (IPv6).
// Any other visitor sees a Url as a plain string (why: docs/design.md, "Links").
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
