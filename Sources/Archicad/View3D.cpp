// The 3D window: its settings, camera, style, rendering size, redraws and element highlight.
#include "ArchicadApis.hpp"

#include "HostText.hpp"

#include "ACAPinc.h"
#include "HashTable.hpp"
#include "Optional.hpp"

namespace Velmora::Archicad {

namespace {

::API_RGBAColor ToApiColor(Host::API_RGBAColor const& color) {
    ::API_RGBAColor apiColor{};
    apiColor.f_red = color.f_red;
    apiColor.f_green = color.f_green;
    apiColor.f_blue = color.f_blue;
    apiColor.f_alpha = color.f_alpha;
    return apiColor;
}

Host::API_RGBColor FromApiColor(::API_RGBColor const& color) {
    Host::API_RGBColor portColor;
    portColor.f_red = color.f_red;
    portColor.f_green = color.f_green;
    portColor.f_blue = color.f_blue;
    return portColor;
}

Host::API_Rect FromApiRect(::API_Rect const& rect) {
    Host::API_Rect portRect;
    portRect.left = rect.left;
    portRect.top = rect.top;
    portRect.right = rect.right;
    portRect.bottom = rect.bottom;
    return portRect;
}

Host::API_Coord FromApiCoord(::API_Coord const& coord) {
    Host::API_Coord portCoord;
    portCoord.x = coord.x;
    portCoord.y = coord.y;
    return portCoord;
}

void CopyWindowSets(::API_3DWindowInfo const& from, Host::API_3DWindowInfo& to) {
    to.setWindowSize = from.setWindowSize;
    to.hSize = from.hSize;
    to.vSize = from.vSize;
    to.setZoom = from.setZoom;
    to.zoomScaleX = from.zoomScaleX;
    to.zoomScaleY = from.zoomScaleY;
    to.zoomDispX = from.zoomDispX;
    to.zoomDispY = from.zoomDispY;
}

void CopyWindowSets(Host::API_3DWindowInfo const& from, ::API_3DWindowInfo& to) {
    to.setWindowSize = from.setWindowSize;
    to.hSize = from.hSize;
    to.vSize = from.vSize;
    to.setZoom = from.setZoom;
    to.zoomScaleX = from.zoomScaleX;
    to.zoomScaleY = from.zoomScaleY;
    to.zoomDispX = from.zoomDispX;
    to.zoomDispY = from.zoomDispY;
}

// The host's style of the port's name (empty: the current one), every field as the host has it.
GSErrCode GetApiStyle(std::string const& name, ::API_3DStyle& style) {
    CopyToUnits(style.name, name);
    return ACAPI_View_Get3DStyle(&style);
}

} // namespace

Host::GSErrCode ViewApi::ShowAllIn3D() {
    return ACAPI_View_ShowAllIn3D();
}

Host::GSErrCode ViewApi::Redraw() {
    return ACAPI_View_Redraw();
}

Host::GSErrCode ViewApi::Get3DWindowSets(Host::API_3DWindowInfo* windowInfo) {
    if (windowInfo == nullptr)
        return ACAPI_View_Get3DWindowSets(nullptr);
    ::API_3DWindowInfo info{};
    GSErrCode const err = ACAPI_View_Get3DWindowSets(&info);
    if (err == NoError)
        CopyWindowSets(info, *windowInfo);
    return err;
}

Host::GSErrCode ViewApi::Change3DWindowSets(Host::API_3DWindowInfo* windowInfo) {
    if (windowInfo == nullptr)
        return ACAPI_View_Change3DWindowSets(nullptr);
    ::API_3DWindowInfo info{};
    CopyWindowSets(*windowInfo, info);
    GSErrCode const err = ACAPI_View_Change3DWindowSets(&info);
    CopyWindowSets(info, *windowInfo);
    return err;
}

Host::GSErrCode ViewApi::Get3DProjectionSets(Host::API_3DProjectionInfo* proj3DInfo) {
    if (proj3DInfo == nullptr)
        return ACAPI_View_Get3DProjectionSets(nullptr);
    ::API_3DProjectionInfo info{};
    GSErrCode const err = ACAPI_View_Get3DProjectionSets(&info);
    if (err != NoError)
        return err;
    proj3DInfo->isPersp = info.isPersp;
    proj3DInfo->camGuid = FromApiGuid(info.camGuid);
    proj3DInfo->actCamSet = FromApiGuid(info.actCamSet);
    ::API_PerspPars const& persp = info.u.persp;
    Host::API_PerspPars& portPersp = proj3DInfo->u.persp;
    portPersp.azimuth = persp.azimuth;
    portPersp.viewCone = persp.viewCone;
    portPersp.rollAngle = persp.rollAngle;
    portPersp.distance = persp.distance;
    portPersp.cameraZ = persp.cameraZ;
    portPersp.targetZ = persp.targetZ;
    portPersp.isTwoPointPersp = persp.isTwoPointPersp;
    portPersp.pos = FromApiCoord(persp.pos);
    portPersp.target = FromApiCoord(persp.target);
    return err;
}

Host::GSErrCode ViewApi::Get3DStyle(Host::API_3DStyle* style) {
    if (style == nullptr)
        return ACAPI_View_Get3DStyle(nullptr);
    ::API_3DStyle apiStyle;
    GSErrCode const err = GetApiStyle(style->name, apiStyle);
    if (err != NoError)
        return err;
    style->name = FromUnits(apiStyle.name);
    style->engineId = apiStyle.engineId;
    style->model3D = static_cast<Host::API_3DModelTypeID>(apiStyle.model3D);
    return err;
}

Host::GSErrCode ViewApi::Change3DStyle(Host::API_3DStyle* style) {
    if (style == nullptr)
        return ACAPI_View_Change3DStyle(nullptr);
    // The port carries the engine and model type only; the rest comes from the host's style of
    // the same name, so that a change alters nothing else.
    ::API_3DStyle apiStyle;
    if (GSErrCode const err = GetApiStyle(style->name, apiStyle); err != NoError)
        return err;
    apiStyle.engineId = style->engineId;
    apiStyle.model3D = static_cast<::API_3DModelTypeID>(style->model3D);
    return ACAPI_View_Change3DStyle(&apiStyle);
}

Host::GSErrCode DatabaseApi::RebuildCurrentDatabase() {
    return ACAPI_Database_RebuildCurrentDatabase();
}

Host::GSErrCode RenderingApi::GetRenderingSets(Host::API_RendImage* rendInfo,
                                               Host::API_RendSetTypeID rendSetType) {
    // The host writes the record of the set type asked for; the port's record is the image one.
    if (rendSetType != Host::APIRendSet_ImageID || rendInfo == nullptr)
        return APIERR_BADPARS;
    ::API_RendImage image{};
    GSErrCode const err = ACAPI_Rendering_GetRenderingSets(&image, ::APIRendSet_ImageID);
    if (err != NoError)
        return err;
    rendInfo->hSize = image.hSize;
    rendInfo->vSize = image.vSize;
    rendInfo->outResolution = image.outResolution;
    rendInfo->proportional = image.proportional;
    rendInfo->bkgPict = image.bkgPict;
    rendInfo->bkgSkyRGB = FromApiColor(image.bkgSkyRGB);
    rendInfo->bkgEarthRGB = FromApiColor(image.bkgEarthRGB);
    rendInfo->bkgPictRect = FromApiRect(image.bkgPictRect);
    rendInfo->bkgPictFile = ToPath(image.bkgPictFile);
    delete image.bkgPictFile; // the caller frees the background picture's location
    rendInfo->bkgResolution = image.bkgResolution;
    rendInfo->partialRendering = image.partialRendering;
    rendInfo->partialRect = FromApiRect(image.partialRect);
    rendInfo->scaleType = image.scaleType;
    rendInfo->bkgScaleType = image.bkgScaleType;
    return err;
}

void UserInputApi::SetElementHighlight(
    const Host::ElementColorTable& highlightedElems, const std::optional<bool>& wireframe3D,
    const std::optional<Host::API_RGBAColor>& nonHighlightedElemsColor) {
    GS::HashTable<::API_Guid, ::API_RGBAColor> table;
    for (auto const& [guid, color] : highlightedElems)
        table.Add(ToApiGuid(guid), ToApiColor(color));
    GS::Optional<bool> const wireframe =
        wireframe3D ? GS::Optional<bool>(*wireframe3D) : GS::Optional<bool>(GS::NoValue);
    GS::Optional<::API_RGBAColor> const others =
        nonHighlightedElemsColor
            ? GS::Optional<::API_RGBAColor>(ToApiColor(*nonHighlightedElemsColor))
            : GS::Optional<::API_RGBAColor>(GS::NoValue);
    ACAPI_UserInput_SetElementHighlight(table, wireframe, others);
}

void UserInputApi::ClearElementHighlight() {
    ACAPI_UserInput_ClearElementHighlight();
}

} // namespace Velmora::Archicad
