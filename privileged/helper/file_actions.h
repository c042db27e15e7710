// The file operations the helper carries out itself, on items it has pinned: by descriptor,
// never through a link, and never on another name of a file (a hard link) where the change
// would reach whatever else that file is. Each answers whether it was done and, when not,
// why, in lines that name the paths as the program gave them.
#pragma once

#include "privileged/helper/pinned_path.h"

#include <optional>
#include <string>
#include <sys/types.h>

namespace Refloom::Helper {

struct Done {
    bool ok;
    std::string errors;
};

// "rm -f": a missing item is done; a folder is not removed.
Done removeItem(Pinned const& item);
// "rm -rf": the item, and for a folder everything in it.
Done removeTree(Pinned const& item);
// "mv -T": the source takes the destination's name, replacing what stands there unless that
// is a folder (an empty folder may be replaced by a folder).
Done renameItem(Pinned const& source, Pinned const& destination);
// Clears the lock flag (the immutable attribute) of the item, or with `tree` of the folder and
// everything in it; links are passed over.
Done unlockItem(Pinned const& item, bool tree);
// Sets the item's mode bits; `mode` has no set-id or sticky bits.
Done changeMode(Pinned const& item, mode_t mode);
// Hands the item (with `tree`, and everything in it) to root: only what root owns already,
// so that a user's file never becomes root's. Ownership of a link is its own.
Done giveToRoot(Pinned const& item, bool tree);
// "ln -s": a link at a name where nothing stands, or in a folder standing there under the
// target's own name; never through a link standing there.
Done makeLink(std::string const& target, Pinned const& at, std::string const& nameInFolder);
// Makes the one folder `item` names (its parent exists); a folder standing there is done.
Done makeFolder(Pinned const& item);

// The item opened as itself for a change of its own: a folder, or a file with one name.
// None, with the reason, for anything else (a link, a hard link, a device, a missing item).
std::optional<Fd> openOwnItem(Pinned const& item, std::string& why);

} // namespace Refloom::Helper
