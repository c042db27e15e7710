#include "privileged/helper/helper_operations.h"

#include <utility>
#include <vector>

#include "privileged/helper/product_check.h"
#include "privileged/helper/resource_requests.h"
#include "privileged/helper/tool_launch.h"

namespace Refloom::Helper {
namespace {

using HelperProtocol::kDenied;

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
    if (!mayChange(c, pinned.path, strictly)) throw Refusal{"outside what the helper may change: " + path};
    return pinned;
}

Fd openOrRefuse(Pinned const& item) {
    std::string why;
    std::optional<Fd> fd = openItem(item, why);
    if (!fd) throw Refusal{why};
    return std::move(*fd);
}

// The row's arguments with its operands in place.
Command fromRow(FileTool operation, std::vector<std::string> const& operands) {
    ToolRow const row = *toolRow(operation);
    Command command;
    std::string const tool = row.tool;
    command.tool = tool.front() == '@' ? tool.substr(1) : tool;
    command.fromResources = tool.front() == '@';
    for (std::string_view argument : row.arguments)
        command.arguments.push_back(argument == "{1}"   ? operands.at(0)
                                    : argument == "{2}" ? operands.at(1)
                                                        : std::string(argument));
    return command;
}

// A copy's source: the program's own resources, what the user owns, or what may be changed.
void checkSource(Context const& c, Pinned const& source) {
    if (!source.exists) throw Refusal{"the source does not exist: " + source.path};
    bool const trusted = isWithin(source.path, c.resources, true) || source.info.st_uid == c.user ||
                         mayChange(c, source.path, false);
    if (!trusted) throw Refusal{"not a source the helper copies from: " + source.path};
}

Command plan(Context const& c, HelperProtocol::Request const& request, std::vector<Fd>& held) {
    auto const& in = request.operands;
    size_t const expected = request.operation == FileTool::run_script || request.operation == FileTool::run_patch
                                ? in.size()
                                : size_t(operandCount(*toolRow(request.operation)));
    if (in.size() != expected || in.empty()) throw Refusal{"wrong number of operands"};
    auto keep = [&held](Fd fd) {
        held.push_back(std::move(fd));
        return held.back().get();
    };
    auto byName = [&](Pinned&& item) {
        std::string const path = item.byName();
        keep(std::move(item.parent));
        return path;
    };
    auto itself = [&](Pinned const& item) { return descriptorPath(keep(openOrRefuse(item))); };

    switch (request.operation) {
    case FileTool::remove_folder:
    case FileTool::remove_file:
        return fromRow(request.operation, {byName(pinChangeable(c, in[0], true))});
    case FileTool::rename: {
        Pinned source = pinChangeable(c, in[0], true);
        Pinned destination = pinChangeable(c, in[1], true);
        if (!source.exists) throw Refusal{"the source does not exist: " + source.path};
        return fromRow(request.operation, {byName(std::move(source)), byName(std::move(destination))});
    }
    case FileTool::copy: {
        Pinned source = pinOrRefuse(in[0]);
        checkSource(c, source);
        Pinned destination = pinChangeable(c, in[1], true);
        // A file copied onto a folder goes into it: that folder is pinned here, so the copy
        // itself only ever writes a name that a link cannot redirect.
        std::string target = destination.isFolder() && !source.isFolder()
                                 ? itself(destination) + "/" + source.name
                                 : byName(std::move(destination));
        return fromRow(request.operation, {byName(std::move(source)), target});
    }
    case FileTool::unlock_file:
    case FileTool::unlock_dir:
    case FileTool::chmod: {
        Pinned item = pinChangeable(c, in[0], false);
        std::vector<std::string> operands{itself(item)};
        if (request.operation == FileTool::chmod) operands.push_back(in[1]);
        return fromRow(request.operation, operands);
    }
    case FileTool::change_owner:
    case FileTool::change_owner_tree: {
        Pinned item = pinOrRefuse(in[0]);
        if (!c.policy.inOwnerRoots(item.path)) throw Refusal{"not a folder whose owner the helper sets: " + in[0]};
        if (item.isLink()) throw Refusal{"a link is never followed with administrator rights: " + in[0]};
        // A walk must start from the folder by name: "chown -R" never enters a link, and the
        // descriptor path of the folder itself is one.
        return fromRow(request.operation, {request.operation == FileTool::change_owner_tree ? byName(std::move(item)) : itself(item)});
    }
    case FileTool::make_dir:
        break;  // made folder by folder as it goes: see makeFolders
    case FileTool::extract_archive:
        throw Refusal{"archives are unpacked with the user's own rights only"};
    case FileTool::sym_link: {
        if (!isCleanAbsolute(in[0]) || !mayChange(c, in[0], false)) throw Refusal{"a link may only point at what the helper may change"};
        return fromRow(request.operation, {in[0], byName(pinChangeable(c, in[1], true))});
    }
    case FileTool::run_script:
        return scriptCommand(c, in, held);
    case FileTool::run_patch:
        return patchCommand(c, in, held);
    }
    throw Refusal{"unknown operation"};
}

// Makes the folder and its missing parents one at a time, each inside its pinned parent, so a
// link planted where the next folder is to come is found, not followed.
Outcome makeFolders(Context const& c, std::string const& path) {
    if (!isCleanAbsolute(path)) throw Refusal{"not a plain absolute path: " + path};
    Outcome outcome{0, {}};
    for (size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
        std::string const prefix = path.substr(0, end);
        bool const last = end == std::string::npos;
        Pinned step = pinOrRefuse(prefix);
        if (!step.exists || last) {
            if (!mayChange(c, prefix, false) && !c.policy.leadsToInstallRoot(prefix))
                throw Refusal{"outside what the helper may change: " + prefix};
            std::vector<Fd> held;
            std::string const target = step.byName();
            held.push_back(std::move(step.parent));
            Launched launched = launch(fromRow(FileTool::make_dir, {target}), c, held);
            outcome.output += launched.output;
            if (!launched.started) return {launched.status, outcome.output};
        }
        if (last) return outcome;
    }
}

} // namespace

Outcome carryOut(Context const& context, HelperProtocol::Request const& request) {
    try {
        if (request.operation == FileTool::make_dir) {
            if (request.operands.size() != 1) throw Refusal{"wrong number of operands"};
            return makeFolders(context, request.operands[0]);
        }
        std::vector<Fd> held;
        Command const command = plan(context, request, held);
        Launched launched = launch(command, context, held);
        return {launched.status, launched.output};
    } catch (Refusal const& refusal) {
        return {kDenied, "refused: " + refusal.why + "\n"};
    }
}

} // namespace Refloom::Helper
