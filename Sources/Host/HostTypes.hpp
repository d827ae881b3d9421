// Records, codes and callback shapes of the host's API, as the add-on sees them.
// Names and numbers follow the host's own headers so that the Archicad adapter is a
// field-by-field copy; strings are UTF-8 and paths are UTF-8 strings.
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace Velmora::Host {

using GSErrCode = std::int32_t;
using GSType = std::uint32_t;
using GSFlags = std::uint32_t;
using GSSize = std::int32_t;
using Int32 = std::int32_t;
using UInt32 = std::uint32_t;
using GSPtr = char*;
using GSHandle = char**;
using GSResModule = std::intptr_t;

// The host's error codes (its own are preprocessor macros, hence the different spelling).
namespace Error {
constexpr GSErrCode NoError = 0;
constexpr GSErrCode General = static_cast<GSErrCode>(0x81060001u);
constexpr GSErrCode MemFull = static_cast<GSErrCode>(0x81060002u);
constexpr GSErrCode Cancel = static_cast<GSErrCode>(0x81060003u);
constexpr GSErrCode BadId = static_cast<GSErrCode>(0x81060065u);
constexpr GSErrCode BadIndex = static_cast<GSErrCode>(0x81060066u);
constexpr GSErrCode BadName = static_cast<GSErrCode>(0x81060067u);
constexpr GSErrCode BadPars = static_cast<GSErrCode>(0x81060068u);
constexpr GSErrCode BadDatabase = static_cast<GSErrCode>(0x8106006Au);
constexpr GSErrCode BadWindow = static_cast<GSErrCode>(0x8106006Bu);
constexpr GSErrCode BadGuid = static_cast<GSErrCode>(0x81060074u);
constexpr GSErrCode NoPlan = static_cast<GSErrCode>(0x810600CBu);
constexpr GSErrCode NoAccessRight = static_cast<GSErrCode>(0x81060133u);
constexpr GSErrCode ModulNotInstalled = static_cast<GSErrCode>(0x81060191u);
constexpr GSErrCode ModulCmdNotSupported = static_cast<GSErrCode>(0x81060193u);
constexpr GSErrCode ModulCmdVersNotSupported = static_cast<GSErrCode>(0x81060194u);
constexpr GSErrCode NotInit = static_cast<GSErrCode>(0x81060385u);
constexpr GSErrCode RefusedCmd = static_cast<GSErrCode>(0x81060388u);
constexpr GSErrCode RefusedPar = static_cast<GSErrCode>(0x81060389u);
constexpr GSErrCode ReadOnly = static_cast<GSErrCode>(0x8106038Au);
} // namespace Error

// A 16-byte element or palette id, in the host's byte order.
struct API_Guid {
    std::array<std::uint8_t, 16> bytes{};
    bool operator==(API_Guid const& other) const { return bytes == other.bytes; }
    bool operator!=(API_Guid const& other) const { return bytes != other.bytes; }
};

// ---- Registration --------------------------------------------------------------------------

enum API_AddonType : Int32 {
    APIAddon_DontRegister = 0,
    APIAddon_Normal = 1,
    APIAddon_Preload = 2,
    APIAddon_Unknown = 9999,
};

struct API_AddOnInfo {
    std::string name;
    std::string description;
};

struct API_EnvirParams {
    API_AddOnInfo addOnInfo;
};

struct API_ModulID {
    GSType developerID = 0;
    GSType localID = 0;
};

// ---- Menus ---------------------------------------------------------------------------------

enum APIMenuCodeID : Int32 {
    MenuCode_UserDef = 0,
    MenuCode_File = 1,
    MenuCode_Tools = 5,
    MenuCode_Palettes = 12,
};

namespace MenuFlag {
constexpr GSFlags Default = 0x0000;
constexpr GSFlags SeparatorBefore = 0x0001;
constexpr GSFlags SeparatorAfter = 0x0002;
} // namespace MenuFlag

namespace MenuItemFlag {
constexpr GSFlags Disabled = 0x00000001;
constexpr GSFlags Checked = 0x00000002;
} // namespace MenuItemFlag

struct API_MenuItemRef {
    short menuResID = 0;
    Int32 itemIndex = 0; // 1-based within the menu's string list
};

struct API_MenuParams {
    API_MenuItemRef menuItemRef;
};

// ---- Callbacks -----------------------------------------------------------------------------

enum API_PaletteMessageID : Int32 {
    APIPalMsg_ClosePalette = 1,
    APIPalMsg_HidePalette_Begin = 2,
    APIPalMsg_HidePalette_End = 3,
    APIPalMsg_DisableItems_Begin = 4,
    APIPalMsg_DisableItems_End = 5,
    APIPalMsg_OpenPalette = 6,
    APIPalMsg_IsPaletteVisible = 7,
};

using APIMenuCommandProc = GSErrCode(const API_MenuParams* menuParams);
using APIModulCommandProc = GSErrCode(GSHandle params, GSPtr resultData, bool silentMode);
using APICommandCallBackProc = void(GSHandle* paramsHandle, GSPtr resultData, GSErrCode returnCode);
using APIPaletteControlCallBackProc = GSErrCode(Int32 referenceID, API_PaletteMessageID messageID,
                                                std::intptr_t param);

// Project and application events: bit flags, several may be caught with one handler.
enum API_NotifyEventID : Int32 {
    APINotify_New = 0x00000001,
    APINotify_NewAndReset = 0x00000002,
    APINotify_Open = 0x00000004,
    APINotify_PreSave = 0x00000008,
    APINotify_Save = 0x00000010,
    APINotify_Close = 0x00000020,
    APINotify_Quit = 0x00000040,
    APINotify_TempSave = 0x00000080,
};

using APIProjectEventHandlerProc = GSErrCode(API_NotifyEventID notifID, Int32 param);

// ---- Elements ------------------------------------------------------------------------------

// The host's element type ids; the numbers are the host's and must never be reordered.
enum API_ElemTypeID : Int32 {
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
};

using API_ElemVariationID = GSType;

struct API_ElemType {
    API_ElemTypeID typeID = API_ZombieElemID; // zombie: every type
    API_ElemVariationID variationID = 0;
    API_Guid classID;
};

using API_ElemFilterFlags = GSFlags;

namespace ElemFilter {
constexpr API_ElemFilterFlags APIFilt_None = 0x0;
constexpr API_ElemFilterFlags APIFilt_IsEditable = 0x1;
constexpr API_ElemFilterFlags APIFilt_OnVisLayer = 0x2;
constexpr API_ElemFilterFlags APIFilt_OnActFloor = 0x4;
constexpr API_ElemFilterFlags APIFilt_In3D = 0x8;
} // namespace ElemFilter

// ---- Project, windows, application ---------------------------------------------------------

struct API_ProjectInfo {
    bool untitled = true; // never saved: no file
    bool teamwork = false;
    std::string location;      // the solo project's file, when there is one
    std::string location_team; // the shared project's file, when there is one
    std::string projectPath;
    std::string projectName;
};

enum API_WindowTypeID : Int32 {
    API_ZombieWindowID = 0,
    APIWind_FloorPlanID = 1,
    APIWind_SectionID = 2,
    APIWind_DetailID = 3,
    APIWind_3DModelID = 4,
    APIWind_LayoutID = 5,
    APIWind_DrawingID = 6,
    APIWind_ElevationID = 10,
};

struct API_WindowInfo {
    API_WindowTypeID typeID = API_ZombieWindowID;
    Int32 index = 0;
    std::string title;
    std::string name;
};

enum API_ApplicationTypeID : Int32 {
    APIAppl_ArchiCADID = 1,
};

struct API_ServerApplicationInfo {
    API_ApplicationTypeID serverApplication = APIAppl_ArchiCADID;
    std::uint16_t mainVersion = 0;
    std::int16_t releaseVersion = 0;
    bool runningInBackground = false;
    Int32 buildNum = 0;
    std::string language;
};

// ---- Attributes ----------------------------------------------------------------------------

enum API_AttrTypeID : Int32 {
    API_ZombieAttrID = 0,
    API_LayerID = 1,
    API_MaterialID = 5,
};

// Looked up by index, or with index 0 by name.
struct API_Attr_Head {
    API_AttrTypeID typeID = API_ZombieAttrID;
    Int32 index = 0;
    std::string name;
};

struct API_RGBColor {
    double f_red = 0.0, f_green = 0.0, f_blue = 0.0;
};

struct API_MaterialType {
    API_Attr_Head head;
    short transpPc = 0; // transparency, 0..100
    API_RGBColor surfaceRGB;
};

// The host's attribute is a union whose members all begin with the header; the add-on
// reads only materials, so the record holds the header and the material side by side and
// the adapter keeps them in step.
struct API_Attribute {
    API_Attr_Head header;
    API_MaterialType material;
};

// ---- 3D window, camera, rendering, styles ----------------------------------------------------

// Both apply-flags must be set for a change to take effect.
struct API_3DWindowInfo {
    bool setWindowSize = false;
    short hSize = 0;
    short vSize = 0;
    bool setZoom = false;
    double zoomScaleX = 0.0;
    double zoomScaleY = 0.0;
    double zoomDispX = 0.0;
    double zoomDispY = 0.0;
};

struct API_Coord {
    double x = 0.0, y = 0.0;
};

struct API_PerspPars {
    double azimuth = 0.0;
    double viewCone = 0.0;
    double rollAngle = 0.0;
    double distance = 0.0;
    double cameraZ = 0.0;
    double targetZ = 0.0;
    bool isTwoPointPersp = false;
    API_Coord pos;
    API_Coord target;
};

struct API_3DProjectionInfo {
    bool isPersp = false;
    API_Guid camGuid;
    API_Guid actCamSet;
    struct {
        API_PerspPars persp;
    } u;
};

struct API_Rect {
    Int32 left = 0, top = 0, right = 0, bottom = 0;
};

enum API_RendSetTypeID : Int32 {
    APIRendSet_EffectsID = 0,
    APIRendSet_ImageID = 1,
};

struct API_RendImage {
    short hSize = 0;
    short vSize = 0;
    short outResolution = 0;
    bool proportional = false;
    bool bkgPict = false;
    API_RGBColor bkgSkyRGB;
    API_RGBColor bkgEarthRGB;
    API_Rect bkgPictRect;
    std::string bkgPictFile; // empty: none (the host's pointer is null)
    short bkgResolution = 0;
    bool partialRendering = false;
    API_Rect partialRect;
    short scaleType = 0; // 0 fill, 1 fit (the safe frame is on)
    short bkgScaleType = 0;
};

enum API_3DModelTypeID : Int32 {
    API3DModel_Block = 0,
    API3DModel_WireFrame = 1,
    API3DModel_Hiddenline = 2,
    API3DModel_Shading = 3,
};

// The add-on reads and writes only the engine; the adapter carries the rest of the host's
// record over from the style of the same name.
struct API_3DStyle {
    std::string name;   // empty: the current style
    Int32 engineId = 0; // 0 vectorial, 1 OpenGL
    API_3DModelTypeID model3D = API3DModel_Block;
};

struct API_RGBAColor {
    double f_red = 0.0, f_green = 0.0, f_blue = 0.0, f_alpha = 0.0;
};

// ---- Folders and picture saves -------------------------------------------------------------

enum API_SpecFolderID : Int32 {
    API_ApplicationPrefsFolderID = 1,
    API_UserDocumentsFolderID = 6,
    API_TemporaryFolderID = 7,
};

enum API_FTypeID : Int32 {
    APIFType_PNGFile = 16,
    APIFType_BMPFile = 17,
    APIFType_TIFFFile = 18,
    APIFType_JPEGFile = 19,
    APIFType_GIFFile = 20,
};

enum API_ColorDepthID : Int32 {
    APIColorDepth_FromSourceImage = -1,
    APIColorDepth_BW = 0,
    APIColorDepth_MiC = 8, // millions of colours
    APIColorDepth_MiCP = 9,
};

struct API_FileSavePars {
    API_FTypeID fileTypeID = APIFType_JPEGFile;
    std::string file; // the host's location, as a path
};

struct API_SavePars_Picture {
    API_ColorDepthID colorDepth = APIColorDepth_MiC;
    bool dithered = false;
    bool view2D = false;
    bool crop = false;
    bool keepSelectionHighlight = false;
};

} // namespace Velmora::Host
