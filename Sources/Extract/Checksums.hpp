// The two checksums of a PNG file: CRC-32 over every chunk, Adler-32 over the zlib data.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Velmora::ve_detail {

// CRC-32 as used by PNG and zlib (reflected polynomial 0xEDB88320).
std::uint32_t Crc32(const unsigned char* data, std::size_t length);

// Adler-32, fed piece by piece; the result does not depend on how the data is split.
class Adler32 {
public:
    void Update(const unsigned char* data, std::size_t length);
    std::uint32_t Value() const { return (b_ << 16) | a_; }

private:
    std::uint32_t a_ = 1;
    std::uint32_t b_ = 0;
};

} // namespace Velmora::ve_detail
