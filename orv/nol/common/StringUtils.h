#pragma once

// Text helpers of the service-interface kit: replacing substrings, reading small integers,
// viewing a string as bytes, upper-casing, percent-escaping of URL content and splitting.
//
// Every function treats std::string as a sequence of bytes (no character set is assumed), keeps
// no state and may run concurrently with any other call on distinct or unchanged arguments.

#include <cstdint>
#include <string>
#include <vector>

#include "orv/common/types/BufferDescriptor.h"
#include "orv/nol/common/Export.h"

namespace orv {
namespace nol {
namespace common {

// Replaces every occurrence of `search` in `subject` by `replace`, from left to right. Text that
// has just been inserted is never searched again, so replacing "a" by "aa" in "aaa" gives
// "aaaaaa" and ends.
//
// Precondition: `search` is not empty. An empty `search` is not guarded against: the call then
// never returns (it keeps inserting at the same place).
ORV_NOL_API void ReplaceStringInPlace(std::string& subject, const std::string& search,
                                      const std::string& replace);

// Reads a decimal number the way `strtol(text, nullptr, 10)` does (leading white space and a
// sign are accepted, reading stops at the first non-digit, no digits give 0) and keeps the low
// 32 bits of the `long` result. Never reports an error: "12abc" gives 12, "x" gives 0, and a
// value beyond the range of `long` gives the narrowed LONG_MAX (-1) or LONG_MIN (0).
ORV_NOL_API std::int32_t int32ofString(const std::string& text);

// As int32ofString, but keeps the low 8 bits: "300" gives 44, "256" gives 0, "-1" gives 255.
ORV_NOL_API std::uint8_t uint8ofString(const std::string& text);

// A view of the string's own bytes (pointer and length); nothing is copied, so the view is valid
// only while `text` lives unchanged. The pointer is never null.
ORV_NOL_API orv::common::types::BufferDescriptor<const char> getBytesOfString(
    const std::string& text);

// A copy of `text` with every byte replaced by the C library's `toupper` of it (taken as an
// unsigned value 0 to 255): in the "C" locale only a to z change. Depends on the current locale.
ORV_NOL_API std::string stringUpcase(const std::string& text);

// Percent-escapes every byte that is not an ASCII digit or letter, including "-", "_", ".", "~"
// and the space, as "%" followed by its value in lower-case hexadecimal, right-aligned in a field
// of two characters that is padded with a space. So a byte of 16 or more gives two hex digits
// ("a b/c" gives "a%20b%2fc") and a byte below 16 gives a space and one digit (a line feed gives
// "% a", a NUL byte "% 0"). The space padding is deliberate: stringUnescapeURLContent reads it
// back, other decoders do not. "+" is never produced. Throws only on allocation failure.
ORV_NOL_API std::string stringEscapeURLContent(const std::string& text);

// Splits `text` at every occurrence of any of the characters in `delimiters` (a set of single
// characters, not a substring). Empty tokens are kept: a text with n delimiter characters gives
// n + 1 tokens ("a,,b" gives "a", "", "b"; ",a," gives "", "a", ""). With no delimiters, or none
// of them in the text, the result is the one token `text` (also for the empty text).
ORV_NOL_API std::vector<std::string> split(const std::string& text, const std::string& delimiters);

// Replaces each "%" that has at least two characters after it, together with those two, by the
// byte that the C library's `sscanf(.., "%hhx", ..)` reads from them: leading white space (so
// "% a" gives a line feed), a sign and one or two hex digits of either case are accepted, and
// reading stops at a NUL byte. Where nothing can be read, the "%" and the two characters stay
// as they are ("%zz1" stays "%zz1"). The two characters are consumed in either case, also where
// only the first one was read ("%4g" gives the byte 0x04 and drops the "g"). A "%" among the last
// two characters is copied as it stands ("100%"); "+" is not turned into a space.
//
// Throws std::out_of_range ("basic_string::substr") for the one-character text "%": the check
// for two following characters is done on unsigned sizes and wraps round for that text, and the
// read position then lies beyond the end. This behaviour is kept on purpose; it is the only
// exception apart from allocation failure.
ORV_NOL_API std::string stringUnescapeURLContent(const std::string& text);

}  // namespace common
}  // namespace nol
}  // namespace orv
