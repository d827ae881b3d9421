#pragma once

#include "Host/HostTypes.hpp"

#include <string>

namespace Velmora::Host {

// Parses "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" (braces optional) into the host's memory
// layout: the first three groups little-endian, the last two as bytes. Returns the null
// guid for malformed text.
API_Guid GuidFromString(std::string const& text);
std::string GuidToString(API_Guid const& guid);

// The sum of the guid's four 32-bit words, wrapping: the host's palette reference id.
Int32 GuidWordSum(API_Guid const& guid);

} // namespace Velmora::Host
