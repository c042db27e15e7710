#include "privileged/system_tools.h"

#include <array>

namespace Refloom {

std::span<char const* const> systemTools() {
    static constexpr std::array<char const*, 9> kTools = {
        "/bin/rm",    "/bin/mv", "/bin/cp",    "/bin/chmod",       "/bin/mkdir",
        "/bin/ln",    "/bin/chown", "/usr/bin/ditto", "/usr/bin/chflags",
    };
    return kTools;
}

} // namespace Refloom
