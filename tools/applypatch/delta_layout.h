// The bytes of a delta payload, shared by the maker and the applier. A header of numbers (8
// bytes each, little-endian, two's complement): the new file's size, then the compressed size of
// each stream; then the streams, each one zstd frame.
//
// fixed (patches of minor version 0): three streams. Controls are triples of 8-byte numbers
// (bytes to take from the old file, bytes to take from the extra stream, how far to move in the
// old file); the difference stream holds one byte per byte taken from the old file, added to it;
// the extra stream holds the new bytes.
//
// packed (minor version 1 on): four streams. Controls are the same triples as varints (LEB128;
// the move zigzag-encoded); the differences, mostly zeros, are runs: a stream of varint pairs
// (zeros, then non-zero bytes) and a stream of the non-zero bytes themselves; then the extra
// stream. Smaller by 5 to 17% on real libraries, and compressed three times faster.
#pragma once

#include <cstdint>
#include <string>

#include "tools/applypatch/delta.h"

namespace Refloom::Patch::DeltaLayout {

inline std::size_t streamCount(Layout layout) { return layout == Layout::fixed ? 3 : 4; }
inline std::size_t headerSize(Layout layout) { return 8 * (1 + streamCount(layout)); }

inline void putNumber(std::string& out, std::int64_t value) {
    for (int i = 0; i < 8; ++i) out.push_back(char((std::uint64_t(value) >> (8 * i)) & 0xFF));
}

inline std::int64_t getNumber(std::uint8_t const* in) {
    std::uint64_t value = 0;
    for (int i = 0; i < 8; ++i) value |= std::uint64_t(in[i]) << (8 * i);
    return std::int64_t(value);
}

inline void putVarint(std::string& out, std::uint64_t value) {
    for (; value >= 0x80; value >>= 7) out.push_back(char((value & 0x7F) | 0x80));
    out.push_back(char(value));
}

inline std::uint64_t zigzag(std::int64_t value) { return (std::uint64_t(value) << 1) ^ std::uint64_t(value >> 63); }
inline std::int64_t unzigzag(std::uint64_t value) { return std::int64_t(value >> 1) ^ -std::int64_t(value & 1); }

} // namespace Refloom::Patch::DeltaLayout
