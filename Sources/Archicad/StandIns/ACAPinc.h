// Stand-in written from archicad-api.md: the API's prototypes as DevKit 28 declares them (no
// __ACENV_CALL or __ACDLL_CALL). The DevKit spreads them over ACAPinc.h and the ACAPI_*.h
// headers it includes; only the calls the adapter makes are here.
#pragma once

#include "API_Guid.hpp"
#include "APIdefs_AttributeIndex.hpp"
#include "APIdefs_Attributes.h"
#include "APIdefs_Automate.h"
#include "APIdefs_Base.h"
#include "APIdefs_Callback.h"
#include "APIdefs_Database.h"
#include "APIdefs_Elements.h"
#include "APIdefs_Environment.h"
#include "APIdefs_ErrorCodes.h"
#include "APIdefs_Interface.h"
#include "APIdefs_Registration.h"
#include "Array.hpp"
#include "HashTable.hpp"
#include "Location.hpp"
#include "Optional.hpp"
#include "RS.hpp"
#include "UniString.hpp"

namespace ModelerAPI {
class Model;
}

// ---- Required functions, defined by the add-on (section 1.1) -------------------------------
API_AddonType CheckEnvironment(API_EnvirParams* envirParams);
GSErrCode RegisterInterface(void);
GSErrCode Initialize(void);
GSErrCode FreeData(void);

// ---- Menus (1.2) ---------------------------------------------------------------------------
GSErrCode ACAPI_MenuItem_RegisterMenu(short menuStrResID, short promptStrResID,
                                      APIMenuCodeID menuPosCode, GSFlags menuFlags);
GSErrCode ACAPI_MenuItem_InstallMenuHandler(short menuStrResID, APIMenuCommandProc* handlerProc);
GSErrCode ACAPI_MenuItem_GetMenuItemFlags(const API_MenuItemRef* menuItemRef, GSFlags* itemFlags,
                                          GS::UniString* menuItemText = nullptr);
GSErrCode ACAPI_MenuItem_SetMenuItemFlags(const API_MenuItemRef* menuItemRef, GSFlags* itemFlags,
                                          GS::UniString* menuItemText = nullptr);

// ---- Resources, report window, preferences (1.3, 1.4) ---------------------------------------
GSResModule ACAPI_GetOwnResModule(void);
void ACAPI_WriteReport(const GS::UniString& format, bool withDial, ...);
GSErrCode ACAPI_GetPreferences(Int32* version, GSSize* nByte, void* data);
GSErrCode ACAPI_SetPreferences(Int32 version, GSSize nByte, const void* data);

// ---- Add-on services, memory, palettes, events (1.6 to 1.9) ---------------------------------
GSErrCode ACAPI_AddOnAddOnCommunication_RegisterSupportedService(GSType cmdID, Int32 cmdVersion);
GSErrCode ACAPI_AddOnIntegration_InstallModulCommandHandler(GSType cmdID, Int32 cmdVersion,
                                                            APIModulCommandProc* handlerProc);
GSErrCode ACAPI_AddOnAddOnCommunication_CallFromEventLoop(const API_ModulID* mdid, GSType cmdID,
                                                          Int32 cmdVersion, GSHandle paramsHandle,
                                                          bool silentMode,
                                                          APICommandCallBackProc* callbackProc);
void ACAPI_KeepInMemory(bool keepIn);
GSErrCode ACAPI_RegisterModelessWindow(Int32 referenceID,
                                       APIPaletteControlCallBackProc* callBackProc,
                                       GSFlags controlFlags,
                                       const API_Guid& paletteGuid = APINULLGuid);
GSErrCode ACAPI_ProjectOperation_CatchProjectEvent(GSFlags eventTypes,
                                                   APIProjectEventHandlerProc* handlerProc);

// ---- Windows, 3D view, rendering, folders, pictures (2) -------------------------------------
GSErrCode ACAPI_Window_GetCurrentWindow(API_WindowInfo* windowInfo);
GSErrCode ACAPI_View_ShowAllIn3D();
GSErrCode ACAPI_View_Redraw();
GSErrCode ACAPI_Database_RebuildCurrentDatabase();
GSErrCode ACAPI_View_Get3DWindowSets(API_3DWindowInfo* windowInfo);
GSErrCode ACAPI_View_Change3DWindowSets(API_3DWindowInfo* windowInfo);
GSErrCode ACAPI_View_Get3DProjectionSets(API_3DProjectionInfo* proj3DInfo);
GSErrCode ACAPI_Rendering_GetRenderingSets(void* rendInfo, API_RendSetTypeID rendSetType,
                                           const GS::UniString* sceneName = nullptr);
GSErrCode ACAPI_View_Get3DStyle(API_3DStyle* style);
GSErrCode ACAPI_View_Change3DStyle(API_3DStyle* style);
GSErrCode ACAPI_ProjectSettings_GetSpecFolder(API_SpecFolderID* specFolderID,
                                              IO::Location* location);
GSErrCode ACAPI_ProjectOperation_Save(const API_FileSavePars* fileSavePars,
                                      const API_SavePars_Picture* formatPars);

// ---- Elements, highlight, project, application, attributes (3) ------------------------------
GSErrCode ACAPI_Element_GetElemList(const API_ElemType& type, GS::Array<API_Guid>* elemList,
                                    API_ElemFilterFlags filterBits = APIFilt_None,
                                    const API_Guid& renovationFilterGuid = APINULLGuid);
void ACAPI_UserInput_SetElementHighlight(
    const GS::HashTable<API_Guid, API_RGBAColor>& highlightedElems,
    const GS::Optional<bool>& wireframe3D = GS::NoValue,
    const GS::Optional<API_RGBAColor>& nonHighlightedElemsColor = GS::NoValue);
void ACAPI_UserInput_ClearElementHighlight();
GSErrCode ACAPI_ProjectOperation_Project(API_ProjectInfo* projectInfo);
void ACAPI_GetReleaseNumber(API_ServerApplicationInfo* serverApplicationInfo);
GSErrCode ACAPI_Attribute_Get(API_Attribute* attribute);
GSErrCode ACAPI_Attribute_Search(API_Attr_Head* attrHead);

// ---- Sights and the generated model (4.1, 4.2; the last two are 28 only) --------------------
GSErrCode ACAPI_Sight_CreateSight(void** newSightPtr);
GSErrCode ACAPI_Sight_SelectSight(void* sightPtr, void** oldSightPtr);
GSErrCode ACAPI_Sight_DeleteSight(void* sightPtr);
GSErrCode ACAPI_Sight_GetSelectedSightModel(ModelerAPI::Model& model);
GSErrCode
ACAPI_ModelAccess_GenerateModelWithSeparateComponents(const GS::Array<API_Guid>& elementGuids);
