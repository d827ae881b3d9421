#include "Extract/TiledCapture.hpp"

#include "Extract/FileBytes.hpp"
#include "Extract/ViewExtractor.hpp"
#include "Logger.hpp"
#include "Platform/ImageService.hpp"

#include <chrono>

namespace Velmora {

namespace {

void Log(LogLevel level, std::string const& text) {
    Logger::Get().Log(level, "TiledCapture: " + text);
}

std::string TileName(int column, int row) {
    return "tile (" + std::to_string(column) + "," + std::to_string(row) + "): ";
}

// Puts the window's initial settings back once tiles have been applied, however the capture
// ends.
class WindowRestoreGuard {
public:
    explicit WindowRestoreGuard(Host::API_3DWindowInfo const& initial) : initial_(initial) {}
    ~WindowRestoreGuard() {
        try {
            ve_detail::ApplyWindowInfo(initial_);
        } catch (...) {
            // A host that throws while restoring has nothing more to be asked.
        }
    }
    WindowRestoreGuard(WindowRestoreGuard const&) = delete;
    WindowRestoreGuard& operator=(WindowRestoreGuard const&) = delete;

private:
    Host::API_3DWindowInfo const initial_;
};

// The same view with the zoom block scaled by n, shifted to show tile (column, row).
Host::API_3DWindowInfo TileSettings(Host::API_3DWindowInfo const& initial, int n, int column,
                                    int row) {
    Host::API_3DWindowInfo tile = initial;
    tile.zoomScaleX = initial.zoomScaleX * n;
    tile.zoomScaleY = initial.zoomScaleY * n;
    tile.zoomDispX = initial.zoomDispX * n - static_cast<double>(initial.hSize) * column;
    tile.zoomDispY = initial.zoomDispY * n + static_cast<double>(initial.vSize) * row;
    return tile;
}

Host::GSErrCode CaptureTile(Host::API_3DWindowInfo const& tile, std::string const& tempFolder,
                            std::string const& name, std::vector<unsigned char>& png) {
    if (Host::GSErrCode err = ve_detail::ApplyWindowInfo(tile); err != Host::Error::NoError) {
        Log(LogLevel::Error, name + "ApplyWindowInfo failed, err=" + std::to_string(err));
        return err;
    }
    std::string path;
    if (Host::GSErrCode err = ve_detail::ResolveTempImageLocation(tempFolder, "png", path);
        err != Host::Error::NoError)
        return err;
    if (Host::GSErrCode err = ve_detail::SaveCurrent3DWindow(path, Host::APIFType_PNGFile,
                                                             Host::APIColorDepth_MiC, false);
        err != Host::Error::NoError) {
        Log(LogLevel::Error, name + "save failed, err=" + std::to_string(err));
        return err;
    }
    bool const read = ve_detail::ReadAllBytes(path, png);
    ve_detail::DeleteFileQuiet(path);
    if (!read) {
        Log(LogLevel::Error, name + "could not read the saved PNG back");
        return Host::Error::General;
    }
    return Host::Error::NoError;
}

} // namespace

Host::GSErrCode CaptureTiledJpeg(Host::API_3DWindowInfo const& info, int n,
                                 std::string const& tempFolder, std::vector<unsigned char>& outJpeg,
                                 int& outW, int& outH) {
    outJpeg.clear();
    outW = outH = 0;
    if (n < 2 || info.hSize < 1 || info.vSize < 1)
        return Host::Error::General;
    if (!(info.zoomScaleX > 0.0) || !(info.zoomScaleY > 0.0)) {
        Log(LogLevel::Warn, "no usable zoom block; shipping the native capture");
        return Host::Error::General;
    }
    auto const started = std::chrono::steady_clock::now();
    std::vector<std::vector<unsigned char>> tiles(static_cast<std::size_t>(n) * n);
    {
        WindowRestoreGuard restore(info);
        for (int row = 0; row < n; ++row) {
            for (int column = 0; column < n; ++column) {
                Host::GSErrCode const err =
                    CaptureTile(TileSettings(info, n, column, row), tempFolder,
                                TileName(column, row), tiles[std::size_t(row) * n + column]);
                if (err != Host::Error::NoError)
                    return err;
            }
        }
    }
    std::string const grid = std::to_string(n) + "x" + std::to_string(n);
    if (!StitchImageGrid(tiles, n, n, outJpeg, outW, outH)) {
        Log(LogLevel::Error, "stitch failed (" + grid + " tiles); shipping the native capture");
        outJpeg.clear();
        outW = outH = 0;
        return Host::Error::General;
    }
    auto const elapsedMs = std::chrono::duration_cast<std::chrono::milliseconds>(
                               std::chrono::steady_clock::now() - started)
                               .count();
    Log(LogLevel::Info, "stitched " + grid + " tiles -> " + std::to_string(outW) + "x" +
                            std::to_string(outH) + " (" + std::to_string(outJpeg.size()) +
                            " bytes) in " + std::to_string(elapsedMs) + " ms");
    return Host::Error::NoError;
}

} // namespace Velmora
