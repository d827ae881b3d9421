// A fixture for tests that drive the add-on as the host would: a fake host, a temporary
// HOME, the add-on's resource strings, and settings back at their defaults.
#pragma once

#include "support/FakeHost.hpp"
#include "support/TempHome.hpp"

#include <filesystem>
#include <string>

namespace Velmora::Testing {

// Puts the settings singleton back to a freshly constructed state.
void ResetSettingsToDefaults();

class AddOnTest : public HostTest {
protected:
    AddOnTest();
    ~AddOnTest() override;

    std::filesystem::path SettingsFile() const { return home.SupportFolder() / "settings.cfg"; }
    std::string LogText() const;
    std::vector<std::string> LogLinesWith(std::string const& text) const {
        return LinesWith(LogText(), text);
    }
    std::vector<std::string> ReportTexts() const;

    TempHome home;
};

// Puts a fake system opener ("open" / "xdg-open") first on PATH for the lifetime of a test.
// It records each argument it receives on its own line and exits with the given status.
class FakeOpener {
public:
    explicit FakeOpener(int exitStatus = 0);
    ~FakeOpener();
    FakeOpener(FakeOpener const&) = delete;
    FakeOpener& operator=(FakeOpener const&) = delete;

    std::string RecordedArguments() const;

private:
    std::filesystem::path folder_;
    std::string previousPath_;
};

} // namespace Velmora::Testing
