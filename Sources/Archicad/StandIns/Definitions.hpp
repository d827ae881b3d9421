// Stand-in written from archicad-api.md: GSRoot's basic types (section "Conventions used below").
#pragma once

#include <cstddef>
#include <cstdint>

typedef signed char Int8;
typedef unsigned char UInt8;
typedef short Int16;
typedef unsigned short UInt16;
typedef int Int32;
typedef unsigned int UInt32;
typedef long long Int64;
typedef unsigned long long UInt64;

typedef Int32 GSErrCode;
typedef UInt32 GSType;
typedef UInt32 GSFlags;
typedef Int32 GSSize;
typedef char* GSPtr;
typedef GSPtr* GSHandle;
typedef UInt32 USize;
typedef UInt32 UIndex;

// Not in archicad-api.md: the largest size, the default "to the end" range of GSRoot calls.
constexpr USize MaxUSize = 0xFFFFFFFFu;

enum { NoError = 0, Error = -7003 };

namespace GS {
typedef std::intptr_t IntPtr;
typedef unsigned short UShort;
// Not in archicad-api.md: the UTF-16 code unit of the fixed-size name arrays (GS::uchar_t).
typedef unsigned short uchar_t;
} // namespace GS
