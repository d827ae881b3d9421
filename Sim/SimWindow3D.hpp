// The simulated 3D window: its settings (size and zoom block), the perspective camera, the
// render settings, the 3D style, element highlights, the special folders, which window is in
// front, and the pictures it saves.
//
// Window settings changed with Change3DWindowSets wait, as the host's do, until the current
// database is rebuilt (RebuildCurrentDatabase): Get3DWindowSets and pictures show the applied
// settings until then. Fields whose apply-flag (setWindowSize, setZoom) is not set are not
// changed.
#pragma once

#include "Host/HostPort.hpp"
#include "Sim/CallLog.hpp"
#include "Sim/RenderableScene.hpp"
#include "Sim/Scene.hpp"
#include "Sim/SceneRasterizer.hpp"
#include "Sim/SimWindowOptions.hpp"

#include <memory>
#include <optional>
#include <string>

namespace Velmora::Sim {

class SimWindow3D : public Host::ViewApi,
                    public Host::DatabaseApi,
                    public Host::RenderingApi,
                    public Host::ProjectSettingsApi,
                    public Host::UserInputApi {
public:
    SimWindow3D(CallLog& calls, std::string hostFolder, SimWindowOptions options);

    // The project's scene; the window in front is the options' or else the scene's.
    void Open(std::shared_ptr<Scene const> scene);

    // What the project forwards: the window in front and the picture save of it (the call
    // itself is logged by the project).
    Host::API_WindowTypeID CurrentWindowType() const { return currentWindow_; }
    Host::GSErrCode SavePicture(const Host::API_FileSavePars* fileSavePars,
                                const Host::API_SavePars_Picture* formatPars);

    // The picture a save would write now, and the last one rendered (with its element ids:
    // the index into the scene's elements in front at each pixel, -1 for the background).
    RenderedPicture RenderPicture();
    RenderedPicture const& LastPicture() const { return lastPicture_; }

    // The window's state as the user sees it, read without a port call (and so without any
    // planned fault): the applied settings, a change still waiting for a rebuild, the style,
    // and whether a highlight is shown.
    Host::API_3DWindowInfo const& AppliedWindowSets() const { return applied_; }
    bool HasPendingWindowSets() const { return pending_.has_value(); }
    Host::API_3DStyle const& Current3DStyle() const { return style_; }
    bool IsHighlightShown() const { return highlightOn_; }

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
    bool Is3DOpen() const { return scene_ != nullptr && window3DOpen_; }
    std::vector<ElementPaint> HighlightPaint() const;

    CallLog& calls_;
    std::string hostFolder_;
    SimWindowOptions options_;
    std::shared_ptr<Scene const> scene_;
    std::unique_ptr<RenderableScene> renderable_; // made on the first picture

    Host::API_WindowTypeID currentWindow_ = Host::API_ZombieWindowID;
    bool window3DOpen_ = false;
    Host::API_3DWindowInfo applied_;
    std::optional<Host::API_3DWindowInfo> pending_; // until the next rebuild
    Host::API_PerspPars camera_;
    Host::API_RendImage renderImage_;
    Host::API_3DStyle style_;

    Host::ElementColorTable highlighted_;
    std::optional<Host::API_RGBAColor> otherColor_;
    bool highlightOn_ = false;

    RenderedPicture lastPicture_;
};

} // namespace Velmora::Sim
