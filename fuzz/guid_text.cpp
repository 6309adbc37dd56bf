// Fuzz target: reading GUIDs from arbitrary text. Utils::getGuidOfStr accepts exactly the texts
// of 36 characters with "-" at positions 8, 13, 18 and 23 and hex digits of either case
// elsewhere; for every accepted text the GUID's text form is the input in lower case, and every
// other text gives the nil GUID. A resource URI with the text as its third segment gives the
// same GUID through Utils::getGuidOfUri.

#include <cstddef>
#include <cstdint>
#include <string>

#include "helpers/Check.h"
#include "orv/common/guid/GUID.h"
#include "orv/nol/common/Utils.h"

namespace {

using orv::common::guid::GUID;
using orv::fuzz::check;
using orv::fuzz::printable;
using orv::nol::common::Utils;

bool isHexDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool isGuidText(const std::string& text) {
    if (text.size() != 36) {
        return false;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool dashPlace = i == 8 || i == 13 || i == 18 || i == 23;
        if (dashPlace ? text[i] != '-' : !isHexDigit(text[i])) {
            return false;
        }
    }
    return true;
}

std::string lowerCase(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const GUID guid = Utils::getGuidOfStr(text);
    if (isGuidText(text)) {
        check(guid.toString() == lowerCase(text), "an accepted text is the GUID's text form", [&] {
            return "input: " + printable(text) + "\nGUID:  " + printable(guid.toString());
        });
    } else {
        check(guid.isNil(), "a text that is no GUID gives the nil GUID", [&] {
            return "input: " + printable(text) + "\nGUID:  " + printable(guid.toString());
        });
    }

    if (text.find('/') == std::string::npos) {
        const GUID ofUri = Utils::getGuidOfUri("/service/type/" + text);
        check(ofUri == guid, "the third segment of a resource URI reads as the text does", [&] {
            return "input: " + printable(text) + "\nof the URI: " + printable(ofUri.toString());
        });
    }
    return 0;
}
