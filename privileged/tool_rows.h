// The file operations the program carries out through system tools, and each one's tool and
// argument pattern on this platform. Plain C++: the program maps an administrator retry back to
// its named operation through these same rows, and the privileged helper checks the operand
// count of a request against them; the helper then does the operation's work itself.
#pragma once

#include <optional>
#include <span>
#include <string_view>

namespace Refloom {

// The operations the privileged helper knows. The last two have no row: a resource script and
// the patch tool take arguments of their own, which the helper checks itself.
enum class FileTool : unsigned char {
    remove_folder,
    remove_file,
    rename,
    copy,
    unlock_file,
    unlock_dir,
    chmod,
    make_dir,
    sym_link,
    change_owner,       // hand one item to the administrator (the browser extension file)
    change_owner_tree,  // the same for a folder and everything in it
    extract_archive,    // a zip archive into a folder; never run with administrator rights
    run_script,
    run_patch,
};
inline constexpr int kFileToolCount = int(FileTool::run_patch) + 1;

// One row: the tool (a leading "@" names a file of the bundle's resource folder) and its
// arguments, where "{1}" and "{2}" stand for the operation's operands, as whole arguments.
// Every row puts "--" before its operands, so an operand never reads as an option.
struct ToolRow {
    FileTool operation;
    char const* tool;
    std::span<char const* const> arguments;
};

std::span<ToolRow const> toolRows();
// The row of an operation; none for the script and patch-tool operations.
std::optional<ToolRow> toolRow(FileTool operation);
// How many operands ("{1}", "{2}") the operation's row takes.
int operandCount(ToolRow const& row);
// "root:wheel" on the Mac: who owns what the administrator installs.
std::string_view adminOwner();

} // namespace Refloom
