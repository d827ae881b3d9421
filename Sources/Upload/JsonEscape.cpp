// String escaping for the JSON documents the uploads send.
#include "Upload/Uploader.hpp"

#include <cstdio>

namespace Velmora::Uploader {

std::string JsonEscape(std::string const& text) {
    std::string out;
    out.reserve(text.size() + 2);
    for (char const c : text) {
        switch (c) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\b':
            out += "\\b";
            break;
        case '\f':
            out += "\\f";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                char escaped[8];
                std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(c));
                out += escaped;
            } else {
                out += c;
            }
        }
    }
    return out;
}

} // namespace Velmora::Uploader
