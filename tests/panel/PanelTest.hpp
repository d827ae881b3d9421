// A fixture for the web app palette: the add-on's fake host with its dialog toolkit, a log,
// and helpers that play the page.
#pragma once

#include "Panel/WebAppPalette.hpp"
#include "support/AddOnTest.hpp"

#include <memory>
#include <string>

namespace Velmora::Testing {

class PanelTest : public AddOnTest {
protected:
    PanelTest();

    // Creates the palette and lets its first document finish loading.
    WebAppPalette& OpenWithPage();
    FakePalette& Window() const { return *host.dialog.Palette(); }
    FakeBrowser& Page() const { return *host.dialog.Browser(); }
    // window.velmora.FUNCTION(argument) from the page; no argument when nullptr.
    std::shared_ptr<Host::JS::Base> Call(char const* function,
                                         std::shared_ptr<Host::JS::Base> argument = nullptr);
    std::shared_ptr<Host::JS::Base> Call(char const* function, std::string const& argument);
    bool PanelMenuChecked() const;
    int LogCount(std::string const& text) const { return int(LogLinesWith(text).size()); }
};

bool IsJsBool(std::shared_ptr<Host::JS::Base> const& value, bool expected);

} // namespace Velmora::Testing
