// Binary deltas between an old and a new file: approximate matches found through a suffix array
// of the old file, stored as three zstd streams (controls, byte differences, new bytes).
// Executables change by small shifts in many places, which byte differences capture and
// plain string matching does not.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace Refloom::Patch {

// How a delta sees the old file. Bit-packed files (compiler bitcode) store fields at any bit
// offset, so one changed field shifts every later byte by a few bits and byte matches stop; seen
// as eight copies, the kth read from its bit k on (least significant bit first), the shifted
// bytes match again.
enum class OldView : std::uint8_t { bytes = 1, bits = 8 };

// Byte `index` of the old file's copy read from bit `shift`; `next` is the byte after it (0 past
// the end).
inline std::uint8_t shiftedByte(std::uint8_t byte, std::uint8_t next, int shift) {
    return shift == 0 ? byte : std::uint8_t((byte >> shift) | (next << (8 - shift)));
}

// How a delta payload's streams are laid out (delta_layout.h): fixed in patches of minor version
// 0, packed from minor version 1 on. makeDelta writes packed.
enum class Layout { fixed, packed };

// The delta payload turning `oldData` into `newData`, compressed at `level`.
// `parts`: how many cores it may use (pieces of the new file searched at once, threads that
// compress); 0 for the machine's cores.
std::string makeDelta(std::string_view oldData, std::string_view newData, int level, int parts = 0,
                      OldView view = OldView::bytes);

// Receives the new file's bytes in order; answers false to stop.
using Sink = std::function<bool(void const* data, std::size_t size)>;

// Produces the new file from the old file (`oldSize` bytes, read with pread from `oldFd`, seen as
// `view` says) and the delta payload stored at [offset, offset + size) of `patchFd`. Memory stays
// a few buffers of a fixed size, whatever the size of either file. False when the payload is
// malformed, the old file reads short, or the sink stops. With `ahead`, the large streams are
// decoded on threads of their own, a few pieces ahead.
bool applyDelta(int oldFd, std::uint64_t oldSize, OldView view, Layout layout, int patchFd, std::uint64_t offset,
                std::uint64_t size, Sink const& sink, bool ahead = false);

} // namespace Refloom::Patch
