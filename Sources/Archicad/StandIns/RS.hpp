// Stand-in written from archicad-api.md: the resource string reader (section 1.3), with its
// macro, which expands every RSGetIndString( that follows it.
#pragma once

#include "Definitions.hpp"
#include "UniString.hpp"

typedef Int32 GSResID;
typedef GS::IntPtr GSResModule;

enum ResStringType { RST_Localised = 0, RST_Fixed = 1 };

bool RSGetIndString_ParamAdapter(const char* file, int line, GS::UniString* result, GSResID resID,
                                 Int32 index, GSResModule resModule,
                                 ResStringType rsType = RST_Localised);

#define RSGetIndString(...) RSGetIndString_ParamAdapter(__FILE__, __LINE__, __VA_ARGS__)
