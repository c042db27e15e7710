// The system tools the program runs to change files, by absolute path. They are the only tools
// besides the files of its own resource folder that the privileged helper will run.
#pragma once

#include <span>

namespace Refloom {

std::span<char const* const> systemTools();

} // namespace Refloom
