#include "ExtractTest.hpp"

#include "Logger.hpp"

namespace Velmora::Testing {

namespace fs = std::filesystem;

ExtractTest::ExtractTest() : temp(home.Path() / "tmp"), window(host, home.Path() / "tmp") {
    fs::create_directories(temp);
    Logger::Get().Init();
}

std::vector<std::string> ExtractTest::TempFiles() const {
    std::vector<std::string> names;
    for (fs::directory_entry const& entry : fs::directory_iterator(temp))
        names.push_back(entry.path().filename().string());
    return names;
}

} // namespace Velmora::Testing
