// The platform half of CDir: directory streams, mkdir, and descriptor-relative walks that never
// follow a link out of the tree they work on.
#pragma once

#include <cstdint>
#include <string>

#include "cp/path.h"

namespace Lumenary::CP::Private {

class _CNativeDir {
public:
    // A listing handle with its first entry's name, or 0 for an empty or unreadable folder.
    static std::intptr_t start_file_iter(CPath const& folder, std::wstring& first_name);
    static bool next_file_iter(std::intptr_t handle, std::wstring& name);
    static bool end_file_iter(std::intptr_t handle);
    static bool is_valid(std::intptr_t handle) { return handle != 0; }

    // One folder; a missing parent raises CException (code 0).
    static bool create(CPath const& folder);
    static bool remove(CPath const& folder);
    static bool copy(CPath const& from, CPath const& to);
    static bool lock_directory(CPath const& folder, bool lock_it);
};

} // namespace Lumenary::CP::Private
