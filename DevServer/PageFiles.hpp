// The reference web app's files (page/), compiled in so that the service runs anywhere.
#pragma once

#include <string>
#include <vector>

namespace Velmora::DevServer {

struct PageFile {
    char const* name; // e.g. "app.js"
    char const* contentType;
    char const* text;
};

std::vector<PageFile> const& PageFiles();

} // namespace Velmora::DevServer
