// The platform half of CFileUtils and CDir's copy: the C library and Linux's inode flags.
#pragma once

#include <string>

namespace Lumenary::CP::Private {

class _CNativeFiles {
public:
    // Copies data, modes, owner (when allowed), times and extended attributes; `recursive` copies
    // a folder tree, links as links. `to` must not exist. A failed copy may leave a partial
    // `to` behind but never touches `from`.
    static bool copy(std::string const& from, std::string const& to, bool recursive);
    // The immutable flag of the item at `path` (a link is followed) or in folder `dirfd`.
    static bool is_locked(std::string const& path);
    static bool lock(std::string const& path, bool lock_it);
    static bool lock_at(int dirfd, char const* name, bool lock_it);
};

} // namespace Lumenary::CP::Private
