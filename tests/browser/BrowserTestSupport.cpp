#include "browser/BrowserTestSupport.hpp"

#include <filesystem>

namespace Velmora::Testing {

std::string MissingBrowserTools() {
    std::error_code ignored;
    if (!std::filesystem::exists("/usr/bin/chromium", ignored))
        return "/usr/bin/chromium is not installed (tools/setup.sh installs it)";
    if (!std::filesystem::is_directory(std::filesystem::path(VELMORA_JS_TOOLS_DIR) /
                                           "node_modules" / "playwright-core",
                                       ignored))
        return "tools/js/node_modules/playwright-core is not installed (tools/setup.sh "
               "installs it)";
    return "";
}

RunningDevServer::RunningDevServer() {
    DevServer::DevServerOptions options;
    server = std::make_unique<DevServer::DevServer>(options);
    port = server->Start();
}

std::string RunningDevServer::Url(std::string const& path) const {
    return "http://127.0.0.1:" + std::to_string(port) + path;
}

} // namespace Velmora::Testing
