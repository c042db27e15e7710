// The tool table of a Linux system. "ditto" becomes rf-ditto, a script of ours that merges into
// the destination, makes missing parents and keeps modes and times; clearing the lock flag
// ("chflags nouchg") becomes rf-unlock, which clears the immutable attribute, the lock flag's
// twin here, and passes links over. "mv -T" renames onto the destination itself, never into a
// folder (or a link to one) that happens to stand there. Archives are unpacked with unzip.
#include "privileged/tool_rows.h"
#include "privileged/tool_arguments.h"

#include <array>

namespace Refloom {
namespace {

using namespace ToolArguments;

constexpr std::array<char const*, 4> kRename = {"-T", "--", "{1}", "{2}"};
constexpr std::array<char const*, 2> kUnlockFile = {"--", "{1}"};
constexpr std::array<char const*, 3> kUnlockDir = {"-R", "--", "{1}"};
constexpr std::array<char const*, 3> kChangeOwner = {"--", "root:root", "{1}"};
constexpr std::array<char const*, 4> kChangeOwnerTree = {"-R", "--", "root:root", "{1}"};
constexpr std::array<char const*, 6> kExtractArchive = {"-q", "-o", "--", "{1}", "-d", "{2}"};

// clang-format off
constexpr std::array<ToolRow, 12> kRows = {{
    {FileTool::remove_folder,     "/bin/rm",        kRemoveFolder},
    {FileTool::remove_file,       "/bin/rm",        kRemoveFile},
    {FileTool::rename,            "/bin/mv",        kRename},
    {FileTool::copy,              "@rf-ditto",      kCopy},
    {FileTool::unlock_file,       "@rf-unlock",     kUnlockFile},
    {FileTool::unlock_dir,        "@rf-unlock",     kUnlockDir},
    {FileTool::chmod,             "/bin/chmod",     kChmod},
    {FileTool::make_dir,          "/bin/mkdir",     kMakeDir},
    {FileTool::sym_link,          "/bin/ln",        kSymLink},
    {FileTool::change_owner,      "/bin/chown",     kChangeOwner},
    {FileTool::change_owner_tree, "/bin/chown",     kChangeOwnerTree},
    {FileTool::extract_archive,   "/usr/bin/unzip", kExtractArchive},
}};
// clang-format on

} // namespace

std::span<ToolRow const> toolRows() { return kRows; }

std::string_view adminOwner() { return "root:root"; }

} // namespace Refloom
