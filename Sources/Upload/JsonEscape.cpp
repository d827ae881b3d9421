// String escaping for the JSON documents the uploads send.
#include "JsonEscape.hpp"

#include "Upload/Uploader.hpp"

namespace Velmora::Uploader {

std::string JsonEscape(std::string const& text) {
    return Velmora::JsonEscape(text, JsonHexDigits::Lower);
}

} // namespace Velmora::Uploader
