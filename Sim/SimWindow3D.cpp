#include "Sim/SimWindow3D.hpp"

namespace Velmora::Sim {

namespace {

Host::GSErrCode Refuse(CallLog& calls, char const* call, Host::GSErrCode code) {
    if (auto err = calls.Enter(call))
        return *err;
    return code;
}

} // namespace

// No 3D window is open yet: every call refuses as the host does without one.
SimWindow3D::SimWindow3D(CallLog& calls) : calls_(calls) {}

Host::GSErrCode SimWindow3D::ShowAllIn3D() {
    return Refuse(calls_, "ACAPI_View_ShowAllIn3D", Host::Error::BadWindow);
}

Host::GSErrCode SimWindow3D::Redraw() {
    return Refuse(calls_, "ACAPI_View_Redraw", Host::Error::NoPlan);
}

Host::GSErrCode SimWindow3D::Get3DWindowSets(Host::API_3DWindowInfo* /*windowInfo*/) {
    return Refuse(calls_, "ACAPI_View_Get3DWindowSets", Host::Error::BadWindow);
}

Host::GSErrCode SimWindow3D::Change3DWindowSets(Host::API_3DWindowInfo* /*windowInfo*/) {
    return Refuse(calls_, "ACAPI_View_Change3DWindowSets", Host::Error::BadWindow);
}

Host::GSErrCode SimWindow3D::Get3DProjectionSets(Host::API_3DProjectionInfo* /*proj3DInfo*/) {
    return Refuse(calls_, "ACAPI_View_Get3DProjectionSets", Host::Error::BadWindow);
}

Host::GSErrCode SimWindow3D::Get3DStyle(Host::API_3DStyle* /*style*/) {
    return Refuse(calls_, "ACAPI_View_Get3DStyle", Host::Error::BadName);
}

Host::GSErrCode SimWindow3D::Change3DStyle(Host::API_3DStyle* /*style*/) {
    return Refuse(calls_, "ACAPI_View_Change3DStyle", Host::Error::BadName);
}

Host::GSErrCode SimWindow3D::RebuildCurrentDatabase() {
    return Refuse(calls_, "ACAPI_Database_RebuildCurrentDatabase", Host::Error::NoPlan);
}

Host::GSErrCode SimWindow3D::GetRenderingSets(Host::API_RendImage* /*rendInfo*/,
                                              Host::API_RendSetTypeID /*rendSetType*/) {
    return Refuse(calls_, "ACAPI_Rendering_GetRenderingSets", Host::Error::BadPars);
}

Host::GSErrCode SimWindow3D::GetSpecFolder(Host::API_SpecFolderID* /*specFolderID*/,
                                           std::string* /*location*/) {
    return Refuse(calls_, "ACAPI_ProjectSettings_GetSpecFolder", Host::Error::RefusedPar);
}

void SimWindow3D::SetElementHighlight(const Host::ElementColorTable& /*highlightedElems*/,
                                      const std::optional<bool>& /*wireframe3D*/,
                                      const std::optional<Host::API_RGBAColor>& /*other*/) {
    calls_.Enter("ACAPI_UserInput_SetElementHighlight");
}

void SimWindow3D::ClearElementHighlight() {
    calls_.Enter("ACAPI_UserInput_ClearElementHighlight");
}

} // namespace Velmora::Sim
