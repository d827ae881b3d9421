// The simulated 3D window: its settings, camera, render settings, style and highlights.
#pragma once

#include "Host/HostPort.hpp"
#include "Sim/CallLog.hpp"

namespace Velmora::Sim {

class SimWindow3D : public Host::ViewApi,
                    public Host::DatabaseApi,
                    public Host::RenderingApi,
                    public Host::ProjectSettingsApi,
                    public Host::UserInputApi {
public:
    explicit SimWindow3D(CallLog& calls);

    Host::GSErrCode ShowAllIn3D() override;
    Host::GSErrCode Redraw() override;
    Host::GSErrCode Get3DWindowSets(Host::API_3DWindowInfo* windowInfo) override;
    Host::GSErrCode Change3DWindowSets(Host::API_3DWindowInfo* windowInfo) override;
    Host::GSErrCode Get3DProjectionSets(Host::API_3DProjectionInfo* proj3DInfo) override;
    Host::GSErrCode Get3DStyle(Host::API_3DStyle* style) override;
    Host::GSErrCode Change3DStyle(Host::API_3DStyle* style) override;
    Host::GSErrCode RebuildCurrentDatabase() override;
    Host::GSErrCode GetRenderingSets(Host::API_RendImage* rendInfo,
                                     Host::API_RendSetTypeID rendSetType) override;
    Host::GSErrCode GetSpecFolder(Host::API_SpecFolderID* specFolderID,
                                  std::string* location) override;
    void SetElementHighlight(
        const Host::ElementColorTable& highlightedElems, const std::optional<bool>& wireframe3D,
        const std::optional<Host::API_RGBAColor>& nonHighlightedElemsColor) override;
    void ClearElementHighlight() override;

private:
    CallLog& calls_;
};

} // namespace Velmora::Sim
