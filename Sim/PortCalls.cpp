#include "Sim/PortCalls.hpp"

#include "Sim/ModelReads.hpp"

#include <algorithm>
#include <cstddef>

namespace Velmora::Sim {

namespace {

// Grouped as the port groups them.
constexpr char const* kHostCalls[] = {
    "ACAPI_MenuItem_RegisterMenu",
    "ACAPI_MenuItem_InstallMenuHandler",
    "ACAPI_MenuItem_GetMenuItemFlags",
    "ACAPI_MenuItem_SetMenuItemFlags",
    "ACAPI_AddOnAddOnCommunication_RegisterSupportedService",
    "ACAPI_AddOnAddOnCommunication_CallFromEventLoop",
    "ACAPI_AddOnIntegration_InstallModulCommandHandler",
    "ACAPI_Sight_CreateSight",
    "ACAPI_Sight_SelectSight",
    "ACAPI_Sight_DeleteSight",
    "ACAPI_Sight_GetSelectedSightModel",
    "ACAPI_Element_GetElemList",
    "ACAPI_ModelAccess_GenerateModelWithSeparateComponents",
    "ACAPI_ProjectOperation_Project",
    "ACAPI_ProjectOperation_Save",
    "ACAPI_ProjectOperation_CatchProjectEvent",
    "ACAPI_Window_GetCurrentWindow",
    "ACAPI_Attribute_Search",
    "ACAPI_Attribute_Get",
    "ACAPI_View_ShowAllIn3D",
    "ACAPI_View_Redraw",
    "ACAPI_View_Get3DWindowSets",
    "ACAPI_View_Change3DWindowSets",
    "ACAPI_View_Get3DProjectionSets",
    "ACAPI_View_Get3DStyle",
    "ACAPI_View_Change3DStyle",
    "ACAPI_Database_RebuildCurrentDatabase",
    "ACAPI_Rendering_GetRenderingSets",
    "ACAPI_ProjectSettings_GetSpecFolder",
    "ACAPI_UserInput_SetElementHighlight",
    "ACAPI_UserInput_ClearElementHighlight",
    "DG::Palette::Palette",
    "DG::Browser::Browser",
    "DG::Browser::LoadURL",
    "DG::Browser::ExecuteJS",
    "DG::Browser::RegisterAsynchJSObject",
    "DG::Browser::DisableZooming",
    "DG::GetCefDebugPort",
    "ACAPI_WriteReport",
    "ACAPI_GetPreferences",
    "ACAPI_SetPreferences",
    "ACAPI_KeepInMemory",
    "ACAPI_GetReleaseNumber",
    "ACAPI_RegisterModelessWindow",
    "ACAPI_GetOwnResModule",
    "RSGetIndString",
};

std::vector<std::string> MakeNames() {
    std::vector<std::string> names(std::begin(kHostCalls), std::end(kHostCalls));
    for (std::size_t i = 0; i < kModelReadCount; ++i)
        names.emplace_back(ModelReadName(static_cast<ModelRead>(i)));
    return names;
}

std::size_t EditDistance(std::string const& a, std::string const& b) {
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            std::size_t const above = row[j];
            std::size_t const substitution = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            row[j] = std::min({above + 1, row[j - 1] + 1, substitution});
            diagonal = above;
        }
    }
    return row[b.size()];
}

} // namespace

std::vector<std::string> const& PortCallNames() {
    static std::vector<std::string> const names = MakeNames();
    return names;
}

bool IsPortCall(std::string const& name) {
    std::vector<std::string> const& names = PortCallNames();
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::string NearestPortCall(std::string const& name) {
    std::string nearest;
    std::size_t best = std::string::npos;
    for (std::string const& candidate : PortCallNames()) {
        std::size_t const distance = EditDistance(name, candidate);
        if (distance < best) {
            best = distance;
            nearest = candidate;
        }
    }
    return nearest;
}

} // namespace Velmora::Sim
