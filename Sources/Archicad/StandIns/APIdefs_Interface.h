// Stand-in written from archicad-api.md: menus and palettes (sections 1.2, 1.8). Like the
// DevKit's, it pulls in the resource string reader.
#pragma once

#include "Definitions.hpp"
#include "RS.hpp"

struct API_MenuItemRef {
    short menuResID;
    short filler_1;
    Int32 itemIndex;
    Int32 filler_2[2];
};

#define API_MenuItemDisabled 0x00000001
#define API_MenuItemChecked 0x00000002

typedef enum {
    APIPalMsg_ClosePalette = 1,
    APIPalMsg_HidePalette_Begin = 2,
    APIPalMsg_HidePalette_End = 3,
    APIPalMsg_DisableItems_Begin = 4,
    APIPalMsg_DisableItems_End = 5,
    APIPalMsg_OpenPalette = 6,
    APIPalMsg_IsPaletteVisible = 7
} API_PaletteMessageID;

#define API_PalEnabled_FloorPlan 0x00000001
#define API_PalEnabled_Section 0x00000002
#define API_PalEnabled_3D 0x00000004
#define API_PalEnabled_SelOnly 0x00000008
#define API_PalEnabled_Detail 0x00000010
#define API_PalEnabled_Layout 0x00000020
#define API_PalEnabled_Worksheet 0x00000040
#define API_PalEnabled_Elevation 0x00000080
#define API_PalEnabled_InteriorElevation 0x00000100
#define API_PalEnabled_DocumentFrom3D 0x00000200
