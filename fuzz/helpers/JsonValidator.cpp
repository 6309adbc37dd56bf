#include "helpers/JsonValidator.h"

namespace orv {
namespace fuzz {

namespace {

// A recursive-descent reader of the RFC 8259 grammar that only checks and counts.
class JsonChecker {
public:
    JsonChecker(std::string_view text, std::size_t maxDepth) : m_text(text), m_maxDepth(maxDepth) {}

    JsonCheck run() {
        skipWhitespace();
        bool ok = value();
        if (ok) {
            skipWhitespace();
            ok = atEnd() || fail("text after the value");
        }
        m_result.valid = ok;
        return m_result;
    }

private:
    bool atEnd() const { return m_pos == m_text.size(); }
    char peek() const { return atEnd() ? '\0' : m_text[m_pos]; }

    bool fail(const char* what) {
        m_result.error = what;
        m_result.errorOffset = m_pos;
        return false;
    }

    bool accept(char c) {
        if (atEnd() || m_text[m_pos] != c) {
            return false;
        }
        ++m_pos;
        return true;
    }

    void skipWhitespace() {
        while (!atEnd() && (peek() == ' ' || peek() == '\t' || peek() == '\n' || peek() == '\r')) {
            ++m_pos;
        }
    }

    static bool isDigit(char c) { return c >= '0' && c <= '9'; }

    static bool isHexDigit(char c) {
        return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
    }

    bool value() {
        ++m_result.values;
        switch (peek()) {
            case '{':
                return container('}', true);
            case '[':
                return container(']', false);
            case '"':
                return string();
            case 't':
                return literal("true");
            case 'f':
                return literal("false");
            case 'n':
                return literal("null");
            default:
                return number();
        }
    }

    // An object (members) or an array; the opening bracket is at the position.
    bool container(char close, bool members) {
        if (++m_depth > m_maxDepth) {
            return fail("nested too deeply");
        }
        ++m_pos;
        skipWhitespace();
        if (!accept(close)) {
            do {
                skipWhitespace();
                if (members && !member()) {
                    return false;
                }
                if (!members && !value()) {
                    return false;
                }
                skipWhitespace();
            } while (accept(','));
            if (!accept(close)) {
                return fail(members ? "expected ',' or '}'" : "expected ',' or ']'");
            }
        }
        --m_depth;
        return true;
    }

    bool member() {
        if (peek() != '"') {
            return fail("expected a string as member name");
        }
        if (!string()) {
            return false;
        }
        skipWhitespace();
        if (!accept(':')) {
            return fail("expected ':'");
        }
        skipWhitespace();
        return value();
    }

    bool literal(std::string_view word) {
        if (m_text.substr(m_pos, word.size()) != word) {
            return fail("unknown literal");
        }
        m_pos += word.size();
        return true;
    }

    bool string() {
        ++m_pos;
        for (;;) {
            if (atEnd()) {
                return fail("unterminated string");
            }
            const auto c = static_cast<unsigned char>(m_text[m_pos]);
            if (c == '"') {
                ++m_pos;
                return true;
            }
            if (c < 0x20) {
                return fail("raw control character in string");
            }
            if (c == '\\' && !escape()) {
                return false;
            }
            if (c != '\\') {
                ++m_pos;
            }
        }
    }

    // The escape at the backslash at the position.
    bool escape() {
        ++m_pos;
        const char kind = peek();
        if (kind == '"' || kind == '\\' || kind == '/' || kind == 'b' || kind == 'f' ||
            kind == 'n' || kind == 'r' || kind == 't') {
            ++m_pos;
            return true;
        }
        if (kind != 'u') {
            return fail("invalid escape");
        }
        ++m_pos;
        for (int i = 0; i < 4; ++i) {
            if (!isHexDigit(peek())) {
                return fail("\\u needs four hex digits");
            }
            ++m_pos;
        }
        return true;
    }

    bool digits() {
        if (!isDigit(peek())) {
            return false;
        }
        while (isDigit(peek())) {
            ++m_pos;
        }
        return true;
    }

    // -?(0|[1-9][0-9]*)(\.[0-9]+)?([eE][+-]?[0-9]+)?
    bool number() {
        accept('-');
        if (!accept('0') && !(peek() >= '1' && peek() <= '9' && digits())) {
            return fail("expected a value");
        }
        if (accept('.') && !digits()) {
            return fail("expected digits after '.'");
        }
        if (accept('e') || accept('E')) {
            if (!accept('+')) {
                accept('-');
            }
            if (!digits()) {
                return fail("expected digits in the exponent");
            }
        }
        return true;
    }

    std::string_view m_text;
    std::size_t m_maxDepth;
    std::size_t m_pos = 0;
    std::size_t m_depth = 0;
    JsonCheck m_result;
};

}  // namespace

JsonCheck checkJson(std::string_view text, std::size_t maxDepth) {
    return JsonChecker(text, maxDepth).run();
}

}  // namespace fuzz
}  // namespace orv
