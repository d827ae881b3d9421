// Vertex dedupe for the glTF writer: exact keys, their FNV-1a hash and an open-addressing map.
#include "Export/GlbBuilder.hpp"

#include <cmath>
#include <cstring>

namespace Velmora {
namespace {

constexpr std::uint64_t kFnvPrime = 0x100000001B3ull;
// Our own starting value, not the published offset basis; kept so hashes stay as they were.
constexpr std::uint64_t kFnvStart = 0x14650FB0739D0383ull;
constexpr int kFirstCapacityBits = 4;
constexpr std::size_t kFirstCapacity = std::size_t{1} << kFirstCapacityBits;

std::uint64_t Bits(double value) {
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

std::uint32_t Bits(float value) {
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

std::uint64_t FnvBytes(std::uint64_t hash, std::uint64_t value, int byteCount) {
    for (int i = 0; i < byteCount; ++i) {
        hash ^= (value >> (8 * i)) & 0xFFu;
        hash *= kFnvPrime;
    }
    return hash;
}

bool SameKey(const GlbBuilder::VertexKey& key, const GlbBuilder::Vertex& vertex) {
    for (int i = 0; i < 3; ++i) {
        if (Bits(key.position[i]) != Bits(vertex.position[i]) ||
            Bits(key.normal[i]) != Bits(vertex.normal[i])) {
            return false;
        }
    }
    return Bits(key.uv[0]) == Bits(vertex.uv[0]) && Bits(key.uv[1]) == Bits(vertex.uv[1]);
}

GlbBuilder::Vertex VertexOf(const GlbBuilder::VertexKey& key) {
    GlbBuilder::Vertex vertex;
    std::memcpy(vertex.position, key.position, sizeof vertex.position);
    std::memcpy(vertex.normal, key.normal, sizeof vertex.normal);
    std::memcpy(vertex.uv, key.uv, sizeof vertex.uv);
    return vertex;
}

// A zero-length or non-finite normal points up; any other is scaled to unit length in double.
void UnitNormal(const double normal[3], float out[3]) {
    const double length =
        std::sqrt(normal[0] * normal[0] + normal[1] * normal[1] + normal[2] * normal[2]);
    if (length < 1e-12 || !std::isfinite(length)) {
        out[0] = 0.0f;
        out[1] = 0.0f;
        out[2] = 1.0f;
        return;
    }
    for (int i = 0; i < 3; ++i) {
        out[i] = static_cast<float>(normal[i] / length);
    }
}

float FiniteUv(double value) {
    const float converted = static_cast<float>(value);
    return std::isfinite(converted) ? converted : 0.0f;
}

// FNV-1a's top bits depend weakly on the last bytes, so the hash is spread by a Fibonacci
// multiply first. The slot tag is the upper half of that and the home slot its top bits, so
// growing needs no rehash. Tables stay far below 2^32 slots: the vertices would need hundreds
// of gigabytes.
std::uint32_t TagOf(std::uint64_t hash) {
    return static_cast<std::uint32_t>((hash * 0x9E3779B97F4A7C15ull) >> 32);
}

} // namespace

bool GlbBuilder::VertexKey::operator==(const VertexKey& other) const {
    return SameKey(*this, VertexOf(other));
}

std::uint64_t GlbBuilder::VertexKeyHash::operator()(const VertexKey& key) const {
    std::uint64_t hash = kFnvStart;
    for (double coordinate : key.position) {
        hash = FnvBytes(hash, Bits(coordinate), 8);
    }
    for (float component : key.normal) {
        hash = FnvBytes(hash, Bits(component), 4);
    }
    for (float component : key.uv) {
        hash = FnvBytes(hash, Bits(component), 4);
    }
    return FnvBytes(hash, 0, 4);
}

std::uint32_t GlbBuilder::VertexMap::Find(const VertexKey& key, std::uint64_t hash,
                                          const std::vector<Vertex>& vertices) const {
    if (slots_.empty()) {
        return kAbsent;
    }
    const std::uint32_t tag = TagOf(hash);
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t slot = static_cast<std::size_t>(tag >> shift_);; slot = (slot + 1) & mask) {
        const Slot& entry = slots_[slot];
        if (entry.index == kAbsent) {
            return kAbsent;
        }
        if (entry.hashBits == tag && SameKey(key, vertices[entry.index])) {
            return entry.index;
        }
    }
}

void GlbBuilder::VertexMap::Insert(std::uint64_t hash, std::uint32_t index) {
    // Linear probing stays short while at most half the slots are taken.
    if (2 * (size_ + 1) > slots_.size()) {
        Grow();
    }
    const std::uint32_t tag = TagOf(hash);
    const std::size_t mask = slots_.size() - 1;
    std::size_t slot = static_cast<std::size_t>(tag >> shift_);
    while (slots_[slot].index != kAbsent) {
        slot = (slot + 1) & mask;
    }
    slots_[slot] = Slot{tag, index};
    ++size_;
}

void GlbBuilder::VertexMap::Grow() {
    std::vector<Slot> old = std::move(slots_);
    slots_.assign(old.empty() ? kFirstCapacity : old.size() * 2, Slot{});
    shift_ = old.empty() ? 32 - kFirstCapacityBits : shift_ - 1;
    const std::size_t mask = slots_.size() - 1;
    for (const Slot& entry : old) {
        if (entry.index == kAbsent) {
            continue;
        }
        std::size_t slot = static_cast<std::size_t>(entry.hashBits >> shift_);
        while (slots_[slot].index != kAbsent) {
            slot = (slot + 1) & mask;
        }
        slots_[slot] = entry;
    }
}

std::uint32_t GlbBuilder::VertexMap::FindRecent(const VertexKey& key,
                                                const std::vector<Vertex>& vertices) const {
    for (const std::uint32_t index : recent_) {
        if (index != kAbsent && SameKey(key, vertices[index])) {
            return index;
        }
    }
    return kAbsent;
}

void GlbBuilder::VertexMap::Remember(std::uint32_t index) {
    recent_[nextRecent_] = index;
    nextRecent_ = (nextRecent_ + 1) % kRecent;
}

void GlbBuilder::VertexMap::Prefetch(std::uint64_t hash) const {
#if defined(__GNUC__)
    if (!slots_.empty()) {
        __builtin_prefetch(&slots_[static_cast<std::size_t>(TagOf(hash) >> shift_)]);
    }
#else
    (void)hash;
#endif
}

namespace {

GlbBuilder::VertexKey SanitisedKey(const double position[3], const double normal[3],
                                   const double uv[2]) {
    GlbBuilder::VertexKey key;
    std::memcpy(key.position, position, sizeof key.position);
    UnitNormal(normal, key.normal);
    key.uv[0] = FiniteUv(uv[0]);
    key.uv[1] = FiniteUv(uv[1]);
    return key;
}

std::uint32_t FindOrInsert(GlbBuilder::Primitive& primitive, const GlbBuilder::VertexKey& key,
                           std::uint64_t hash) {
    GlbBuilder::VertexMap& map = primitive.vertexMap;
    std::uint32_t index = map.Find(key, hash, primitive.vertices);
    if (index == GlbBuilder::VertexMap::kAbsent) {
        index = static_cast<std::uint32_t>(primitive.vertices.size());
        primitive.vertices.push_back(VertexOf(key));
        map.Insert(hash, index);
    }
    map.Remember(index);
    return index;
}

} // namespace

void GlbBuilder::AddCorners(Primitive& primitive, const double* const positions[3],
                            const double* const normals[3], const double* const uvs[3],
                            std::uint32_t indices[3]) {
    VertexKey keys[3];
    std::uint64_t hashes[3] = {};
    for (int k = 0; k < 3; ++k) {
        keys[k] = SanitisedKey(positions[k], normals[k], uvs[k]);
        indices[k] = primitive.vertexMap.FindRecent(keys[k], primitive.vertices);
        if (indices[k] == VertexMap::kAbsent) {
            hashes[k] = VertexKeyHash{}(keys[k]);
            primitive.vertexMap.Prefetch(hashes[k]);
        }
    }
    for (int k = 0; k < 3; ++k) {
        if (indices[k] == VertexMap::kAbsent) {
            indices[k] = FindOrInsert(primitive, keys[k], hashes[k]);
        }
    }
}

std::uint32_t GlbBuilder::AddVertex(Primitive& primitive, const double position[3],
                                    const double normal[3], const double uv[2]) {
    const VertexKey key = SanitisedKey(position, normal, uv);
    const std::uint32_t recent = primitive.vertexMap.FindRecent(key, primitive.vertices);
    if (recent != VertexMap::kAbsent) {
        return recent;
    }
    return FindOrInsert(primitive, key, VertexKeyHash{}(key));
}

} // namespace Velmora
