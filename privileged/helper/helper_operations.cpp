#include "privileged/helper/helper_operations.h"

#include "privileged/helper/file_actions.h"
#include "privileged/helper/product_check.h"
#include "privileged/helper/resource_requests.h"
#include "privileged/helper/tool_launch.h"
#include "privileged/helper/tree_copy.h"

#include <algorithm>
#include <fcntl.h>
#include <unistd.h>
#include <vector>

namespace Refloom::Helper {
namespace {

using HelperProtocol::kDenied;
using Operands = std::vector<std::string>;

// A path the operation may change: in an install root, among a copy's own parts, or a shipped
// add-in in a folder where Word looks.
bool mayChange(Context const& c, std::string const& path, bool strictly) {
    return c.policy.inInstallRoots(path, strictly) || c.policy.isAddinTarget(path) ||
           isProductPart(c.policy, path, strictly);
}

Pinned pinOrRefuse(std::string const& path) {
    std::string why;
    std::optional<Pinned> pinned = pin(path, why);
    if (!pinned) throw Refusal{why};
    return std::move(*pinned);
}

Pinned pinChangeable(Context const& c, std::string const& path, bool strictly) {
    Pinned pinned = pinOrRefuse(path);
    if (!mayChange(c, pinned.path, strictly))
        throw Refusal{"outside what the helper may change: " + path};
    return pinned;
}

// An item changed as itself must be a folder or a file with one name, never a link.
void refuseUnlessOwnItem(Pinned const& item) {
    std::string why;
    if (!openOwnItem(item, why)) throw Refusal{why.substr(0, why.size() - 1)};
}

// Only the octal digits of a mode, and of them only the permission bits: no set-id or sticky
// bit is ever set with administrator rights.
mode_t permissionBits(std::string const& text) {
    bool const octal = !text.empty() && text.size() <= 4 &&
                       std::all_of(text.begin(), text.end(),
                                   [](char digit) { return digit >= '0' && digit <= '7'; });
    if (!octal) throw Refusal{"a mode is given in octal digits here: " + text};
    return mode_t(std::stoul(text, nullptr, 8) & 0777);
}

std::string nameOf(std::string const& path) {
    return path.substr(path.rfind('/') + 1);
}

Outcome finished(Done const& done) {
    return {0, done.ok ? 0 : 1, done.errors};
}

// Makes the folder and its missing parents one at a time, each inside its pinned parent, so a
// link planted where the next folder is to come is found, not followed. `made`, when given,
// receives the folders it made, outermost first.
Done makeFolders(Context const& c, std::string const& path,
                 std::vector<std::string>* made = nullptr) {
    if (!isCleanAbsolute(path)) throw Refusal{"not a plain absolute path: " + path};
    for (size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
        std::string const prefix = path.substr(0, end);
        bool const last = end == std::string::npos;
        Pinned const step = pinOrRefuse(prefix);
        if (!step.exists || last) {
            if (!mayChange(c, prefix, false) && !c.policy.leadsToInstallRoot(prefix))
                throw Refusal{"outside what the helper may change: " + prefix};
            if (made && !step.exists) made->push_back(prefix);
            Done folder = makeFolder(step);
            if (!folder.ok) return folder;
        }
        if (last) return {true, {}};
    }
}

// Removes the folders a request made, innermost first, as long as they are still empty.
void unmake(std::vector<std::string> const& made) {
    for (auto folder = made.rbegin(); folder != made.rend(); ++folder) {
        std::string why;
        std::optional<Pinned> pinned = pin(*folder, why);
        if (!pinned || unlinkat(pinned->parent.get(), pinned->name.c_str(), AT_REMOVEDIR) != 0)
            return;
    }
}

Outcome copy(Context const& c, std::string const& source, std::string const& destination) {
    if (!isCleanAbsolute(source)) throw Refusal{"not a plain absolute path: " + source};
    if (!isCleanAbsolute(destination)) throw Refusal{"not a plain absolute path: " + destination};
    // The destination's missing parents are made first, as ditto makes them, and taken away
    // again when nothing is copied into them.
    std::string const parent = destination.substr(0, destination.rfind('/'));
    std::vector<std::string> made;
    if (!parent.empty() && !pinOrRefuse(parent).exists) {
        Done folders = makeFolders(c, parent, &made);
        if (!folders.ok) return unmake(made), finished(folders);
    }
    CopyResult copied;
    try {
        copied = copyTree(source, pinChangeable(c, destination, true), c.user);
    } catch (Refusal const&) {
        unmake(made);
        throw;
    }
    if (!copied.done) unmake(made);
    // What the user may not read, or what no copy stands in for, is never copied: the policy's
    // refusal, not a failure of the copy.
    if (copied.unreadable)
        throw Refusal{"not copied: " + copied.errors.substr(0, copied.errors.find('\n'))};
    return finished({copied.done, copied.errors});
}

Outcome run(Context const& c, Command const& command, std::vector<Fd> const& held) {
    Launched const launched = launch(command, c, held);
    return {launched.started ? 0 : HelperProtocol::kExecuteFailed, launched.exitStatus,
            launched.output};
}

Outcome plan(Context const& c, HelperProtocol::Request const& request) {
    Operands const& in = request.operands;
    FileTool const operation = request.operation;
    bool const ownArguments = operation == FileTool::run_script || operation == FileTool::run_patch;
    if (in.empty() || (!ownArguments && in.size() != size_t(operandCount(*toolRow(operation)))))
        throw Refusal{"wrong number of operands"};

    switch (operation) {
    case FileTool::remove_folder:
        return finished(removeTree(pinChangeable(c, in[0], true)));
    case FileTool::remove_file:
        return finished(removeItem(pinChangeable(c, in[0], true)));
    case FileTool::rename: {
        Pinned const source = pinChangeable(c, in[0], true);
        Pinned const destination = pinChangeable(c, in[1], true);
        if (!source.exists) throw Refusal{"the source does not exist: " + source.path};
        return finished(renameItem(source, destination));
    }
    case FileTool::copy:
        return copy(c, in[0], in[1]);
    case FileTool::unlock_file:
    case FileTool::unlock_dir: {
        Pinned const item = pinChangeable(c, in[0], false);
        refuseUnlessOwnItem(item);
        return finished(unlockItem(item, operation == FileTool::unlock_dir));
    }
    case FileTool::chmod: {
        Pinned const item = pinChangeable(c, in[0], false);
        mode_t const mode = permissionBits(in[1]);
        refuseUnlessOwnItem(item);
        return finished(changeMode(item, mode));
    }
    case FileTool::change_owner:
    case FileTool::change_owner_tree: {
        Pinned const item = pinOrRefuse(in[0]);
        if (!c.policy.inOwnerRoots(item.path))
            throw Refusal{"not a folder whose owner the helper sets: " + in[0]};
        refuseUnlessOwnItem(item);
        return finished(giveToRoot(item, operation == FileTool::change_owner_tree));
    }
    case FileTool::make_dir:
        return finished(makeFolders(c, in[0]));
    case FileTool::sym_link: {
        if (!isCleanAbsolute(in[0]) || !mayChange(c, in[0], false))
            throw Refusal{"a link may only point at what the helper may change"};
        Pinned const at = pinChangeable(c, in[1], true);
        std::string const name = nameOf(in[0]);
        if (at.isFolder() && !mayChange(c, at.path + "/" + name, true))
            throw Refusal{"outside what the helper may change: " + in[1]};
        return finished(makeLink(in[0], at, name));
    }
    case FileTool::extract_archive:
        throw Refusal{"archives are unpacked with the user's own rights only"};
    case FileTool::run_script: {
        std::vector<Fd> held;
        Command const command = scriptCommand(c, in, held);
        return run(c, command, held);
    }
    case FileTool::run_patch: {
        std::vector<Fd> held;
        Command const command = patchCommand(c, in, held);
        return run(c, command, held);
    }
    }
    throw Refusal{"unknown operation"};
}

} // namespace

Outcome carryOut(Context const& context, HelperProtocol::Request const& request) {
    try {
        return plan(context, request);
    } catch (Refusal const& refusal) {
        return {kDenied, 1, "refused: " + refusal.why + "\n"};
    }
}

} // namespace Refloom::Helper
