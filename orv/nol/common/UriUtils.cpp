#include "orv/nol/common/UriUtils.h"

#include <string>

namespace orv {
namespace nol {
namespace common {

namespace {

constexpr unsigned long long kMaxPort = 65535;

constexpr char kHttpPrefix[] = "http://";
constexpr char kHttpsPrefix[] = "https://";

template <std::size_t N>
bool startsWith(const std::string& text, const char (&prefix)[N]) {
    return text.compare(0, N - 1, prefix, N - 1) == 0;
}

// Where the host of `uri` begins, after its scheme; npos when the URI has no known scheme.
std::size_t hostStartOf(const std::string& uri) {
    if (startsWith(uri, kHttpPrefix)) {
        return sizeof kHttpPrefix - 1;
    }
    if (startsWith(uri, kHttpsPrefix)) {
        return sizeof kHttpsPrefix - 1;
    }
    return std::string::npos;
}

// The token of `uri` that starts at `begin` and ends at the next "/" or at the end; moves
// `begin` past that "/" (or to npos after the last token).
void takeSegment(const std::string& uri, std::size_t& begin, std::string& segment) {
    if (begin == std::string::npos) {
        segment.clear();
        return;
    }
    const std::size_t end = uri.find('/', begin);
    if (end == std::string::npos) {
        segment.assign(uri, begin);
        begin = std::string::npos;
        return;
    }
    segment.assign(uri, begin, end - begin);
    begin = end + 1;
}

// The path starts at `position` with one character that is skipped unread.
bool readPath(const std::string& uri, std::size_t position, UriInfos& infos) {
    const std::size_t rest = position + 1;
    if (rest >= uri.size()) {
        return true;
    }
    getUriSplitted(uri.substr(rest), infos.firstSegment, infos.secondSegment, infos.thirdSegment);
    return true;
}

// `position` is at the ":" before the port; the port reaches to the next "/" or the end.
bool readPortAndPath(const std::string& uri, std::size_t position, UriInfos& infos) {
    const std::size_t portStart = position + 1;
    if (portStart >= uri.size()) {
        return true;
    }
    std::size_t portEnd = uri.find('/', portStart);
    if (portEnd == std::string::npos) {
        portEnd = uri.size();
    }
    // The result is not needed: an empty or too large port leaves infos.port as it was.
    static_cast<void>(getPortFromString(uri.substr(portStart, portEnd - portStart), infos.port));
    return readPath(uri, portEnd, infos);
}

// A host in brackets, which is an IPv6 literal; `hostStart` is at the "[".
bool readBracketedHost(const std::string& uri, std::size_t hostStart, UriInfos& infos) {
    infos.isIPv4 = false;
    const std::size_t close = uri.find(']', hostStart);
    if (close == std::string::npos) {
        return false;
    }
    infos.host.assign(uri, hostStart + 1, close - hostStart - 1);
    const std::size_t after = close + 1;
    if (after < uri.size() && uri[after] == ':') {
        return readPortAndPath(uri, after, infos);
    }
    return readPath(uri, after, infos);
}

// A host name or IPv4 address: it ends at the first ":" (a port follows) or "/", whichever
// comes first.
bool readPlainHost(const std::string& uri, std::size_t hostStart, UriInfos& infos) {
    infos.isIPv4 = true;
    const std::size_t colon = uri.find(':', hostStart);
    const std::size_t slash = uri.find('/', hostStart);
    if (colon == std::string::npos && slash == std::string::npos) {
        infos.host.assign(uri, hostStart);
        return true;
    }
    const bool hasPort =
        colon != std::string::npos && (slash == std::string::npos || colon < slash);
    const std::size_t hostEnd = hasPort ? colon : slash;
    infos.host.assign(uri, hostStart, hostEnd - hostStart);
    return hasPort ? readPortAndPath(uri, colon, infos) : readPath(uri, slash, infos);
}

}  // namespace

void getUriSplitted(const std::string& uri, std::string& firstSegment, std::string& secondSegment,
                    std::string& thirdSegment) {
    if (&uri == &firstSegment || &uri == &secondSegment || &uri == &thirdSegment) {
        // The outputs are written while the input is read.
        const std::string copy = uri;  // NOLINT(performance-unnecessary-copy-initialization)
        getUriSplitted(copy, firstSegment, secondSegment, thirdSegment);
        return;
    }
    // The tokens between the "/" characters, as split(uri, "/") gives them; an empty first token
    // (a leading "/") is passed over. The empty text has only that one empty token.
    std::size_t begin = 0;
    if (uri.empty()) {
        begin = std::string::npos;
    } else if (uri[0] == '/') {
        begin = 1;
    }
    takeSegment(uri, begin, firstSegment);
    takeSegment(uri, begin, secondSegment);
    takeSegment(uri, begin, thirdSegment);
}

bool getPortFromString(const std::string& text, unsigned short& port) {
    if (text.empty()) {
        return false;
    }
    const unsigned long long value = std::stoull(text);
    if (value > kMaxPort) {
        return false;
    }
    port = static_cast<unsigned short>(value);
    return true;
}

bool retrieveUriInfos(const std::string& uri, UriInfos& infos) {
    const std::size_t hostStart = hostStartOf(uri);
    if (hostStart == std::string::npos) {
        return readPath(uri, 0, infos);
    }
    if (hostStart < uri.size() && uri[hostStart] == '[') {
        return readBracketedHost(uri, hostStart, infos);
    }
    return readPlainHost(uri, hostStart, infos);
}

}  // namespace common
}  // namespace nol
}  // namespace orv
