// A folder tree as the patch sees it: every path below the folder with what lies there.
#pragma once

#include <map>
#include <string>

#include "tools/applypatch/format.h"

namespace Refloom::Patch {

struct TreeItem {
    Node node;
    std::int64_t mtimeSeconds = 0;
    std::uint32_t mtimeNanoseconds = 0;
};

// Relative path to item, links not followed. Raises PatchError(failed) for an unreadable tree.
std::map<std::string, TreeItem> scanTree(std::string const& root);

// What lies at `root`/`path` now (kind none when nothing), with the file's hash.
Node inspect(std::string const& root, std::string const& path);

// Reads a whole file; raises PatchError(failed) when it cannot.
std::string readWholeFile(std::string const& path);

} // namespace Refloom::Patch
