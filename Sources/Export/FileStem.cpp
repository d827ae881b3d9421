// The .glb's file name from the project's or the window's name.
#include "Export/ModelExport.hpp"

#include <algorithm>
#include <cstring>

namespace Velmora {

namespace {

constexpr const char* kExts[] = {".pln", ".plp", ".pla", ".mod", ".tpl"};
constexpr std::size_t kMaxStemBytes = 80;

bool IsRefused(unsigned char c) {
    return c < 32 || c == 127 || std::strchr("\"*/:<>?\\|", c) != nullptr;
}

bool IsTrimmed(char c) {
    return c == ' ' || c == '\t' || c == '.';
}

} // namespace

std::string StripProjectExtension(const std::string& fileName) {
    for (const char* ext : kExts) {
        std::size_t const n = std::strlen(ext);
        if (fileName.size() >= n && fileName.compare(fileName.size() - n, n, ext) == 0)
            return fileName.substr(0, fileName.size() - n);
    }
    return fileName;
}

std::string SanitizeFileStem(const std::string& name) {
    std::string stem = name;
    for (char& c : stem)
        if (IsRefused(static_cast<unsigned char>(c)))
            c = '_';
    std::size_t begin = 0;
    std::size_t end = stem.size();
    while (begin < end && IsTrimmed(stem[begin]))
        ++begin;
    while (end > begin && IsTrimmed(stem[end - 1]))
        --end;
    return stem.substr(begin, std::min(end - begin, kMaxStemBytes));
}

} // namespace Velmora
