// The helper's work: one named operation, checked against the policy and carried out on the
// paths as they were checked: the file operations by the helper itself, by descriptor; a
// resource script and the patch tool by running them.
#pragma once

#include "privileged/helper/helper_policy.h"
#include "privileged/helper/pinned_path.h"
#include "privileged/helper/user_ids.h"
#include "privileged/helper_protocol.h"

#include <string>
#include <sys/types.h>

namespace Refloom::Helper {

struct Context {
    Policy policy;
    std::string resources; // the bundle's resource folder, resolved
    UserIds user;          // who asked: the peer of the channel
    uid_t bundleOwner;     // who owns the helper; resource files must be theirs alone
};

struct Outcome {
    std::int32_t status;     // 0, or HelperProtocol's kDenied or kExecuteFailed
    std::int32_t exitStatus; // how the operation ended, as a tool's exit status
    std::string output;      // what went wrong, a script's output, or why it was refused
};

// Why a request is not carried out; it reaches the program as the reply's output.
struct Refusal {
    std::string why;
};

Outcome carryOut(Context const& context, HelperProtocol::Request const& request);

} // namespace Refloom::Helper
