// What the privileged helper agrees to run: a system tool of the table, named by its exact
// absolute path, or a regular file that really lies inside the program's resource folder.
#pragma once

#include <string>

namespace Refloom {

// `resourceDir` is the resolved resource folder, empty when there is none. Relative paths,
// paths with empty, "." or ".." components, and paths that lead out of the resource folder
// through a link are refused.
bool isAllowedTool(std::string const& path, std::string const& resourceDir);

} // namespace Refloom
