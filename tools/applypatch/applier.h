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

enum class Outcome {
    applied,     // patched (or, in a dry run, would be)
    up_to_date,  // already exactly in the patch's target state; nothing was changed
};

// Raises PatchError. Before anything else it completes or rolls back an interrupted run on the
// folder. A refusal leaves the folder untouched; a failure while applying restores it.
Outcome applyPatch(PatchFile const& patch, ApplyOptions const& options);

} // namespace Refloom::Patch
