// Sixteen bytes as one value (GCC and clang vector extensions): plain operators become SSE2 or
// NEON instructions, with no intrinsics of either.
#pragma once

#include <cstring>

namespace Velmora::ve_detail {

using U8x16 = unsigned char __attribute__((vector_size(16)));

inline U8x16 LoadU8x16(const unsigned char* bytes) {
    U8x16 vector;
    std::memcpy(&vector, bytes, sizeof vector);
    return vector;
}

inline void StoreU8x16(unsigned char* bytes, U8x16 vector) {
    std::memcpy(bytes, &vector, sizeof vector);
}

inline U8x16 SplatU8x16(unsigned char value) {
    return U8x16{} + value;
}

} // namespace Velmora::ve_detail
