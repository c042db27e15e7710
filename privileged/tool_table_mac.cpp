// The tool table of the Mac: the system's own tools, as the installer has always run them.
#include "privileged/tool_table.h"

#include <array>

namespace Refloom {
namespace {

constexpr std::array<char const*, 2> kRemoveFolder = {"-rf", "{1}"};
constexpr std::array<char const*, 2> kRemoveFile = {"-f", "{1}"};
constexpr std::array<char const*, 2> kRename = {"{1}", "{2}"};
constexpr std::array<char const*, 3> kCopy = {"-rsrcFork", "{1}", "{2}"};
constexpr std::array<char const*, 2> kUnlockFile = {"nouchg", "{1}"};
constexpr std::array<char const*, 3> kUnlockDir = {"-R", "nouchg", "{1}"};
constexpr std::array<char const*, 2> kChmod = {"{2}", "{1}"};
constexpr std::array<char const*, 2> kMakeDir = {"-p", "{1}"};
constexpr std::array<char const*, 3> kSymLink = {"-s", "{1}", "{2}"};

// clang-format off
constexpr std::array<ToolRow, 9> kRows = {{
    {FileTool::remove_folder, "/bin/rm",          kRemoveFolder},
    {FileTool::remove_file,   "/bin/rm",          kRemoveFile},
    {FileTool::rename,        "/bin/mv",          kRename},
    {FileTool::copy,          "/usr/bin/ditto",   kCopy},
    {FileTool::unlock_file,   "/usr/bin/chflags", kUnlockFile},
    {FileTool::unlock_dir,    "/usr/bin/chflags", kUnlockDir},
    {FileTool::chmod,         "/bin/chmod",       kChmod},
    {FileTool::make_dir,      "/bin/mkdir",       kMakeDir},
    {FileTool::sym_link,      "/bin/ln",          kSymLink},
}};
// clang-format on

} // namespace

std::span<ToolRow const> ToolTable::rows() { return kRows; }

QString ToolTable::adminGroup() { return QStringLiteral("wheel"); }

} // namespace Refloom
