#pragma once

// Taking resource URIs apart: the path into its three segments, a port number from text, and a
// whole URI ("http://host:8080/service/type/id", "https://[fe80::1]:443/a/b/c") into host, port
// and segments.
//
// Every function keeps no state and may run concurrently with any other call on distinct or
// unchanged arguments. Nothing is unescaped or validated beyond what each contract says.

#include <cstdint>
#include <string>

#include "orv/nol/common/Export.h"

namespace orv {
namespace nol {
namespace common {

// What retrieveUriInfos finds in a URI. The caller owns and initialises the record:
// retrieveUriInfos writes only the members it finds a value for and leaves the others alone.
struct UriInfos {
    // False if the host was written as a bracketed IPv6 literal, true for any other host.
    bool isIPv4 = false;
    // The host, without brackets.
    std::string host;
    std::uint16_t port = 0;
    std::string firstSegment;
    std::string secondSegment;
    std::string thirdSegment;
};

// Splits the path `uri` at "/" into its first three segments. One leading "/" is ignored (only
// one: "//x" gives "", "x", ""); a segment that is missing comes back empty, and everything after
// the third segment is ignored. All three outputs are always assigned. Nothing is unescaped, and
// "?" and "#" have no special meaning. Never fails.
//
//   getUriSplitted("/a/b/c/d", f, s, t);  // "a", "b", "c"
//   getUriSplitted("a/b", f, s, t);       // "a", "b", ""
ORV_NOL_API void getUriSplitted(const std::string& uri, std::string& firstSegment,
                                std::string& secondSegment, std::string& thirdSegment);

// Reads a port number with std::stoull and stores it in `port` if it is at most 65535 (0 is
// accepted); returns whether it stored one. The empty text gives false. As stoull does, leading
// white space and a sign are accepted and reading stops at the first non-digit ("8080/" stores
// 8080); "-1" wraps to a huge value and so gives false. `port` is left unchanged on false.
//
// Throws what std::stoull throws, on purpose: std::invalid_argument ("stoull") for a text with no
// digits to read ("x", " ", "+"), std::out_of_range ("stoull") for a number beyond 64 bits.
ORV_NOL_API bool getPortFromString(const std::string& text, unsigned short& port);

// Fills `infos` from `uri`:
// - With a leading "http://" or "https://" (case-sensitive), the host follows. A host in "[...]"
//   is an IPv6 literal (isIPv4 false, host without brackets); any other host sets isIPv4 true
//   and ends at the first ":" or "/". A ":" after the host introduces the port, read up to the
//   next "/" with getPortFromString; an empty or too large port leaves `port` unchanged.
// - The path then starts at the next character, which is skipped unread (normally the "/"); the
//   rest goes through getUriSplitted into the three segments. With nothing after that character
//   the segments are left unchanged.
// - Without a scheme there is no host part, and the first character of `uri` is skipped all the
//   same: "s/t/id" gives "t", "id", "" and "HTTP://h/a" gives "TTP:", "", "h". The empty text and
//   "/" write nothing.
//
// Returns false only for a "[" that is never closed; isIPv4 has then been set to false and
// nothing else is written. Otherwise true.
//
// Throws the exceptions of getPortFromString: "http://host:abc/x" throws std::invalid_argument.
ORV_NOL_API bool retrieveUriInfos(const std::string& uri, UriInfos& infos);

}  // namespace common
}  // namespace nol
}  // namespace orv
