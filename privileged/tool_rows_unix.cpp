// The tool table of a Linux system. "ditto" becomes rf-ditto, a script of ours that merges into
// the destination, makes missing parents and keeps modes and times; clearing the lock flag
// ("chflags nouchg") becomes clearing the immutable attribute, the lock flag's twin here.
#include "privileged/tool_table.h"
#include "privileged/tool_arguments.h"

#include <array>

namespace Refloom {
namespace {

using namespace ToolArguments;

constexpr std::array<char const*, 2> kUnlockFile = {"-i", "{1}"};
constexpr std::array<char const*, 3> kUnlockDir = {"-R", "-i", "{1}"};

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
