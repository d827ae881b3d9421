// Whole-file reads and writes for the capture's temporary pictures; paths are UTF-8.
#pragma once

#include <string>
#include <vector>

namespace Velmora::ve_detail {

// The whole file, binary; false when it cannot be opened or read, or holds no byte.
bool ReadAllBytes(std::string const& path, std::vector<unsigned char>& out);
// Creates or truncates the file; true only if every byte was written and the file closed.
bool WriteAllBytes(std::string const& path, std::vector<unsigned char> const& bytes);
// Removes the file; every failure is ignored.
void DeleteFileQuiet(std::string const& path);

} // namespace Velmora::ve_detail
