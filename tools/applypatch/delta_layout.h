// The bytes of a delta payload, shared by the maker and the applier: a header of four numbers
// (the new file's size, then the compressed size of the control, difference and new-byte
// streams), then the three streams. Numbers are 8 bytes, little-endian, two's complement.
#pragma once

#include <cstdint>
#include <string>

namespace Refloom::Patch::DeltaLayout {

inline constexpr std::size_t kHeader = 4 * 8;

inline void putNumber(std::string& out, std::int64_t value) {
    for (int i = 0; i < 8; ++i) out.push_back(char((std::uint64_t(value) >> (8 * i)) & 0xFF));
}

inline std::int64_t getNumber(std::uint8_t const* in) {
    std::uint64_t value = 0;
    for (int i = 0; i < 8; ++i) value |= std::uint64_t(in[i]) << (8 * i);
    return std::int64_t(value);
}

} // namespace Refloom::Patch::DeltaLayout
