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

// What lies at `root`/`path` now (kind none when nothing), with the file's hash unless `hash`
// is false.
Node inspect(std::string const& root, std::string const& path, bool hash = true);

// Whether `root`/`path` is a file of `size` bytes whose hash is `sha256`, opened without following
// a link. Raises PatchError(failed) when it is there but cannot be read.
bool holds(std::string const& root, std::string const& path, std::uint64_t size, Digest const& sha256);

// Reads a whole file; raises PatchError(failed) when it cannot.
std::string readWholeFile(std::string const& path);

} // namespace Refloom::Patch
