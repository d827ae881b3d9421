// Stand-in written from archicad-api.md: window identification (section 2.1).
#pragma once

#include "APIdefs_Attributes.h"
#include "APIdefs_Base.h"

typedef enum {
    API_ZombieWindowID = 0,
    APIWind_FloorPlanID = 1,
    APIWind_SectionID = 2,
    APIWind_DetailID = 3,
    APIWind_3DModelID = 4,
    APIWind_LayoutID = 5,
    APIWind_DrawingID = 6,
    APIWind_MyTextID = 7,
    APIWind_MyDrawID = 8,
    APIWind_MasterLayoutID = 9,
    APIWind_ElevationID = 10,
    APIWind_InteriorElevationID = 11,
    APIWind_WorksheetID = 12,
    APIWind_ReportID = 13,
    APIWind_DocumentFrom3DID = 14,
    APIWind_External3DID = 15,
    APIWind_Movie3DID = 16,
    APIWind_MovieRenderingID = 17,
    APIWind_RenderingID = 18,
    APIWind_ModelCompareID = 19
} API_WindowTypeID;

// Not in archicad-api.md beyond its name: the database id record.
struct API_DatabaseUnId {
    API_Guid elemSetId;
};

struct API_WindowInfo {
    API_WindowTypeID typeID;
    Int32 index;
    API_DatabaseUnId databaseUnId;
    API_DatabaseUnId masterLayoutUnId;
    GS::uchar_t title[API_UniLongNameLen];
    GS::uchar_t name[API_UniLongNameLen];
    GS::uchar_t ref[API_UniLongNameLen];
    API_Guid linkedElement;
    API_DatabaseUnId linkedDatabaseUnId;
    Int32 linkedSegmentMemoIndex;
    Int32 filler_1[3];
};
