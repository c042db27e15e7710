// Trees, keys and the real tools for the patch tests: a copy of applyPatch with a test key
// beside it, makePatch, and tree comparison.
#pragma once

#include <map>
#include <string>

#include "tests/fixtures/scratch.h"
#include "tools/applypatch/format.h"
#include "tools/applypatch/tree.h"

namespace rf_test {

class PatchFixture {
public:
    PatchFixture();

    Scratch scratch;
    std::string tool;        // applyPatch, with applyPatch.pub beside it
    std::string privateKey;  // the key that pairs with it

    // Runs makePatch on two folders; the patch path.
    std::string make(std::string const& oldFolder, std::string const& newFolder, std::string const& name = "p.patch");
    // Runs applyPatch and answers its exit status.
    int apply(std::string const& folder, std::string const& patch, std::string const& flags = "");
    // Writes a patch from a manifest and payload bytes, signed with `key` (default: the good one).
    std::string write(Refloom::Patch::Manifest const& manifest, std::string const& payloads,
                      std::string const& name, std::string const& key = "");
};

// Everything a tree holds that a patch must get right: kinds, modes, contents, link targets, and
// file times.
std::map<std::string, Refloom::Patch::TreeItem> snapshot(std::string const& folder);
bool sameTree(std::string const& a, std::string const& b);

} // namespace rf_test
