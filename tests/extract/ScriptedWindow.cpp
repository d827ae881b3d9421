#include "ScriptedWindow.hpp"

#include "Extract/PngEncoder.hpp"
#include "Platform/ImageService.hpp"
#include "support/TempHome.hpp"

#include <cmath>
#include <fstream>

namespace Velmora::Testing {

using testing::_;
using testing::Invoke;
using testing::Return;
using Bytes = std::vector<unsigned char>;

ScriptedWindow::ScriptedWindow(FakeHost& host, std::filesystem::path tempFolder)
    : host_(host), tempFolder_(std::move(tempFolder)) {
    info.hSize = 1000;
    info.vSize = 600;
    info.zoomScaleX = 1.0;
    info.zoomScaleY = 1.0;
    info.zoomDispX = 0.25;
    info.zoomDispY = -0.5;
    style.engineId = 1;
    ScriptView();
    ScriptSaves();
}

std::vector<Host::API_Guid> ScriptedWindow::AddElements(Host::API_ElemTypeID type, int count) {
    std::vector<Host::API_Guid>& list = elements_[type];
    for (int i = 0; i < count; ++i) {
        Host::API_Guid guid;
        guid.bytes[0] = static_cast<std::uint8_t>(type);
        std::uint32_t const serial = static_cast<std::uint32_t>(onScreen_.size()) + 1;
        for (int b = 0; b < 4; ++b)
            guid.bytes[1 + b] = static_cast<std::uint8_t>(serial >> (8 * b));
        list.push_back(guid);
        onScreen_.push_back(guid);
    }
    return list;
}

void ScriptedWindow::ScriptView() {
    ON_CALL(host_.window, GetCurrentWindow(_)).WillByDefault(Invoke([](Host::API_WindowInfo* w) {
        w->typeID = Host::APIWind_3DModelID;
        return Host::Error::NoError;
    }));
    ON_CALL(host_.view, Get3DWindowSets(_))
        .WillByDefault(Invoke([this](Host::API_3DWindowInfo* out) {
            *out = info;
            out->setWindowSize = out->setZoom = false;
            return Host::Error::NoError;
        }));
    ON_CALL(host_.view, Change3DWindowSets(_))
        .WillByDefault(Invoke([this](Host::API_3DWindowInfo* in) {
            if (changeCalls_++ == failChangeAt)
                return Host::Error::BadPars;
            changes.push_back(*in);
            if (in->setWindowSize && in->setZoom) // the host ignores a change without both
                info = *in;
            return Host::Error::NoError;
        }));
    ON_CALL(host_.database, RebuildCurrentDatabase()).WillByDefault(Return(Host::Error::NoError));
    ON_CALL(host_.view, Redraw()).WillByDefault(Return(Host::Error::NoError));
    ON_CALL(host_.view, Get3DProjectionSets(_))
        .WillByDefault(Invoke([](Host::API_3DProjectionInfo* p) {
            p->isPersp = true;
            p->u.persp.viewCone = 1.0;
            p->u.persp.pos = {3.0, 4.0};
            return Host::Error::NoError;
        }));
    ON_CALL(host_.view, Get3DStyle(_)).WillByDefault(Invoke([this](Host::API_3DStyle* s) {
        *s = style;
        return Host::Error::NoError;
    }));
    ON_CALL(host_.view, Change3DStyle(_)).WillByDefault(Invoke([this](Host::API_3DStyle* s) {
        style = *s;
        return Host::Error::NoError;
    }));
    ON_CALL(host_.rendering, GetRenderingSets(_, Host::APIRendSet_ImageID))
        .WillByDefault(Invoke([this](Host::API_RendImage* r, Host::API_RendSetTypeID) {
            *r = render;
            return Host::Error::NoError;
        }));
    ON_CALL(host_.projectSettings, GetSpecFolder(_, _))
        .WillByDefault(Invoke([this](Host::API_SpecFolderID* id, std::string* path) {
            if (*id != Host::API_TemporaryFolderID)
                return Host::Error::RefusedPar;
            *path = tempFolder_.string();
            return Host::Error::NoError;
        }));
    ON_CALL(host_.element, GetElemList(_, _, _))
        .WillByDefault(Invoke([this](Host::API_ElemType const& type,
                                     std::vector<Host::API_Guid>* list, Host::API_ElemFilterFlags) {
            auto found = elements_.find(type.typeID);
            list->clear();
            if (found != elements_.end())
                *list = found->second;
            return Host::Error::NoError;
        }));
    ON_CALL(host_.userInput, SetElementHighlight(_, _, _))
        .WillByDefault(
            Invoke([this](Host::ElementColorTable const& table, std::optional<bool> const&,
                          std::optional<Host::API_RGBAColor> const& other) {
                highlights.push_back(table);
                currentHighlight_ = table;
                otherColor_ = other;
            }));
    ON_CALL(host_.userInput, ClearElementHighlight()).WillByDefault(Invoke([this] {
        ++highlightClears;
        currentHighlight_.clear();
        otherColor_.reset();
    }));
}

void ScriptedWindow::ScriptSaves() {
    ON_CALL(host_.projectOperation, Save(_, _))
        .WillByDefault(Invoke(
            [this](Host::API_FileSavePars const* file, Host::API_SavePars_Picture const* pars) {
                if (file == nullptr || pars == nullptr || pars->view2D)
                    return Host::Error::BadPars;
                if (saves_++ == failSaveAt)
                    return Host::Error::RefusedCmd;
                return WritePicture(file->fileTypeID, file->file);
            }));
}

// Elements cover the first foregroundPixels pixels in turn, in their highlight colour (or
// the colour for everything else) under a shading that varies across the picture; the
// rest is white sky.
Bytes ScriptedWindow::SceneRgb(int width, int height) const {
    Bytes rgb(std::size_t(width) * height * 3, 255);
    std::size_t const total = std::size_t(width) * height;
    std::size_t const covered =
        foregroundPixels < 0 ? total : std::min<std::size_t>(total, std::size_t(foregroundPixels));
    for (std::size_t i = 0; i < covered && !onScreen_.empty(); ++i) {
        Host::API_Guid const& element = onScreen_[i % onScreen_.size()];
        auto found = currentHighlight_.find(element);
        Host::API_RGBAColor const colour =
            found != currentHighlight_.end()
                ? found->second
                : otherColor_.value_or(Host::API_RGBAColor{0.5, 0.5, 0.5, 1.0});
        double const shade = 0.6 + 0.1 * double(i % 5);
        double const channels[3] = {colour.f_red, colour.f_green, colour.f_blue};
        for (int c = 0; c < 3; ++c)
            rgb[i * 3 + c] = static_cast<unsigned char>(std::lround(channels[c] * 255.0 * shade));
    }
    return rgb;
}

Host::GSErrCode ScriptedWindow::WritePicture(Host::API_FTypeID type,
                                             std::string const& path) const {
    int const width = info.hSize;
    int const height = info.vSize;
    Bytes const rgb = SceneRgb(width, height);
    Bytes bytes;
    int w = 0;
    int h = 0;
    if (type == Host::APIFType_JPEGFile && EncodeRgbToPng(rgb, width, height, bytes))
        StitchImageGrid({bytes}, 1, 1, bytes, w, h); // a grid of one: the host's JPEG
    else if (type == Host::APIFType_PNGFile)
        EncodeRgbToPng(rgb, width, height, bytes);
    else if (type == Host::APIFType_BMPFile)
        bytes = EncodeBmp(rgb, width, height);
    else
        return Host::Error::BadPars;
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<char const*>(bytes.data()), std::streamsize(bytes.size()));
    return out ? Host::Error::NoError : Host::Error::General;
}

Bytes EncodeBmp(Bytes const& rgb, int width, int height) {
    std::size_t const row = (std::size_t(width) * 3 + 3) / 4 * 4;
    std::size_t const size = 54 + row * height;
    Bytes bmp(size, 0);
    auto put = [&bmp](std::size_t at, std::uint32_t value, int bytes) {
        for (int i = 0; i < bytes; ++i)
            bmp[at + i] = static_cast<unsigned char>(value >> (8 * i));
    };
    bmp[0] = 'B';
    bmp[1] = 'M';
    put(2, std::uint32_t(size), 4);
    put(10, 54, 4);
    put(14, 40, 4);
    put(18, std::uint32_t(width), 4);
    put(22, std::uint32_t(height), 4);
    put(26, 1, 2);
    put(28, 24, 2);
    for (int y = 0; y < height; ++y) {
        unsigned char* out = &bmp[54 + row * std::size_t(height - 1 - y)];
        for (int x = 0; x < width; ++x) {
            std::size_t const in = (std::size_t(y) * width + x) * 3;
            out[x * 3 + 0] = rgb[in + 2];
            out[x * 3 + 1] = rgb[in + 1];
            out[x * 3 + 2] = rgb[in + 0];
        }
    }
    return bmp;
}

} // namespace Velmora::Testing
