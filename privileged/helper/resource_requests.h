// The two requests that run files of the bundle rather than a row of the tool table: a
// resource script, only when its SHA-256 is on the bundle's list, and the patch tool, only on
// a copy of the product and only with the bundle's own patch.
#pragma once

#include <string>
#include <vector>

#include "privileged/helper/tool_launch.h"

namespace Refloom::Helper {

inline constexpr char kPatchFile[] = "Patchfile.patch";

// operands: the script's name, then its arguments.
Command scriptCommand(Context const& context, std::vector<std::string> const& operands, std::vector<Fd>& held);
// operands: "-d" FOLDER "-i" PATCH, then "-n" and "-C" at most once each.
Command patchCommand(Context const& context, std::vector<std::string> const& operands, std::vector<Fd>& held);

} // namespace Refloom::Helper
