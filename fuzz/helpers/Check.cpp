#include "helpers/Check.h"

#include <cstdio>
#include <cstdlib>

namespace orv {
namespace fuzz {

namespace {

constexpr std::size_t kMaxPrintedBytes = 4000;

}  // namespace

void failProperty(std::string_view property, const std::string& evidence) {
    std::fprintf(stderr, "\n==== fuzz property violated: %.*s\n%s\n====\n",
                 static_cast<int>(property.size()), property.data(), evidence.c_str());
    std::fflush(stderr);
    std::abort();
}

std::string printable(std::string_view bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text = "\"";
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i == kMaxPrintedBytes) {
            text += "...";
            break;
        }
        const auto c = static_cast<unsigned char>(bytes[i]);
        if (c < 0x20 || c >= 0x7f || c == '\\' || c == '"') {
            text += "\\x";
            text += kDigits[c >> 4U];
            text += kDigits[c & 0xFU];
        } else {
            text += static_cast<char>(c);
        }
    }
    return text + "\"";
}

}  // namespace fuzz
}  // namespace orv
