#include "orv/bafu/Conversion.h"

#include <array>
#include <cstdio>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "orv/common/errors/InvalidArgumentException.h"

namespace orv {
namespace bafu {

namespace {

constexpr std::size_t kByteValues = 256;
constexpr unsigned char kNoDigit = 0xFF;

// The two lower-case digits of every byte value, side by side.
constexpr std::array<char, 2 * kByteValues> makeDigitPairs() {
    constexpr char digits[] = "0123456789abcdef";
    std::array<char, 2 * kByteValues> pairs{};
    for (std::size_t value = 0; value < kByteValues; ++value) {
        pairs[2 * value] = digits[value >> 4U];
        pairs[2 * value + 1] = digits[value & 0xFU];
    }
    return pairs;
}

// The value of every hexadecimal digit character, kNoDigit for all other characters.
constexpr std::array<unsigned char, kByteValues> makeDigitValues() {
    std::array<unsigned char, kByteValues> values{};
    for (std::size_t c = 0; c < kByteValues; ++c) {
        values[c] = kNoDigit;
    }
    for (unsigned char d = 0; d < 10; ++d) {
        values['0' + d] = d;
    }
    for (unsigned char d = 0; d < 6; ++d) {
        values['a' + d] = static_cast<unsigned char>(10 + d);
        values['A' + d] = static_cast<unsigned char>(10 + d);
    }
    return values;
}

constexpr std::array<char, 2 * kByteValues> kDigitPairs = makeDigitPairs();
constexpr std::array<unsigned char, kByteValues> kDigitValues = makeDigitValues();

// Reads a pair that is not simply two digits the way the C library's scan does, so that its
// leniency (white space, sign, a lone leading digit) is kept exactly. The scan with "%hhX" is a
// second try that accepts nothing "%hhx" does not; it stays for faithfulness.
unsigned char scanUnusualPair(const std::string& hex, std::size_t position) {
    const std::string pair = hex.substr(position, 2);
    unsigned char value = 0;
    // NOLINTBEGIN(cert-err34-c,bugprone-unchecked-string-to-number-conversion): the scan's
    // leniency is the behaviour wanted here.
    if (std::sscanf(pair.c_str(), "%hhx", &value) == 1 ||
        std::sscanf(pair.c_str(), "%hhX", &value) == 1) {
        return value;
    }
    // NOLINTEND(cert-err34-c,bugprone-unchecked-string-to-number-conversion)
    throw common::errors::InvalidArgumentException("Hex string contains invalid characters.");
}

// Reads the pairs k = first .. end - 1, each on its own.
void readPairs(const std::string& hex, unsigned char* out, std::size_t first, std::size_t end) {
    const auto* in = reinterpret_cast<const unsigned char*>(hex.data());
    for (std::size_t k = first; k < end; ++k) {
        const unsigned char high = kDigitValues[in[2 * k]];
        const unsigned char low = kDigitValues[in[2 * k + 1]];
        if (((high | low) & 0xF0U) == 0) {
            out[k] = static_cast<unsigned char>((high << 4U) | low);
        } else {
            out[k] = scanUnusualPair(hex, 2 * k);
        }
    }
}

#ifdef __SSE2__
// The values of 16 characters, and in `valid` 0xFF for each that is a hexadecimal digit.
// SSE2 compares only signed bytes, so each range test first moves its range to the bottom of
// the signed range: c - '0' + 0x80 is below -128 + 10 exactly for the ten decimal digits.
inline __m128i digitValues(__m128i chars, __m128i& valid) {
    const __m128i bias = _mm_set1_epi8(static_cast<char>(0x80));
    const __m128i decimal = _mm_sub_epi8(chars, _mm_set1_epi8('0'));
    const __m128i letter = _mm_sub_epi8(_mm_or_si128(chars, _mm_set1_epi8(0x20)),
                                        _mm_set1_epi8('a' - 10));  // 'a'..'f' and 'A'..'F': 10..15
    const __m128i isDecimal =
        _mm_cmplt_epi8(_mm_add_epi8(decimal, bias), _mm_set1_epi8(static_cast<char>(-128 + 10)));
    const __m128i isLetter =
        _mm_cmplt_epi8(_mm_add_epi8(_mm_sub_epi8(letter, _mm_set1_epi8(10)), bias),
                       _mm_set1_epi8(static_cast<char>(-128 + 6)));
    valid = _mm_or_si128(isDecimal, isLetter);
    return _mm_or_si128(_mm_and_si128(isDecimal, decimal), _mm_and_si128(isLetter, letter));
}

// Sixteen bytes from 32 digit values, high digit first: each 16-bit lane holds a pair.
inline __m128i joinPairs(__m128i values) {
    const __m128i high = _mm_slli_epi16(_mm_and_si128(values, _mm_set1_epi16(0x0F)), 4);
    const __m128i low = _mm_srli_epi16(values, 8);
    return _mm_or_si128(high, low);
}

// Reads the 16 pairs at `in` into `out` if all 32 characters are digits; false otherwise.
inline bool readPlainGroup(const unsigned char* in, unsigned char* out) {
    __m128i validFirst;
    __m128i validSecond;
    const __m128i first =
        digitValues(_mm_loadu_si128(reinterpret_cast<const __m128i*>(in)), validFirst);
    const __m128i second =
        digitValues(_mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 16)), validSecond);
    if (_mm_movemask_epi8(_mm_and_si128(validFirst, validSecond)) != 0xFFFF) {
        return false;
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out),
                     _mm_packus_epi16(joinPairs(first), joinPairs(second)));
    return true;
}
#endif

}  // namespace

std::string Conversion::hexStringOfBinary(const std::vector<unsigned char>& bytes) {
    std::string hex(2 * bytes.size(), '0');
    char* out = hex.data();
    for (const unsigned char byte : bytes) {
        std::memcpy(out, &kDigitPairs[2 * std::size_t{byte}], 2);
        out += 2;
    }
    return hex;
}

std::vector<unsigned char> Conversion::binaryOfHexString(const std::string& hex) {
    if (hex.size() % 2 != 0) {
        throw common::errors::InvalidArgumentException("Hex string length is not divisible by 2.");
    }
    std::vector<unsigned char> bytes(hex.size() / 2);
    std::size_t done = 0;
#ifdef __SSE2__
    // Sixteen pairs at a time while they are plain digits; a group holding anything else is
    // read pair by pair, so an unusual pair is read (or refused) exactly as on its own.
    const auto* in = reinterpret_cast<const unsigned char*>(hex.data());
    for (; done + 16 <= bytes.size(); done += 16) {
        if (!readPlainGroup(in + 2 * done, bytes.data() + done)) {
            readPairs(hex, bytes.data(), done, done + 16);
        }
    }
#endif
    readPairs(hex, bytes.data(), done, bytes.size());
    return bytes;
}

}  // namespace bafu
}  // namespace orv
