#pragma once

// Identity of resource elements: resource URIs ("/" + first segment + "/" + second segment +
// "/" + GUID) built and split again, GUIDs read from text, URIs and data objects or derived from
// names, a one-line trace printer, and the JSON rendering of data trees with completed links.

#include <cstdint>
#include <ostream>
#include <string>

#include "orv/common/guid/GUID.h"
#include "orv/nol/common/Export.h"
#include "orv/nol/common/HttpStatusCode.h"

namespace orv {
namespace dataformats {
namespace data {
class Object;
class Value;
}  // namespace data
}  // namespace dataformats

namespace nol {
namespace common {

// Static operations on resource URIs and GUIDs; never instantiated.
//
// GUID text form everywhere here: 36 characters, 8-4-4-4-12 hexadecimal digits joined by "-",
// showing the bytes in the order 3 2 1 0, 5 4, 7 6, 8 9, 10 to 15; written in lower case. The nil
// GUID (all bytes zero) stands for "no GUID" and is what every failed read gives.
//
// Every operation is a pure function on the caller's thread and may run concurrently with any
// other. Bad input gives neutral results (empty text, nil GUID), never an exception of its own;
// only the standard library's allocation and length errors can pass.
class ORV_NOL_API Utils {
public:
    // The payload of one trace line; see operator<< below.
    struct TraceDescriptor {
        const char* data;  // the bytes to print, not owned
        std::uint64_t size;
        // Printing stops with "..." once the index of the next byte exceeds this value.
        std::uint64_t maxLength;
    };

    Utils() = delete;

    // Joins the parts into a resource URI or, with `asChain`, into an arrow chain. An empty part
    // ends the text, and the parts after it are ignored:
    //
    //   parts (first, second, id)   URI form       chain form
    //   "", any, any                "/"            "ROOT"
    //   a, "", any                  "/a/"          "a"
    //   a, b, ""                    "/a/b/"        "a->b"
    //   a, b, c                     "/a/b/c"       "a->b->c"
    //
    // The URI form ends in "/" when the id is missing, the chain form has no trailing separator.
    // Nothing is escaped or checked: a part holding "/" or "->" is copied as it is.
    static std::string getUriOfParts(const std::string& firstSegment,
                                     const std::string& secondSegment, const std::string& idSegment,
                                     bool asChain = false);

    // Splits a resource URI with getUriSplitted into its two segments and the GUID of its third
    // segment; missing segments come back empty, and a missing or malformed id gives the nil GUID.
    static void splitUri(const std::string& uri, std::string& firstSegment,
                         std::string& secondSegment, orv::common::guid::GUID& guid);
    // The same for the "uri" member of `object` (see getUriOfObject).
    static void splitUri(const orv::dataformats::data::Object& object, std::string& firstSegment,
                         std::string& secondSegment, orv::common::guid::GUID& guid);
    static void splitUri(const orv::dataformats::data::Object& object, std::string& firstSegment,
                         std::string& secondSegment);

    // Reads the text form strictly: exactly 36 characters, "-" at the four places, hexadecimal
    // digits of either case everywhere else; no braces, no blanks, nothing after the last digit.
    // Any other text gives the nil GUID (there is no partial result).
    static orv::common::guid::GUID getGuidOfStr(const std::string& text);

    // The GUID of the third segment of a resource URI, or the nil GUID.
    static orv::common::guid::GUID getGuidOfUri(const std::string& uri);

    // The text of the String member "uri" (exact, case-sensitive key) of `object`; the empty text
    // when there is no such member or it is of another type.
    static std::string getUriOfObject(const orv::dataformats::data::Object& object);

    // getGuidOfUri(getUriOfObject(object)): the nil GUID without a usable "uri".
    static orv::common::guid::GUID getGuidOfObject(const orv::dataformats::data::Object& object);

    // A GUID derived from `name`, the same on every run and machine: the first 16 bytes of the
    // SHA-1 digest of exactly the bytes of `name` (no namespace, no terminator) as bytes 0 to 15,
    // with the high nibble of byte 7 set to 5 (the version) and byte 8's top bits set to 10 (the
    // variant). As the text form shows bytes 0 to 7 reordered, the text of a digest d0 d1 d2 d3
    // ... begins with d3 d2 d1 d0; GUIDs stored elsewhere depend on this layout. Never the nil
    // GUID.
    static orv::common::guid::GUID createHashedGuid(const std::string& name);

    // Writes `value` as compact JSON, completing every data::Url that begins with ":" with
    // "http://" and `host` ("unknown" if empty; an IPv6 host in brackets); see json::Writer.
    // Everything else is written as the platform's JSON writer writes it. Each value is
    // visited once. Exceptions of the visited values pass through.
    static std::string jsonOfDataValue(const orv::dataformats::data::Value& value,
                                       const std::string& host);
};

// Prints the payload of `trace` as one line, meant for JSON-like text: line feeds and carriage
// returns are dropped, blanks and tabs are kept (as one blank each) only inside double quotes, a
// quote after a backslash does not open or close a quoted section, and bytes of 128 and above
// are printed as they are. At the first other control byte it prints "...Binary Data..." and
// stops. After each byte it stops when the data are used up, or else prints "..." and stops once
// the index of the next byte exceeds maxLength: so up to maxLength + 1 bytes are examined, one
// more than the name suggests (the bound is inclusive on purpose), and "..." appears only when
// bytes remain. A size of 0 prints nothing. Writes to the stream once, at the end.
ORV_NOL_API std::ostream& operator<<(std::ostream& stream, const Utils::TraceDescriptor& trace);

}  // namespace common
}  // namespace nol
}  // namespace orv
