// Running a file of the bundle for the helper (a resource script, the patch tool): opened once
// and run as opened, with a clean environment, no shell, the checked descriptors handed down
// so the tool's "/proc/self/fd/N" paths mean what was checked; with root's rights, or with the
// requesting user's when the work is on what the user may change anyway.
#pragma once

#include "privileged/helper/helper_operations.h"
#include "privileged/helper/pinned_path.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace Refloom::Helper {

struct Command {
    std::string tool; // absolute, or a name in the resources when `fromResources`
    bool fromResources = false;
    std::vector<std::string> arguments;
    bool asUser = false; // run with the requesting user's ids, not root's
    // Descriptor paths among the arguments, each with the path it stands for: the tool's
    // output names the paths the program asked for, never "/proc/self/fd/N".
    std::vector<std::pair<std::string, std::string>> shownAs;
};

struct Launched {
    bool started;
    std::int32_t exitStatus; // the tool's exit status, or the number of the signal that ended it
    std::string output;      // standard output and error, merged
};

// Refuses (Refusal) a resource file that is not a regular file owned by the bundle's owner
// and writable by no one else: anyone who could change it could run anything as root.
Fd openResource(Context const& context, std::string const& name, int flags);

Launched launch(Command const& command, Context const& context, std::vector<Fd> const& held);

} // namespace Refloom::Helper
