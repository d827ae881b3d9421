#include "JsonEscape.hpp"

#include <cstdio>

namespace Velmora {

namespace {

char const* ShortEscape(char c) {
    switch (c) {
    case '"':
        return "\\\"";
    case '\\':
        return "\\\\";
    case '\b':
        return "\\b";
    case '\f':
        return "\\f";
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    case '\t':
        return "\\t";
    default:
        return nullptr;
    }
}

} // namespace

std::string JsonEscape(std::string const& text, JsonHexDigits digits) {
    char const* const unicodeFormat = digits == JsonHexDigits::Upper ? "\\u%04X" : "\\u%04x";
    std::string out;
    out.reserve(text.size() + 2);
    for (char const c : text) {
        if (char const* escape = ShortEscape(c)) {
            out += escape;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, unicodeFormat, static_cast<unsigned>(c));
            out += escaped;
        } else {
            out += c;
        }
    }
    return out;
}

} // namespace Velmora
