// A 3D window scripted onto the FakeHost: window settings, camera, render settings, a
// temporary folder, visible elements, highlights, and picture saves that write real files
// (PNG by the add-on's encoder, JPEG by its image service, BMP by a writer of our own) at the
// window's size.
#pragma once

#include "Host/HostPort.hpp"
#include "support/FakeHost.hpp"

#include <filesystem>
#include <map>
#include <optional>
#include <vector>

namespace Velmora::Testing {

class ScriptedWindow {
public:
    ScriptedWindow(FakeHost& host, std::filesystem::path tempFolder);

    // `count` fresh elements of `type`, all shown in 3D; returns them in list order.
    std::vector<Host::API_Guid> AddElements(Host::API_ElemTypeID type, int count);

    Host::API_3DWindowInfo info; // what Get3DWindowSets reads and changes write
    Host::API_RendImage render;  // scaleType 0: no safe frame
    Host::API_3DStyle style;     // engineId 1: highlights draw
    int foregroundPixels = -1;   // pixels covered by elements, row-major; -1 all
    int failSaveAt = -1;         // this picture save (0-based) fails with RefusedCmd
    int failChangeAt = -1;       // this window change (0-based) fails with BadPars
    std::vector<Host::API_3DWindowInfo> changes;     // every Change3DWindowSets, in order
    std::vector<Host::ElementColorTable> highlights; // every SetElementHighlight table
    int highlightClears = 0;

private:
    void ScriptView();
    void ScriptSaves();
    Host::GSErrCode WritePicture(Host::API_FTypeID type, std::string const& path) const;
    std::vector<unsigned char> SceneRgb(int width, int height) const;

    FakeHost& host_;
    std::filesystem::path tempFolder_;
    std::map<Host::API_ElemTypeID, std::vector<Host::API_Guid>> elements_;
    std::vector<Host::API_Guid> onScreen_; // in the order they cover pixels
    Host::ElementColorTable currentHighlight_;
    std::optional<Host::API_RGBAColor> otherColor_;
    int saves_ = 0;
    int changeCalls_ = 0;
};

// 24-bit bottom-up, rows padded to 4 bytes.
std::vector<unsigned char> EncodeBmp(std::vector<unsigned char> const& rgb, int width, int height);

} // namespace Velmora::Testing
