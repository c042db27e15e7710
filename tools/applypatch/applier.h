// Applies a checked patch to a folder: verify, stage, commit under the journal.
#pragma once

#include <string>

#include "tools/applypatch/patch_file.h"

namespace Refloom::Patch {

struct ApplyOptions {
    std::string folder;
    bool dryRun = false;    // check only: the folder must be exactly in the patch's source state
    bool progress = false;  // report progress on standard error
};

// Raises PatchError. Before anything else it completes or rolls back an interrupted run on the
// folder. A refusal leaves the folder untouched; a failure while applying restores it.
void applyPatch(PatchFile const& patch, ApplyOptions const& options);

} // namespace Refloom::Patch
