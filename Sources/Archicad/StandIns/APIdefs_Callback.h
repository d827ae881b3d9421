// Stand-in written from archicad-api.md: callback shapes and project events (sections 1.2, 1.6,
// 1.8, 1.9).
#pragma once

#include "APIdefs_Interface.h"
#include "Definitions.hpp"

struct API_MenuParams {
    API_MenuItemRef menuItemRef;
};

typedef enum {
    APINotify_New = 0x00000001,
    APINotify_NewAndReset = 0x00000002,
    APINotify_Open = 0x00000004,
    APINotify_PreSave = 0x00000008,
    APINotify_Save = 0x00000010,
    APINotify_Close = 0x00000020,
    APINotify_Quit = 0x00000040,
    APINotify_TempSave = 0x00000080,
    APINotify_SendChanges = 0x00008000,
    APINotify_ReceiveChanges = 0x00010000,
    APINotify_ChangeProjectDB = 0x00040000,
    APINotify_ChangeWindow = 0x00080000,
    APINotify_ChangeFloor = 0x00100000,
    APINotify_ChangeLibrary = 0x00200000,
    APINotify_AllInputFinished = 0x00400000,
    APINotify_UnitChanged = 0x00800000,
    APINotify_SideviewCreated = 0x01000000,
    APINotify_SideviewRebuilt = 0x02000000,
    APINotify_PropertyVisibilityChanged = 0x04000000,
    APINotify_ClassificationVisibilityChanged = 0x08000000,
    APINotify_ShowIn3DChanged = 0x10000000
} API_NotifyEventID;

typedef GSErrCode APIMenuCommandProc(const API_MenuParams* menuParams);
typedef GSErrCode APIModulCommandProc(GSHandle params, GSPtr resultData, bool silentMode);
typedef void APICommandCallBackProc(GSHandle* paramsHandle, GSPtr resultData, GSErrCode returnCode);
typedef GSErrCode APIPaletteControlCallBackProc(Int32 referenceID, API_PaletteMessageID messageID,
                                                GS::IntPtr param);
typedef GSErrCode APIProjectEventHandlerProc(API_NotifyEventID notifID, Int32 param);
