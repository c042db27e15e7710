// The tool table of the Mac: the system's own tools, as the installer has always run them.
#include "privileged/tool_table.h"
#include "privileged/tool_arguments.h"

#include <array>

namespace Refloom {
namespace {

using namespace ToolArguments;

constexpr std::array<char const*, 2> kUnlockFile = {"nouchg", "{1}"};
constexpr std::array<char const*, 3> kUnlockDir = {"-R", "nouchg", "{1}"};

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
