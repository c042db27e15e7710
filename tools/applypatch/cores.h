// Work spread over the machine's cores, sized from the machine, never a fixed count.
#pragma once

#include <cstddef>
#include <functional>

namespace Refloom::Patch {

// The cores this machine has (at least 1).
int machineCores();

// Runs work(i) for every i below `count` on up to `threads` threads, the calling one among them.
// After a failure no new work starts, and the first exception is raised again once all stopped.
void forEachOnThreads(std::size_t count, int threads, std::function<void(std::size_t)> const& work);

} // namespace Refloom::Patch
