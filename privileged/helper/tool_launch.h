// Running one tool for the helper: by absolute path, or a file of the bundle's resources
// opened once and run as opened; a clean environment, no shell, the checked descriptors
// handed down so the tool's "/proc/self/fd/N" paths mean what was checked.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "privileged/helper/helper_operations.h"
#include "privileged/helper/pinned_path.h"

namespace Refloom::Helper {

// Why a request is not carried out; it reaches the program as the reply's output.
struct Refusal {
    std::string why;
};

struct Command {
    std::string tool;          // absolute, or a name in the resources when `fromResources`
    bool fromResources = false;
    std::vector<std::string> arguments;
};

struct Launched {
    bool started;
    std::int32_t status;  // 0 when started, else HelperProtocol's reason
    std::string output;   // standard output and error, merged
};

// Refuses (Refusal) a resource file that is not a regular file owned by the bundle's owner
// and writable by no one else: anyone who could change it could run anything as root.
Fd openResource(Context const& context, std::string const& name, int flags);

Launched launch(Command const& command, Context const& context, std::vector<Fd> const& held);

} // namespace Refloom::Helper
