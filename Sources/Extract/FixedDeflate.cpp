#include "Extract/FixedDeflate.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>

namespace Velmora::ve_detail {
namespace {

// Deflate length and distance codes (RFC 1951, 3.2.5).
constexpr std::uint16_t kLenBase[29] = {3,  4,  5,  6,   7,   8,   9,   10,  11, 13,
                                        15, 17, 19, 23,  27,  31,  35,  43,  51, 59,
                                        67, 83, 99, 115, 131, 163, 195, 227, 258};
constexpr std::uint8_t kLenExtra[29] = {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2,
                                        2, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5, 0};
constexpr std::uint16_t kDistBase[30] = {
    1,   2,   3,   4,   5,   7,    9,    13,   17,   25,   33,   49,   65,    97,    129,
    193, 257, 385, 513, 769, 1025, 1537, 2049, 3073, 4097, 6145, 8193, 12289, 16385, 24577};
constexpr std::uint8_t kDistExtra[30] = {0, 0, 0, 0, 1, 1, 2, 2,  3,  3,  4,  4,  5,  5,  6,
                                         6, 7, 7, 8, 8, 9, 9, 10, 10, 11, 11, 12, 12, 13, 13};

constexpr int kHashBits = 15;
constexpr std::size_t kHashSize = std::size_t{1} << kHashBits;
constexpr std::size_t kWindowSize = 32768;
constexpr std::size_t kWindowMask = kWindowSize - 1;
constexpr int kMaxChainCandidates = 128;
constexpr std::size_t kMinMatch = 3;
constexpr std::size_t kMaxMatch = 258;
constexpr int kEndOfBlock = 256;
// What one step may read beyond its position: a whole match plus the bytes hashed at its end.
constexpr std::size_t kLookahead = kMaxMatch + kMinMatch - 1;
// How much is filtered ahead at a time; sliding the window costs one pass over the tables.
constexpr std::size_t kReadAhead = std::size_t{1} << 20;
// Loops of this many iterations have a fixed trip count, which compilers vectorise at -O2.
constexpr std::size_t kBlock = 32;

// ---------------------------------------------------------------------------------------------
// Bit output

// Writes into a buffer sized for the worst case, so that no byte costs a capacity check.
struct BitWriter {
    unsigned char* out;
    std::uint32_t bitBuffer;
    std::uint32_t bitCount;
};

// Appends `count` (at most 24) bits of `value`, least-significant first.
void PutBits(BitWriter& writer, std::uint32_t value, std::uint32_t count) {
    writer.bitBuffer |= value << writer.bitCount;
    writer.bitCount += count;
    while (writer.bitCount >= 8) {
        *writer.out++ = static_cast<unsigned char>(writer.bitBuffer);
        writer.bitBuffer >>= 8;
        writer.bitCount -= 8;
    }
}

// Pads the last byte with zero bits.
void FlushBits(BitWriter& writer) {
    if (writer.bitCount > 0) {
        *writer.out++ = static_cast<unsigned char>(writer.bitBuffer);
    }
    writer.bitBuffer = 0;
    writer.bitCount = 0;
}

constexpr std::uint32_t ReverseBits(std::uint32_t code, std::uint32_t length) {
    std::uint32_t reversed = 0;
    for (std::uint32_t i = 0; i < length; ++i) {
        reversed = (reversed << 1) | ((code >> i) & 1u);
    }
    return reversed;
}

// A code with its bits already in sending order.
struct StreamCode {
    std::uint32_t bits = 0;
    std::uint32_t length = 0;
};

// Huffman codes are defined most-significant bit first; the stream is least-significant first.
StreamCode FixedSymbolCode(int symbol) {
    const auto s = static_cast<std::uint32_t>(symbol);
    if (symbol < 144) {
        return {ReverseBits(0x30u + s, 8), 8};
    }
    if (symbol < 256) {
        return {ReverseBits(0x190u + s - 144, 9), 9};
    }
    if (symbol < 280) {
        return {ReverseBits(s - 256, 7), 7};
    }
    return {ReverseBits(0xC0u + s - 280, 8), 8};
}

// Every literal/length symbol, every match length (symbol with its extra bits) and every
// distance code (code with room for its extra bits), ready to send.
struct FixedCodeTables {
    StreamCode symbol[288];
    StreamCode length[kMaxMatch + 1];
    StreamCode distance[30];
    std::uint8_t distanceCodeNear[256]; // by distance - 1, for distances up to 256
    std::uint8_t distanceCodeFar[256];  // by (distance - 1) >> 7, for larger ones

    FixedCodeTables() : distanceCodeNear{}, distanceCodeFar{} {
        for (int s = 0; s < 288; ++s) {
            symbol[s] = FixedSymbolCode(s);
        }
        for (int code = 0; code < 29; ++code) {
            const int last = code == 28 ? kLenBase[code] : kLenBase[code + 1] - 1;
            const StreamCode sym = symbol[257 + code];
            for (int len = kLenBase[code]; len <= last; ++len) {
                const auto extra = static_cast<std::uint32_t>(len - kLenBase[code]);
                length[len] = {sym.bits | (extra << sym.length), sym.length + kLenExtra[code]};
            }
        }
        for (std::uint32_t code = 0; code < 30; ++code) {
            distance[code] = {ReverseBits(code, 5), 5u + kDistExtra[code]};
            const std::uint32_t last = code == 29 ? 32768u : kDistBase[code + 1] - 1u;
            for (std::uint32_t d = kDistBase[code]; d <= last; ++d) {
                if (d <= 256) {
                    distanceCodeNear[d - 1] = static_cast<std::uint8_t>(code);
                } else {
                    distanceCodeFar[(d - 1) >> 7] = static_cast<std::uint8_t>(code);
                }
            }
        }
    }
};

const FixedCodeTables& FixedCodes() {
    static const FixedCodeTables tables;
    return tables;
}

void PutFixedSym(BitWriter& writer, int symbol) {
    const StreamCode code = FixedCodes().symbol[symbol];
    PutBits(writer, code.bits, code.length);
}

// Length code and extra bits, then the 5-bit distance code and its extra bits.
void PutMatch(BitWriter& writer, const FixedCodeTables& codes, std::size_t length,
              std::size_t distance) {
    const StreamCode lengthCode = codes.length[length];
    PutBits(writer, lengthCode.bits, lengthCode.length);
    const std::uint8_t code = distance <= 256 ? codes.distanceCodeNear[distance - 1]
                                              : codes.distanceCodeFar[(distance - 1) >> 7];
    const StreamCode distanceCode = codes.distance[code];
    const auto extra = static_cast<std::uint32_t>(distance - kDistBase[code]);
    PutBits(writer, distanceCode.bits | (extra << 5), distanceCode.length);
}

// Worst case: nine bits a literal, plus block header and end-of-block symbol.
std::size_t MaxFixedBlockBytes(std::size_t inputBytes) {
    return (3 + 9 * inputBytes + 7 + 7) / 8 + 1;
}

// ---------------------------------------------------------------------------------------------
// Hash chains

std::uint32_t HashOfKey(std::uint32_t key) {
    return (key * 0x9E3779B1u) >> (32 - kHashBits);
}

std::uint32_t KeyAt(const unsigned char* s) {
    return (std::uint32_t{s[0]} << 16) | (std::uint32_t{s[1]} << 8) | s[2];
}

// The latest position of each hash and, per position modulo the window, the one before it
// with the same hash; -1 where there is none. Positions count from the start of the buffer.
struct MatchTables {
    std::unique_ptr<std::int32_t[]> head{new std::int32_t[kHashSize]};
    std::unique_ptr<std::int32_t[]> prev{new std::int32_t[kWindowSize]};

    MatchTables() {
        std::fill_n(head.get(), kHashSize, -1);
        std::fill_n(prev.get(), kWindowSize, -1);
    }

    // The buffer moved down by `shift`, a multiple of the window size, so every slot of
    // `prev` still belongs to the same positions. Positions that left the buffer lie more
    // than a window back and end chains just as -1 does.
    void Rebase(std::size_t shift) {
        RebaseEntries(head.get(), kHashSize, static_cast<std::int32_t>(shift));
        RebaseEntries(prev.get(), kWindowSize, static_cast<std::int32_t>(shift));
    }

private:
    static void RebaseEntries(std::int32_t* entries, std::size_t count, std::int32_t shift) {
        for (std::size_t i = 0; i < count; ++i) {
            entries[i] = entries[i] >= shift ? entries[i] - shift : -1;
        }
    }
};

// Length of the common prefix of a and b, at most `limit`, eight bytes at a time.
std::size_t CommonPrefix(const unsigned char* a, const unsigned char* b, std::size_t limit) {
    std::size_t length = 0;
    for (; length + 8 <= limit; length += 8) {
        std::uint64_t wordA = 0;
        std::uint64_t wordB = 0;
        std::memcpy(&wordA, a + length, 8);
        std::memcpy(&wordB, b + length, 8);
        if (wordA != wordB) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
            return length + static_cast<std::size_t>(__builtin_ctzll(wordA ^ wordB)) / 8;
#else
            break;
#endif
        }
    }
    while (length < limit && a[length] == b[length]) {
        ++length;
    }
    return length;
}

// Positions [from, to) each chained to the position just before them.
void ChainToPrevious(std::int32_t* prev, std::size_t from, std::size_t to) {
    while (from < to) {
        const std::size_t slot = from & kWindowMask;
        const std::size_t count = std::min(to - from, kWindowSize - slot);
        std::int32_t* out = prev + slot;
        const auto first = static_cast<std::int32_t>(from) - 1;
        std::size_t k = 0;
        for (; k + kBlock <= count; k += kBlock) {
            for (std::size_t j = 0; j < kBlock; ++j) {
                out[k + j] = first + static_cast<std::int32_t>(k + j);
            }
        }
        for (; k < count; ++k) {
            out[k] = first + static_cast<std::int32_t>(k);
        }
        from += count;
    }
}

// How many positions from `pos` on (before `to`) read the same three bytes as the position
// before them, which happens only inside a run of one byte value.
std::size_t SameKeyRun(const unsigned char* s, std::size_t pos, std::size_t to) {
    const unsigned char value = s[pos - 1];
    if (s[pos] != value || s[pos + 1] != value || s[pos + 2] != value) {
        return 0;
    }
    return CommonPrefix(s + pos - 1, s + pos, to - pos + 2) - 2;
}

// Inserts positions [from, to), each with three bytes available. While the hash stays the
// same each position chains to the one before it, and the head entry is written once when the
// hash changes rather than stored and reloaded at every position.
void InsertRange(MatchTables& tables, const unsigned char* s, std::size_t from, std::size_t to) {
    if (from >= to) {
        return;
    }
    std::int32_t* head = tables.head.get();
    std::int32_t* prev = tables.prev.get();
    std::uint32_t hash = HashOfKey(KeyAt(s + from));
    prev[from & kWindowMask] = head[hash];
    for (std::size_t pos = from + 1; pos < to;) {
        const std::size_t run = SameKeyRun(s, pos, to);
        if (run > 0) {
            ChainToPrevious(prev, pos, pos + run);
            pos += run;
            continue;
        }
        const std::uint32_t nextHash = HashOfKey(KeyAt(s + pos));
        if (nextHash != hash) {
            head[hash] = static_cast<std::int32_t>(pos - 1);
            hash = nextHash;
            prev[pos & kWindowMask] = head[hash];
        } else {
            prev[pos & kWindowMask] = static_cast<std::int32_t>(pos - 1);
        }
        ++pos;
    }
    head[hash] = static_cast<std::int32_t>(to - 1);
}

struct Match {
    std::size_t length = 0;
    std::size_t distance = 0;
};

// Walks the chain from `candidate`, newest first, over at most kMaxChainCandidates positions
// within the window. Only a strictly longer match replaces the best, so the nearest of equally
// long ones wins.
Match FindLongestMatch(const MatchTables& tables, const unsigned char* s, std::size_t pos,
                       std::size_t maxLength, std::int32_t candidate) {
    const unsigned char* current = s + pos;
    const std::int32_t* prev = tables.prev.get();
    Match best;
    for (int visited = 0; visited < kMaxChainCandidates && candidate >= 0; ++visited) {
        const auto from = static_cast<std::size_t>(candidate);
        if (pos - from > kWindowSize) {
            break;
        }
        // Only a candidate that also matches at the current best length can be longer.
        if (best.length == 0 || s[from + best.length] == current[best.length]) {
            const std::size_t length = CommonPrefix(s + from, current, maxLength);
            if (length > best.length) {
                best = {length, pos - from};
                if (length == maxLength) {
                    break;
                }
            }
        }
        candidate = prev[from & kWindowMask];
    }
    return best;
}

// ---------------------------------------------------------------------------------------------
// Compression over a sliding buffer

// Holds the last window before the current position and the data read ahead of it, and
// compresses as far as the data read so far allows before reading more.
class SlidingCompressor {
public:
    explicit SlidingCompressor(DeflateSource& source)
        : source_(source), unread_(source.TotalBytes()), end_(source.TotalBytes()),
          capacity_(2 * kWindowSize + kLookahead + source.MaxPieceBytes() + kReadAhead),
          buffer_(new unsigned char[capacity_]),
          output_(new unsigned char[MaxFixedBlockBytes(capacity_)]) {}

    void Compress(std::vector<unsigned char>& out) {
        BitWriter writer{output_.get(), 0, 0};
        PutBits(writer, 3, 3); // BFINAL = 1, BTYPE = 01 (fixed Huffman codes)
        while (pos_ < end_) {
            ReadAhead();
            const std::size_t stop = filled_ == end_ ? end_ : filled_ - kLookahead;
            CompressUpTo(stop, writer);
            Drain(writer, out);
        }
        PutFixedSym(writer, kEndOfBlock);
        FlushBits(writer);
        Drain(writer, out);
    }

private:
    void Drain(BitWriter& writer, std::vector<unsigned char>& out) {
        out.insert(out.end(), output_.get(), writer.out);
        writer.out = output_.get();
    }

    // Fills the buffer with as many pieces as fit, first dropping what lies more than a
    // window behind the current position when the buffer is full.
    void ReadAhead() {
        const std::size_t piece = source_.MaxPieceBytes();
        while (unread_ > 0) {
            if (filled_ + piece > capacity_) {
                Slide();
                if (filled_ + piece > capacity_) {
                    return;
                }
            }
            const std::size_t written = source_.WriteNext(buffer_.get() + filled_);
            filled_ += written;
            unread_ -= written;
        }
    }

    void Slide() {
        if (pos_ < kWindowSize) {
            return;
        }
        const std::size_t shift = (pos_ - kWindowSize) & ~kWindowMask;
        if (shift == 0) {
            return;
        }
        std::memmove(buffer_.get(), buffer_.get() + shift, filled_ - shift);
        filled_ -= shift;
        pos_ -= shift;
        end_ -= shift;
        tables_.Rebase(shift);
    }

    // Compresses from the current position on while it is below `stop`; a match may carry
    // the position beyond `stop`, never beyond the data read.
    void CompressUpTo(std::size_t stop, BitWriter& writer) {
        const FixedCodeTables& codes = FixedCodes();
        const unsigned char* s = buffer_.get();
        const std::size_t hashableEnd = end_ >= kMinMatch ? end_ - (kMinMatch - 1) : 0;
        std::size_t pos = pos_;
        while (pos < stop) {
            if (pos < hashableEnd) {
                const std::uint32_t hash = HashOfKey(KeyAt(s + pos));
                const std::int32_t candidate = tables_.head[hash];
                if (candidate >= 0) {
                    const std::size_t maxLength = std::min(end_ - pos, kMaxMatch);
                    const Match match = FindLongestMatch(tables_, s, pos, maxLength, candidate);
                    if (match.length >= kMinMatch) {
                        PutMatch(writer, codes, match.length, match.distance);
                        const std::size_t matchEnd = pos + match.length;
                        InsertRange(tables_, s, pos, std::min(matchEnd, hashableEnd));
                        pos = matchEnd;
                        continue;
                    }
                }
                tables_.prev[pos & kWindowMask] = candidate;
                tables_.head[hash] = static_cast<std::int32_t>(pos);
            }
            const StreamCode literal = codes.symbol[s[pos]];
            PutBits(writer, literal.bits, literal.length);
            ++pos;
        }
        pos_ = pos;
    }

    DeflateSource& source_;
    std::size_t unread_;
    // Positions below count from the start of the buffer.
    std::size_t end_;
    std::size_t pos_ = 0;
    std::size_t filled_ = 0;
    std::size_t capacity_;
    std::unique_ptr<unsigned char[]> buffer_;
    // Uninitialised on purpose: written before read, and sized for the worst case.
    std::unique_ptr<unsigned char[]> output_;
    MatchTables tables_;
};

} // namespace

void DeflateFixedBlock(DeflateSource& source, std::vector<unsigned char>& out) {
    SlidingCompressor(source).Compress(out);
}

} // namespace Velmora::ve_detail
