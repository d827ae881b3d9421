// UTF-8 <-> UTF-16 for the host's fixed-size name arrays (window titles, 3D style names), which
// hold UTF-16 code units while the add-on keeps UTF-8.
#pragma once

#include <cstddef>
#include <string>

namespace Velmora::Host {

// At most maxUnits code units, never half of a surrogate pair; malformed UTF-8 becomes U+FFFD.
std::u16string Utf16FromUtf8(std::string const& text, std::size_t maxUnits);
// Unpaired surrogates become U+FFFD.
std::string Utf8FromUtf16(std::u16string const& text);

} // namespace Velmora::Host
