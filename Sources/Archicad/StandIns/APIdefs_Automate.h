// Stand-in written from archicad-api.md: saving the current window as a picture (section 2.8).
// The file type enum holds only the picture types, at the numbers 27 and 28 give them.
#pragma once

#include "APIdefs_Elements.h"
#include "Location.hpp"

typedef enum {
    APIFType_PNGFile = 16,
    APIFType_BMPFile = 17,
    APIFType_TIFFFile = 18,
    APIFType_JPEGFile = 19,
    APIFType_GIFFile = 20
} API_FTypeID;

struct API_FileSavePars {
    API_FTypeID fileTypeID;
    Int32 filler_1;
    IO::Location* file;
    Int32 filler_2[15];
};

struct API_SavePars_Picture {
    API_ColorDepthID colorDepth;
    bool dithered;
    bool view2D;
    bool crop;
    bool keepSelectionHighlight;
    Int32 filler_2[8];
};
