// Single-item file operations on paths. Every operation answers false on failure and raises
// nothing; none of them is atomic unless it says so.
#pragma once

#include "cp/path.h"

namespace Lumenary::CP {

class CFileUtils {
public:
    // Copies a file with its modes, owner (when allowed), times and extended attributes.
    // With `replace` an existing `to` is unlinked first. False for equal paths, an existing
    // `to`, or a directory source (folders go through CDir::copy).
    static bool copy(CPath const& from, CPath const& to, bool replace);
    // Unlinks a file or a link; a locked file cannot be removed.
    static bool remove(CPath const& path);
    // Moves and renames in one call: `from` ends up as `to`, which must not exist, in a folder
    // that must. Atomic; does not cross file systems.
    static bool rename(CPath const& from, CPath const& to);
    // The byte size of a file: `out` is 0 for a missing path or a folder (answer false), -1 when
    // the size could not be read after the file was found.
    static bool size(CPath const& path, long long& out);
    // Finds a free name prefix + 8 hex digits (counting down from `seed`, or from the tick
    // count when 0) in the folder `inout` names, or in the user's temporary folder when `inout`
    // is empty, and sets `inout` to it. Answers `inout` not empty: when `inout` named a folder
    // and no name was free it still names the folder, so callers compare before and after.
    static bool temp_file(CPath& inout, wchar_t const* prefix, unsigned seed);
    static bool temp_file(CPath& inout, char const* prefix, unsigned seed);
    // The low nine POSIX permission bits.
    static bool get_permissions(CPath const& path, int& mode);
    static bool set_permissions(CPath const& path, int mode);
    // The lock flag. Its twin here is the immutable attribute (chattr +i): a locked item can be
    // neither changed, renamed nor removed. Setting it needs CAP_LINUX_IMMUTABLE, so an
    // unprivileged lock answers false.
    static bool is_locked(CPath const& path);
    static bool lock(CPath const& path, bool lock_it);
};

} // namespace Lumenary::CP
