#include "privileged/helper/allow_list.h"

#include <sys/stat.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <string_view>

#include "privileged/system_tools.h"

namespace Refloom {
namespace {

bool isPlainAbsolute(std::string_view path) {
    if (path.size() < 2 || path.front() != '/') return false;
    size_t start = 1;
    while (start <= path.size()) {
        size_t end = std::min(path.find('/', start), path.size());
        std::string_view part = path.substr(start, end - start);
        if (part.empty() || part == "." || part == "..") return false;
        start = end + 1;
    }
    return true;
}

} // namespace

bool isAllowedTool(std::string const& path, std::string const& resourceDir) {
    if (!isPlainAbsolute(path)) return false;
    auto tools = systemTools();
    if (std::find(tools.begin(), tools.end(), path) != tools.end()) return true;
    if (resourceDir.empty()) return false;
    char resolved[PATH_MAX];
    struct stat info;
    if (!realpath(path.c_str(), resolved) || ::stat(resolved, &info) != 0 || !S_ISREG(info.st_mode))
        return false;
    std::string_view real(resolved);
    return real.size() > resourceDir.size() + 1 && real.starts_with(resourceDir) &&
           real[resourceDir.size()] == '/';
}

} // namespace Refloom
