// Stand-in written from archicad-api.md: attribute records, materials only (section 3.4).
#pragma once

#include "APIdefs_AttributeIndex.hpp"
#include "APIdefs_Base.h"
#include "Location.hpp"

typedef enum {
    API_ZombieAttrID = 0,
    API_LayerID = 1,
    API_LinetypeID = 2,
    API_FilltypeID = 3,
    API_CompWallID = 4,
    API_MaterialID = 5,
    API_LayerCombID = 6,
    API_ZoneCatID = 7,
    API_ProfileID = 8,
    API_PenTableID = 9,
    API_MEPSystemID = 10,
    API_OperationProfileID = 11,
    API_BuildingMaterialID = 12
} API_AttrTypeID;

// Not in archicad-api.md: the name array's length.
#define API_AttrNameLen 256
#define API_UniLongNameLen 256

struct API_Attr_Head {
    API_AttrTypeID typeID;
    API_AttributeIndex index;
    short flags;
    short filler_0[3];
    char name[API_AttrNameLen];
    API_Guid guid;
    UInt64 modiTime;
    GS::UniString* uniStringNamePtr;
};

struct API_Texture {
    short status;
    bool missingPict;
    bool filler_1;
    Int32 filler_2;
    double xSize, ySize;
    double rotAng;
    Int32 filler_3;
    Int32 irtxt;
    GS::uchar_t texName[API_UniLongNameLen];
    IO::Location* fileLoc;
    bool withoutExtension;
    bool filler_4;
    short filler_5;
};

typedef enum {
    APIMater_GeneralID = 0,
    APIMater_SimpleID,
    APIMater_MatteID,
    APIMater_MetalID,
    APIMater_PlasticID,
    APIMater_GlassID,
    APIMater_GlowingID,
    APIMater_ConstID
} API_MaterTypeID;

struct API_MaterialType {
    API_Attr_Head head;
    Int32 filler_1;
    API_MaterTypeID mtype;
    short ambientPc, diffusePc, specularPc;
    short transpPc;
    short shine;
    short transpAtt;
    short emissionAtt;
    short filler_2;
    API_RGBColor surfaceRGB;
    API_RGBColor specularRGB, emissionRGB;
    API_AttributeIndex ifill;
    short fillCol;
    short filler_3;
    API_Texture texture;
};

// Only the members the adapter reads; every member begins with the header.
union API_Attribute {
    API_Attr_Head header;
    API_MaterialType material;
};
