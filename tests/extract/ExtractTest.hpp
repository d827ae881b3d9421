// The fixture of the extraction tests: the add-on's test host with a scripted 3D window, a
// temporary folder for its pictures, and the log started.
#pragma once

#include "ScriptedWindow.hpp"
#include "support/AddOnTest.hpp"

#include <string>
#include <vector>

namespace Velmora::Testing {

class ExtractTest : public AddOnTest {
protected:
    ExtractTest();

    // Files left in the temporary folder.
    std::vector<std::string> TempFiles() const;

    std::filesystem::path temp;
    ScriptedWindow window;
};

} // namespace Velmora::Testing
