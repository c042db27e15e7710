// The copy operation, as the Mac's ditto does it: a folder is merged into a folder of the same
// place, a file onto a folder goes into it, anything else is replaced, and modes and times are
// kept. The source is read with the user's rights (copy_stream.h) into a fresh folder of the
// helper's own beside the destination, and each staged item is then renamed into place: a
// file or a folder appears whole or not at all, and what was there is never written through.
// Every mode is kept without its set-user-id, set-group-id and sticky bits, and every item
// made belongs to whoever the helper runs as.
#pragma once

#include "privileged/helper/pinned_path.h"
#include "privileged/helper/user_ids.h"

#include <string>

namespace Refloom::Helper {

struct CopyResult {
    bool done;
    bool unreadable;    // the user may not read all of the source: nothing was copied
    std::string errors; // a line for each thing that went wrong
};

// Copies `source` (a clean absolute path, read as `user`) to the pinned `destination`, whose
// missing parents the caller has made.
CopyResult copyTree(std::string const& source, Pinned const& destination, UserIds const& user);

} // namespace Refloom::Helper
