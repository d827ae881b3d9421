// Values crossing the host boundary: UTF-8 strings to and from GS::UniString and the fixed
// UTF-16 name arrays, paths to and from IO::Location, and the 16-byte element id.
#pragma once

#include "Host/HostTypes.hpp"
#include "Host/Utf16Text.hpp"

#include "APIEnvir.h"

#include "ACAPinc.h"
#include "Location.hpp"
#include "UniString.hpp"

#include <cstddef>
#include <string>

namespace Velmora::Archicad {

GS::UniString ToUniString(std::string const& utf8);
std::string ToUtf8(GS::UniString const& text);

IO::Location ToLocation(std::string const& path);
// An empty string for a missing location or one without a path.
std::string ToPath(IO::Location const* location);

::API_Guid ToApiGuid(Host::API_Guid const& guid);
Host::API_Guid FromApiGuid(::API_Guid const& guid);

// The host's name arrays end at the first zero unit; the last unit always stays zero.
template <typename Unit, std::size_t N>
void CopyToUnits(Unit (&units)[N], std::string const& utf8) {
    std::u16string const text = Host::Utf16FromUtf8(utf8, N - 1);
    for (std::size_t i = 0; i < N; ++i)
        units[i] = static_cast<Unit>(i < text.size() ? text[i] : 0);
}

template <typename Unit, std::size_t N>
std::string FromUnits(Unit const (&units)[N]) {
    std::u16string text;
    for (std::size_t i = 0; i < N && units[i] != 0; ++i)
        text.push_back(static_cast<char16_t>(units[i]));
    return Host::Utf8FromUtf16(text);
}

} // namespace Velmora::Archicad
