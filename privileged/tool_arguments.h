// Argument patterns the platforms' tool tables share: "{1}" and "{2}" stand for operands.
#pragma once

#include <array>

namespace Refloom::ToolArguments {

inline constexpr std::array<char const*, 2> kRemoveFolder = {"-rf", "{1}"};
inline constexpr std::array<char const*, 2> kRemoveFile = {"-f", "{1}"};
inline constexpr std::array<char const*, 2> kRename = {"{1}", "{2}"};
inline constexpr std::array<char const*, 3> kCopy = {"-rsrcFork", "{1}", "{2}"};
inline constexpr std::array<char const*, 2> kChmod = {"{2}", "{1}"};
inline constexpr std::array<char const*, 2> kMakeDir = {"-p", "{1}"};
inline constexpr std::array<char const*, 3> kSymLink = {"-s", "{1}", "{2}"};

} // namespace Refloom::ToolArguments
