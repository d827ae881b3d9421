// The project, the front window, special folders and saving the window as a picture.
#include "ArchicadApis.hpp"

#include "Callbacks.hpp"
#include "HostText.hpp"

#include "ACAPinc.h"
#include "Location.hpp"

namespace Velmora::Archicad {

namespace {

// By name: the host's file type enum grows between versions.
::API_FTypeID ToApiFileType(Host::API_FTypeID type) {
    switch (type) {
    case Host::APIFType_PNGFile:
        return ::APIFType_PNGFile;
    case Host::APIFType_BMPFile:
        return ::APIFType_BMPFile;
    case Host::APIFType_TIFFFile:
        return ::APIFType_TIFFFile;
    case Host::APIFType_GIFFile:
        return ::APIFType_GIFFile;
    case Host::APIFType_JPEGFile:
        break;
    }
    return ::APIFType_JPEGFile;
}

// By name: the host numbers colour depths differently on each platform.
::API_ColorDepthID ToApiColorDepth(Host::API_ColorDepthID depth) {
    switch (depth) {
    case Host::APIColorDepth_FromSourceImage:
        return ::APIColorDepth_FromSourceImage;
    case Host::APIColorDepth_BW:
        return ::APIColorDepth_BW;
    case Host::APIColorDepth_MiCP:
        return ::APIColorDepth_MiCP;
    case Host::APIColorDepth_MiC:
        break;
    }
    return ::APIColorDepth_MiC;
}

} // namespace

Host::GSErrCode ProjectOperationApi::Project(Host::API_ProjectInfo* projectInfo) {
    if (projectInfo == nullptr)
        return ACAPI_ProjectOperation_Project(nullptr);
    ::API_ProjectInfo info; // its destructor frees what the host allocated
    GSErrCode const err = ACAPI_ProjectOperation_Project(&info);
    if (err != NoError)
        return err;
    projectInfo->untitled = info.untitled;
    projectInfo->teamwork = info.teamwork;
    projectInfo->location = ToPath(info.location);
    projectInfo->location_team = ToPath(info.location_team);
    projectInfo->projectPath = info.projectPath != nullptr ? ToUtf8(*info.projectPath) : "";
    projectInfo->projectName = info.projectName != nullptr ? ToUtf8(*info.projectName) : "";
    return err;
}

Host::GSErrCode ProjectOperationApi::Save(const Host::API_FileSavePars* fileSavePars,
                                          const Host::API_SavePars_Picture* formatPars) {
    ::API_FileSavePars apiSavePars{};
    IO::Location file;
    if (fileSavePars != nullptr) {
        file = ToLocation(fileSavePars->file);
        apiSavePars.fileTypeID = ToApiFileType(fileSavePars->fileTypeID);
        apiSavePars.file = &file;
    }
    ::API_SavePars_Picture apiPicture{};
    if (formatPars != nullptr) {
        apiPicture.colorDepth = ToApiColorDepth(formatPars->colorDepth);
        apiPicture.dithered = formatPars->dithered;
        apiPicture.view2D = formatPars->view2D;
        apiPicture.crop = formatPars->crop;
        apiPicture.keepSelectionHighlight = formatPars->keepSelectionHighlight;
    }
    return ACAPI_ProjectOperation_Save(fileSavePars != nullptr ? &apiSavePars : nullptr,
                                       formatPars != nullptr ? &apiPicture : nullptr);
}

Host::GSErrCode
ProjectOperationApi::CatchProjectEvent(Host::GSFlags eventTypes,
                                       Host::APIProjectEventHandlerProc* handlerProc) {
    ::APIProjectEventHandlerProc* trampoline = nullptr;
    if (handlerProc != nullptr) {
        trampoline = Callbacks::ForProjectEvents(handlerProc);
        if (trampoline == nullptr)
            return APIERR_GENERAL;
    }
    return ACAPI_ProjectOperation_CatchProjectEvent(eventTypes, trampoline);
}

Host::GSErrCode WindowApi::GetCurrentWindow(Host::API_WindowInfo* windowInfo) {
    if (windowInfo == nullptr)
        return ACAPI_Window_GetCurrentWindow(nullptr);
    ::API_WindowInfo info{};
    GSErrCode const err = ACAPI_Window_GetCurrentWindow(&info);
    if (err != NoError)
        return err;
    windowInfo->typeID = static_cast<Host::API_WindowTypeID>(info.typeID);
    windowInfo->index = info.index;
    windowInfo->title = FromUnits(info.title);
    windowInfo->name = FromUnits(info.name);
    return err;
}

Host::GSErrCode ProjectSettingsApi::GetSpecFolder(Host::API_SpecFolderID* specFolderID,
                                                  std::string* location) {
    if (specFolderID == nullptr || location == nullptr) {
        IO::Location ignored;
        return ACAPI_ProjectSettings_GetSpecFolder(nullptr,
                                                   location != nullptr ? &ignored : nullptr);
    }
    ::API_SpecFolderID apiFolderID = static_cast<::API_SpecFolderID>(*specFolderID);
    IO::Location folder;
    GSErrCode const err = ACAPI_ProjectSettings_GetSpecFolder(&apiFolderID, &folder);
    if (err == NoError)
        *location = ToPath(&folder);
    return err;
}

} // namespace Velmora::Archicad
