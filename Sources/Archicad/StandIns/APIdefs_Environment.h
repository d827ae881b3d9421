// Stand-in written from archicad-api.md: 3D window, projection, rendering, 3D style, special
// folders and project records (sections 2.3 to 2.7, 3.3).
#pragma once

#include "APIdefs_Attributes.h"
#include "APIdefs_Base.h"
#include "APIdefs_Elements.h"
#include "Location.hpp"

typedef struct {
    bool setWindowSize;
    short hSize;
    short vSize;
    bool setZoom;
    double zoomScaleX;
    double zoomScaleY;
    double zoomDispX;
    double zoomDispY;
} API_3DWindowInfo;

// Not in the adapter's use: the axonometric parameters share the union.
struct API_AxonoPars {
    double azimuth;
    double filler_standIn[40];
};

struct API_3DProjectionInfo {
    bool isPersp;
    char filler_1[7];
    API_Guid camGuid;
    API_Guid actCamSet;
    union {
        API_PerspPars persp;
        API_AxonoPars axono;
    } u;
};

typedef enum { APIRendSet_EffectsID = 0, APIRendSet_ImageID = 1 } API_RendSetTypeID;

struct API_RendImage {
    short hSize;
    short vSize;
    short outResolution;
    bool proportional;
    bool bkgPict;
    API_RGBColor bkgSkyRGB;
    API_RGBColor bkgEarthRGB;
    API_Rect bkgPictRect;
    IO::Location* bkgPictFile;
    short bkgResolution;
    bool filler_1;
    bool partialRendering;
    API_Rect partialRect;
    short scaleType;
    short bkgScaleType;
    Int32 filler_2[13];
};

typedef enum {
    API3DModel_Block = 0,
    API3DModel_WireFrame = 1,
    API3DModel_Hiddenline = 2,
    API3DModel_Shading = 3
} API_3DModelTypeID;

typedef enum {
    APIShadContours_Draft = 0,
    APIShadContours_Off,
    APIShadContours_Best
} API_ShadingContoursID;

typedef enum {
    APIVectShad_Off = 0,
    APIVectShad_ContOff_AllSurf,
    APIVectShad_ContOn_AllSurf,
    APIVectShad_ContOff_OneLevel,
    APIVectShad_ContOn_OneLevel
} API_VectorShadowID;

struct API_3DStyle {
    GS::uchar_t name[API_UniLongNameLen];
    Int32 engineId;
    API_3DModelTypeID model3D;
    Int32 filler_1[2];
    bool transparency;
    bool monochromeEnabled;
    API_RGBColor monochromeSurfaceRGB, monochromeContourRGB;
    bool bkgAsInRendering;
    bool chainBkgColors;
    API_RGBColor bkgSkyColor, backGroundRGB;
    API_ShadingContoursID shadCont;
    Int32 filler_2[4];
    API_VectorShadowID vectSunShadow;
    bool vectHatchOn;
    bool filler_3;
    short contourThickness, silhouetteThickness, vectorialHatchingThickness, shadowContourThickness;
    short castShadowPercent, shadingPercent;
    double shadowElevation;
    bool show3DHotSpotsOnly;

    API_3DStyle();
};

typedef enum {
    API_ApplicationPrefsFolderID = 1,
    API_GraphisoftPrefsFolderID = 2,
    API_GraphisoftHomeFolderID = 3,
    API_CacheFolderID = 4,
    API_DataFolderID = 5,
    API_UserDocumentsFolderID = 6,
    API_TemporaryFolderID = 7,
    API_ApplicationFolderID = 8,
    API_DefaultsFolderID = 9,
    API_WebObjectsFolderID = 10,
    API_TemplatesFolderID = 11,
    API_HelpFolderID = 12,
    API_EmbeddedProjectLibraryFolderID = 13,
    API_EmbeddedProjectLibraryHotlinkFolderID = 14
} API_SpecFolderID;

// Its constructor nulls the pointers and its destructor deletes them.
struct API_ProjectInfo {
    bool untitled;
    bool teamwork;
    short userId;
    Int32 workGroupMode;
    IO::Location* location;
    IO::Location* location_team;
    UInt64 modiStamp;
    GS::UniString* projectPath;
    GS::UniString* projectName;

    API_ProjectInfo();
    ~API_ProjectInfo();
};
