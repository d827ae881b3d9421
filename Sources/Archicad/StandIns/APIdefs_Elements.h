// Stand-in written from archicad-api.md: element types, filters, camera and colour depths
// (sections 2.4, 2.8, 3.1).
#pragma once

#include "APIdefs_Base.h"

typedef enum {
    API_ZombieElemID = 0,
    API_WallID = 1,
    API_ColumnID = 2,
    API_BeamID = 3,
    API_WindowID = 4,
    API_DoorID = 5,
    API_ObjectID = 6,
    API_LampID = 7,
    API_SlabID = 8,
    API_RoofID = 9,
    API_MeshID = 10,
    API_DimensionID = 11,
    API_RadialDimensionID = 12,
    API_LevelDimensionID = 13,
    API_AngleDimensionID = 14,
    API_TextID = 15,
    API_LabelID = 16,
    API_ZoneID = 17,
    API_HatchID = 18,
    API_LineID = 19,
    API_PolyLineID = 20,
    API_ArcID = 21,
    API_CircleID = 22,
    API_SplineID = 23,
    API_HotspotID = 24,
    API_CutPlaneID = 25,
    API_CameraID = 26,
    API_CamSetID = 27,
    API_GroupID = 28,
    API_SectElemID = 29,
    API_DrawingID = 30,
    API_PictureID = 31,
    API_DetailID = 32,
    API_ElevationID = 33,
    API_InteriorElevationID = 34,
    API_WorksheetID = 35,
    API_HotlinkID = 36,
    API_CurtainWallID = 37,
    API_CurtainWallSegmentID = 38,
    API_CurtainWallFrameID = 39,
    API_CurtainWallPanelID = 40,
    API_CurtainWallJunctionID = 41,
    API_CurtainWallAccessoryID = 42,
    API_ShellID = 43,
    API_SkylightID = 44,
    API_MorphID = 45,
    API_ChangeMarkerID = 46,
    API_StairID = 47,
    API_RiserID = 48,
    API_TreadID = 49,
    API_StairStructureID = 50,
    API_RailingID = 51,
    API_RailingToprailID = 52,
    API_RailingHandrailID = 53,
    API_RailingRailID = 54,
    API_RailingPostID = 55,
    API_RailingInnerPostID = 56,
    API_RailingBalusterID = 57,
    API_RailingPanelID = 58,
    API_RailingSegmentID = 59,
    API_RailingNodeID = 60,
    API_RailingBalusterSetID = 61,
    API_RailingPatternID = 62,
    API_RailingToprailEndID = 63,
    API_RailingHandrailEndID = 64,
    API_RailingRailEndID = 65,
    API_RailingToprailConnectionID = 66,
    API_RailingHandrailConnectionID = 67,
    API_RailingRailConnectionID = 68,
    API_RailingEndFinishID = 69,
    API_BeamSegmentID = 70,
    API_ColumnSegmentID = 71,
    API_OpeningID = 72,
    API_ExternalElemID = 150,
} API_ElemTypeID;

typedef enum {
    APIVarId_Generic = 0,
    APIVarId_SymbStair = 'SYST',
    APIVarId_WallEnd = 'WAEN',
    APIVarId_Door = 'DOOR',
    APIVarId_Skylight = 'SKYL',
    APIVarId_Object = 'SYMB',
    APIVarId_GridElement = 'GREL',
    APIVarId_Light = 'LIGH',
    APIVarId_CornerWindow = 'CRWD'
} API_ElemVariationID;

struct API_ElemType {
    API_ElemTypeID typeID;
    API_ElemVariationID variationID;
    API_Guid classID;

    API_ElemType();
    API_ElemType(API_ElemTypeID typeID);
    API_ElemType(API_ElemTypeID typeID, API_ElemVariationID variationID);
    API_ElemType(const API_Guid& classID);
};

typedef GSFlags API_ElemFilterFlags;

#define APIFilt_None 0x00000000
#define APIFilt_IsEditable 0x00000001
#define APIFilt_OnVisLayer 0x00000002
#define APIFilt_OnActFloor 0x00000004
#define APIFilt_In3D 0x00000008

struct API_PerspPars {
    double azimuth;
    // Not in the adapter's use: the sun angle settings (API_SunAngleSettings) sit here.
    double sunAngSetsStandIn[4];
    double viewCone;
    double rollAngle;
    double distance;
    double cameraZ;
    double targetZ;
    bool isTwoPointPersp;
    char filler_0[7];
    char filler_1[7];
    API_Coord pos;
    API_Coord target;
    double filler_2[8];
};

typedef enum {
    APIColorDepth_FromSourceImage = -1,
    APIColorDepth_BW = 0,
    APIColorDepth_16C = 1,
    APIColorDepth_256C = 2,
    APIColorDepth_16G = 3,
    APIColorDepth_256G = 4,
#ifdef macintosh
    APIColorDepth_4C = 5,
    APIColorDepth_4G = 6,
    APIColorDepth_ThC = 7,
    APIColorDepth_MiC = 8,
    APIColorDepth_MiCP = 9
#endif
#ifdef WINDOWS
    APIColorDepth_64KC = 5,
    APIColorDepth_TC24 = 6,
    APIColorDepth_TC32 = 7
#endif
} API_ColorDepthID;
