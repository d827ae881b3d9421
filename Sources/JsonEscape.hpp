// Escaping of strings for the JSON documents the add-on writes by hand.
#pragma once

#include <string>

namespace Velmora {

// The .glb writer spells \u escapes with upper-case hex digits, the uploads with lower-case;
// both spellings are valid JSON and each document keeps the one it has always used.
enum class JsonHexDigits { Lower, Upper };

// Quote and backslash, and backspace, form feed, line feed, carriage return and tab as
// two-character escapes; other bytes below 0x20 as \u00XX; every other byte (UTF-8
// included) unchanged.
std::string JsonEscape(std::string const& text, JsonHexDigits digits);

} // namespace Velmora
