// Utils: GUIDs read from text, resource URIs and data objects, or derived from names.

#include <array>
#include <string>

#include "orv/common/checksums/SHA1.h"
#include "orv/nol/common/StringUtils.h"
#include "orv/nol/common/Utils.h"

namespace orv {
namespace nol {
namespace common {

using orv::common::guid::GUID;
namespace data = orv::dataformats::data;

namespace {

// Version 5 (name-based, SHA-1) in the high nibble of byte 7, variant 10 in the top bits of
// byte 8.
constexpr std::size_t kVersionByte = 7;
constexpr std::uint8_t kVersionBits = 0x50;
constexpr std::size_t kVariantByte = 8;
constexpr std::uint8_t kVariantBits = 0x80;

}  // namespace

GUID Utils::getGuidOfStr(const std::string& text) {
    GUID guid;
    // A failed parse leaves the nil GUID in place.
    static_cast<void>(GUID::parse(text, guid));
    return guid;
}

GUID Utils::getGuidOfUri(const std::string& uri) {
    std::string firstSegment;
    std::string secondSegment;
    GUID guid;
    splitUri(uri, firstSegment, secondSegment, guid);
    return guid;
}

GUID Utils::getGuidOfObject(const data::Object& object) {
    return getGuidOfUri(getUriOfObject(object));
}

GUID Utils::createHashedGuid(const std::string& name) {
    orv::common::checksums::SHA1 sha;
    sha.update(getBytesOfString(name));
    std::array<std::uint8_t, GUID::Size> bytes{};
    sha.getDigest(bytes.data(), bytes.size());
    bytes[kVersionByte] = static_cast<std::uint8_t>((bytes[kVersionByte] & 0x0F) | kVersionBits);
    bytes[kVariantByte] = static_cast<std::uint8_t>((bytes[kVariantByte] & 0x3F) | kVariantBits);
    return GUID(bytes);
}

}  // namespace common
}  // namespace nol
}  // namespace orv
