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

// The delta payload turning `oldData` into `newData`, compressed at `level`.
// `parts`: how many pieces of the new file are searched at once; 0 for the machine's cores.
std::string makeDelta(std::string_view oldData, std::string_view newData, int level, int parts = 0);

// Receives the new file's bytes in order; answers false to stop.
using Sink = std::function<bool(void const* data, std::size_t size)>;

// Produces the new file from the old file (`oldSize` bytes, read with pread from `oldFd`) and the
// delta payload stored at [offset, offset + size) of `patchFd`. Memory stays a few buffers of a
// fixed size, whatever the size of either file. False when the payload is malformed, the old file
// reads short, or the sink stops.
bool applyDelta(int oldFd, std::uint64_t oldSize, int patchFd, std::uint64_t offset, std::uint64_t size, Sink const& sink);

} // namespace Refloom::Patch
