// Argument patterns both platforms' tool rows share: "{1}" and "{2}" stand for operands, and
// "--" comes before them.
#pragma once

#include <array>

namespace Refloom::ToolArguments {

inline constexpr std::array<char const*, 3> kRemoveFolder = {"-rf", "--", "{1}"};
inline constexpr std::array<char const*, 3> kRemoveFile = {"-f", "--", "{1}"};
inline constexpr std::array<char const*, 4> kCopy = {"-rsrcFork", "--", "{1}", "{2}"};
inline constexpr std::array<char const*, 3> kChmod = {"--", "{2}", "{1}"};
inline constexpr std::array<char const*, 3> kMakeDir = {"-p", "--", "{1}"};
inline constexpr std::array<char const*, 4> kSymLink = {"-s", "--", "{1}", "{2}"};

} // namespace Refloom::ToolArguments
