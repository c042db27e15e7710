// The helper's work: one named operation, checked against the policy and carried out by the
// tool of its row, on the paths as they were checked.
#pragma once

#include <sys/types.h>

#include <string>

#include "privileged/helper/helper_policy.h"
#include "privileged/helper/pinned_path.h"
#include "privileged/helper_protocol.h"

namespace Refloom::Helper {

struct Context {
    Policy policy;
    std::string resources;  // the bundle's resource folder, resolved
    uid_t user;             // who asked: the peer of the channel
    uid_t bundleOwner;      // who owns the helper; resource files must be theirs alone
};

struct Outcome {
    std::int32_t status;
    std::string output;  // the tools' output, or why the request was refused
};

Outcome carryOut(Context const& context, HelperProtocol::Request const& request);

} // namespace Refloom::Helper
