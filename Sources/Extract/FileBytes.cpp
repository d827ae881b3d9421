#include "Extract/FileBytes.hpp"

#include <filesystem>
#include <fstream>

namespace Velmora::ve_detail {

bool ReadAllBytes(std::string const& path, std::vector<unsigned char>& out) {
    out.clear();
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return false;
    in.seekg(0, std::ios::end);
    std::streamoff const size = in.tellg();
    if (size <= 0)
        return false;
    in.seekg(0, std::ios::beg);
    out.resize(static_cast<std::size_t>(size));
    in.read(reinterpret_cast<char*>(out.data()), size);
    if (!in || in.gcount() != size) {
        out.clear();
        return false;
    }
    return true;
}

bool WriteAllBytes(std::string const& path, std::vector<unsigned char> const& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (!out)
        return false;
    out.write(reinterpret_cast<char const*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
    out.close();
    return out.good();
}

void DeleteFileQuiet(std::string const& path) {
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
}

} // namespace Velmora::ve_detail
