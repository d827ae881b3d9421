#pragma once

#include <cstdint>
#include <mutex>
#include <string>

namespace Velmora {

// The options of one view extraction; commands copy the whole group.
struct ExtractOptions {
    std::int32_t highResLongEdge = 2048;
    bool debugDump = false;
    bool allowSwitchTo3D = false;
    std::string tempFolder; // empty: the host's temporary folder
    std::string viewName;
    bool includeMask = true;
    bool useCurrentViewSettings = true;
    bool maskSplitInstances = false;
};

// The add-on's settings: host preference blob first, then settings.cfg on top.
class Settings {
public:
    static constexpr std::uint32_t kBlobVersion = 2;

    static Settings& Get();
    // The web app the panel loads when webAppUrl is empty.
    static char const* DefaultWebAppUrl();

    Settings();
    Settings(Settings const&) = delete;
    Settings& operator=(Settings const&) = delete;

    // Host preference blob.
    std::string Serialize() const;
    bool Deserialize(char const* data, unsigned long size, int version);
    bool Load();
    bool Save();

    // settings.cfg in the per-user folder.
    std::string LocalConfigPath() const;
    bool LoadLocalOverrides();
    bool SaveLocalFile() const;

    // The sign-in token lives in memory only; every set or clear moves the version on.
    std::string AuthToken() const;
    void SetAuthToken(std::string const& token);
    void ClearAuthToken();
    std::uint64_t AuthTokenVersion() const;

    std::string ModelUploadEndpoint() const;

    std::string webAppUrl;
    std::string apiBaseUrl;
    std::string lastLoginEmail;
    ExtractOptions extractOptions;
    bool includeSiteMesh = false;
    bool buildingOnly = true;
    bool excludeVegetation = true;

private:
    std::string authToken_;
    std::uint64_t authTokenVersion_ = 0;
    mutable std::mutex tokenMutex_;
};

} // namespace Velmora
