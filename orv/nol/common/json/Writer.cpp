#include "orv/nol/common/json/Writer.h"

#include <cstring>

namespace orv {
namespace nol {
namespace common {
namespace json {

namespace {

constexpr char kUnknownHost[] = "unknown";
constexpr char kScheme[] = "http://";

// Completed links up to this length are put together on the stack; longer ones on the heap.
constexpr std::size_t kStackLinkSize = 512;

std::size_t linkSize(const std::string& host, bool bracketHost, const std::string& url) {
    return sizeof kScheme - 1 + host.size() + (bracketHost ? 2 : 0) + url.size();
}

// Writes "http://" + host + url at `out` (the host in brackets if it is an IPv6 address), which
// has room for linkSize() bytes.
void writeLink(char* out, const std::string& host, bool bracketHost, const std::string& url) {
    std::memcpy(out, kScheme, sizeof kScheme - 1);
    out += sizeof kScheme - 1;
    if (bracketHost) {
        *out++ = '[';
    }
    std::memcpy(out, host.data(), host.size());
    out += host.size();
    if (bracketHost) {
        *out++ = ']';
    }
    std::memcpy(out, url.data(), url.size());
}

}  // namespace

Writer::Writer(orv::dataformats::DataConsumer& consumer, const std::string& host)
    : orv::dataformats::json::Writer(consumer), m_host(host.empty() ? kUnknownHost : host) {}

Writer::~Writer() = default;

void Writer::visitUrl(const std::string& url) {
    if (url.empty() || url.front() != ':') {
        visitString({url.data(), url.size()});
        return;
    }
    // A host with a ":" is an IPv6 address, which a URL carries in brackets.
    const bool bracketHost = m_host.find(':') != std::string::npos;
    const std::size_t size = linkSize(m_host, bracketHost, url);
    if (size <= kStackLinkSize) {
        char link[kStackLinkSize];
        writeLink(link, m_host, bracketHost, url);
        visitString({link, size});
        return;
    }
    std::string link(size, '\0');
    writeLink(link.data(), m_host, bracketHost, url);
    visitString({link.data(), link.size()});
}

}  // namespace json
}  // namespace common
}  // namespace nol
}  // namespace orv
