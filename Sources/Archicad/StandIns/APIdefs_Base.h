// Stand-in written from archicad-api.md: base records (API_Guid, colours, coordinates, rectangles).
#pragma once

#include "Definitions.hpp"

// Not in archicad-api.md: the fields of the 16-byte id; the adapter copies it as bytes.
struct API_Guid {
    UInt32 time_low;
    UInt16 time_mid;
    UInt16 time_hi_and_version;
    UInt8 clock_seq_hi_and_reserved;
    UInt8 clock_seq_low;
    UInt8 node[6];
};

#define APINULLGuid (API_Guid{})

struct API_RGBColor {
    double f_red, f_green, f_blue;
};

struct API_RGBAColor {
    double f_red, f_green, f_blue, f_alpha;
};

struct API_Coord {
    double x, y;
};

// Not in archicad-api.md: the rectangle's fields (the adapter copies them one by one).
struct API_Rect {
    Int32 left, top, right, bottom;
};
