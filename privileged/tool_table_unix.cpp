// The tool table of a Linux system. "ditto" becomes rf-ditto, a script of ours that merges into
// the destination, makes missing parents and keeps modes and times; clearing the lock flag
// ("chflags nouchg") becomes clearing the immutable attribute, the lock flag's twin here.
#include "privileged/tool_table.h"

#include <array>

namespace Refloom {
namespace {

constexpr std::array<char const*, 2> kRemoveFolder = {"-rf", "{1}"};
constexpr std::array<char const*, 2> kRemoveFile = {"-f", "{1}"};
constexpr std::array<char const*, 2> kRename = {"{1}", "{2}"};
constexpr std::array<char const*, 3> kCopy = {"-rsrcFork", "{1}", "{2}"};
constexpr std::array<char const*, 2> kUnlockFile = {"-i", "{1}"};
constexpr std::array<char const*, 3> kUnlockDir = {"-R", "-i", "{1}"};
constexpr std::array<char const*, 2> kChmod = {"{2}", "{1}"};
constexpr std::array<char const*, 2> kMakeDir = {"-p", "{1}"};
constexpr std::array<char const*, 3> kSymLink = {"-s", "{1}", "{2}"};

// clang-format off
constexpr std::array<ToolRow, 9> kRows = {{
    {FileTool::remove_folder, "/bin/rm",         kRemoveFolder},
    {FileTool::remove_file,   "/bin/rm",         kRemoveFile},
    {FileTool::rename,        "/bin/mv",         kRename},
    {FileTool::copy,          "@rf-ditto",       kCopy},
    {FileTool::unlock_file,   "/usr/bin/chattr", kUnlockFile},
    {FileTool::unlock_dir,    "/usr/bin/chattr", kUnlockDir},
    {FileTool::chmod,         "/bin/chmod",      kChmod},
    {FileTool::make_dir,      "/bin/mkdir",      kMakeDir},
    {FileTool::sym_link,      "/bin/ln",         kSymLink},
}};
// clang-format on

} // namespace

std::span<ToolRow const> ToolTable::rows() { return kRows; }

QString ToolTable::adminGroup() { return QStringLiteral("root"); }

} // namespace Refloom
