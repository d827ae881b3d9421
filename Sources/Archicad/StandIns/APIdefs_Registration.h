// Stand-in written from archicad-api.md: add-on registration records (sections 1.1, 1.2, 1.5, 3.3).
#pragma once

#include "Definitions.hpp"
#include "UniString.hpp"

typedef enum {
    APIAddon_DontRegister = 0,
    APIAddon_Normal = 1,
    APIAddon_Preload = 2,
    APIAddon_Unknown = 9999
} API_AddonType;

typedef enum { APIAppl_ArchiCADID = 1 } API_ApplicationTypeID;

struct API_ServerApplicationInfo {
    API_ApplicationTypeID serverApplication;
    UInt16 mainVersion;
    Int16 releaseVersion;
    bool runningInBackground;
    Int32 buildNum;
    GS::UniString language;
    GS::UniString partnerID;
};

// Not in archicad-api.md beyond its name: the add-on's required SSA level.
typedef Int32 API_SSALevel;

struct API_AddOnInfo {
    GS::UniString name;
    GS::UniString description;
    API_SSALevel requiredSSALevel;
};

struct API_EnvirParams {
    API_ServerApplicationInfo serverInfo;
    API_AddOnInfo addOnInfo;
};

struct API_ModulID {
    GSType developerID;
    GSType localID;
};

typedef enum {
    MenuCode_UserDef = 0,
    MenuCode_File = 1,
    MenuCode_Edit1 = 2,
    MenuCode_Edit2 = 3,
    MenuCode_Edit3 = 4,
    MenuCode_Tools = 5,
    MenuCode_Options1 = 6,
    MenuCode_Options2 = 7,
    MenuCode_Image = 8,
    MenuCode_Calculate = 9,
    MenuCode_TeamWork = 10,
    MenuCode_Display = 11,
    MenuCode_Palettes = 12,
    MenuCode_Extras = 13,
    MenuCode_Hotlink = 14,
    MenuCode_GDLObjects = 15,
    MenuCode_3DView = 16,
    MenuCode_DocExtras = 17,
    MenuCode_Interoperability = 18,
    MenuCode_ModelCheck = 19
} APIMenuCodeID;

#define MenuFlag_Default 0x0000
#define MenuFlag_SeparatorBefore 0x0001
#define MenuFlag_SeparatorAfter 0x0002
#define MenuFlag_InsertIntoSame 0x0004
