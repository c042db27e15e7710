// The tool table of the Mac: the system's own tools, as the installer has always run them,
// with "--" before the operands.
#include "privileged/tool_rows.h"
#include "privileged/tool_arguments.h"

#include <array>

namespace Refloom {
namespace {

using namespace ToolArguments;

constexpr std::array<char const*, 3> kRename = {"--", "{1}", "{2}"};
constexpr std::array<char const*, 3> kUnlockFile = {"--", "nouchg", "{1}"};
constexpr std::array<char const*, 4> kUnlockDir = {"-R", "--", "nouchg", "{1}"};
constexpr std::array<char const*, 3> kChangeOwner = {"--", "root:wheel", "{1}"};
constexpr std::array<char const*, 4> kChangeOwnerTree = {"-R", "--", "root:wheel", "{1}"};
constexpr std::array<char const*, 5> kExtractArchive = {"-xk", "--noqtn", "--", "{1}", "{2}"};

// clang-format off
constexpr std::array<ToolRow, 12> kRows = {{
    {FileTool::remove_folder,     "/bin/rm",          kRemoveFolder},
    {FileTool::remove_file,       "/bin/rm",          kRemoveFile},
    {FileTool::rename,            "/bin/mv",          kRename},
    {FileTool::copy,              "/usr/bin/ditto",   kCopy},
    {FileTool::unlock_file,       "/usr/bin/chflags", kUnlockFile},
    {FileTool::unlock_dir,        "/usr/bin/chflags", kUnlockDir},
    {FileTool::chmod,             "/bin/chmod",       kChmod},
    {FileTool::make_dir,          "/bin/mkdir",       kMakeDir},
    {FileTool::sym_link,          "/bin/ln",          kSymLink},
    {FileTool::change_owner,      "/bin/chown",       kChangeOwner},
    {FileTool::change_owner_tree, "/bin/chown",       kChangeOwnerTree},
    {FileTool::extract_archive,   "/usr/bin/ditto",   kExtractArchive},
}};
// clang-format on

} // namespace

std::span<ToolRow const> toolRows() { return kRows; }

std::string_view adminOwner() { return "root:wheel"; }

} // namespace Refloom
