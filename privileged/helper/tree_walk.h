// Folders walked by descriptor: every step is an openat or fstatat relative to a folder
// already open, never a path, and no link is ever followed. A walk stays on the file system
// where it began, so it cannot be led into another one mounted inside. The work of a walk
// that meets trouble goes on with the other entries; what went wrong is written to `errors`,
// one line each, and the walk answers false.
#pragma once

#include "privileged/helper/pinned_path.h"

#include <functional>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace Refloom::Helper {

// Deeper than any tree the program installs; it bounds the descriptors a walk holds open.
inline constexpr int kMaxTreeDepth = 128;

// A folder opened for reading its entries: refused (no descriptor) for a link or a non-folder.
Fd openFolder(int parent, std::string const& name);
// True when the open folder `inner` lies on the file system of the open folder `outer`: a walk
// begun at a folder mounted there would change another file system.
bool onSameFileSystem(int outer, int inner);
// The names in an open folder, "." and ".." left out.
std::vector<std::string> namesIn(int folder);

// Removes the entry `name` of `parent`: a folder with everything in it, anything else by name.
bool removeEntry(int parent, std::string const& name, std::string const& shown,
                 std::string& errors);

// Calls `visit` for every entry below `folder` (children before their folder) with the
// entry's folder, name and status, read without following a link. Folders of another file
// system are reported and not entered.
using Visit = std::function<bool(int parent, std::string const& name, struct stat const& info,
                                 std::string const& shown)>;
bool walkBelow(int folder, std::string const& shown, Visit const& visit, std::string& errors);

// "shown: what: the system's reason", a line for `errors`.
std::string failure(std::string const& shown, std::string const& what);

} // namespace Refloom::Helper
