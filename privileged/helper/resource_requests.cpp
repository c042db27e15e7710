#include "privileged/helper/resource_requests.h"

#include <fcntl.h>
#include <openssl/evp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <memory>

#include "privileged/helper/product_check.h"
#include "privileged/helper/tree_walk.h"

namespace Refloom::Helper {
namespace {

// The file's SHA-256 in lower-case hex, read through the descriptor that will be run.
std::string sha256Of(int fd) {
    std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    if (!context || EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1) return {};
    char buffer[65536];
    off_t at = 0;
    for (ssize_t n; (n = pread(fd, buffer, sizeof buffer, at)) != 0; at += n)
        if (n < 0 || EVP_DigestUpdate(context.get(), buffer, size_t(n)) != 1) return {};
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int size = 0;
    if (EVP_DigestFinal_ex(context.get(), digest, &size) != 1) return {};
    static char const hex[] = "0123456789abcdef";
    std::string text;
    for (unsigned int i = 0; i < size; ++i) text += {hex[digest[i] >> 4], hex[digest[i] & 15]};
    return text;
}

// Nobody but root may change a folder it owns and alone may write.
bool rootsAlone(struct stat const& info) { return info.st_uid == 0 && (info.st_mode & (S_IWGRP | S_IWOTH)) == 0; }

// True when nobody but root may change the copy: its folder, the folder that holds it and
// every folder inside it are root's alone, so no name in it can be swapped while a tool walks
// it by path. Files may be anyone's: their content is checked before it is used.
bool onlyRootMayChange(Pinned const& folder) {
    struct stat info;
    if (fstat(folder.parent.get(), &info) != 0 || !rootsAlone(info)) return false;
    Fd const opened = openFolder(folder.parent.get(), folder.name);
    if (!opened || fstat(opened.get(), &info) != 0 || !rootsAlone(info)) return false;
    std::string ignored;
    return walkBelow(opened.get(), folder.path, [](int, std::string const&, struct stat const& entry, std::string const&) {
        return !S_ISDIR(entry.st_mode) || rootsAlone(entry);
    }, ignored);
}

} // namespace

Command scriptCommand(Context const& c, std::vector<std::string> const& operands, std::vector<Fd>& held) {
    std::string const& name = operands.front();
    auto listed = c.policy.file().scripts.find(name);
    if (name.find('/') != std::string::npos || listed == c.policy.file().scripts.end())
        throw Refusal{"not a script the bundle lists: " + name};
    Fd script = openResource(c, name, O_RDONLY);
    if (sha256Of(script.get()) != listed->second) throw Refusal{"the script is not the one the bundle lists: " + name};
    // Run as opened: the interpreter reads the very file that was hashed.
    Command command;
    command.tool = descriptorPath(script.get());
    command.arguments.assign(operands.begin() + 1, operands.end());
    held.push_back(std::move(script));
    return command;
}

Command patchCommand(Context const& c, std::vector<std::string> const& in, std::vector<Fd>& held) {
    if (in.size() < 4 || in[0] != "-d" || in[2] != "-i") throw Refusal{"the patch tool takes -d FOLDER -i PATCH"};
    std::vector<std::string> flags(in.begin() + 4, in.end());
    for (std::string const& flag : flags)
        if ((flag != "-n" && flag != "-C") || std::count(flags.begin(), flags.end(), flag) > 1)
            throw Refusal{"not an option of the patch tool the helper passes: " + flag};

    // Only the bundle's own patch, however the program named its path.
    Fd patch = openResource(c, kPatchFile, O_RDONLY);
    struct stat own, named;
    if (fstat(patch.get(), &own) != 0 || ::stat(in[3].c_str(), &named) != 0 || own.st_dev != named.st_dev ||
        own.st_ino != named.st_ino)
        throw Refusal{"not the bundle's own patch: " + in[3]};

    std::string why;
    std::optional<Pinned> folder = pin(in[1], why);
    if (!folder) throw Refusal{why};
    if (!c.policy.inApplicationFolders(folder->path) || !holdsProduct(c.policy.file(), folder->path))
        throw Refusal{"not a folder that holds a copy of the product: " + in[1]};

    // A copy that someone else may change is patched with the user's rights, never root's: the
    // tool walks it by path.
    Command command;
    command.tool = HelperProtocol::kPatchTool;
    command.fromResources = true;
    command.arguments = {"-d", folder->byName(), "-i", descriptorPath(patch.get())};
    command.asUser = !onlyRootMayChange(*folder);
    command.shownAs = {{command.arguments[1], in[1]}, {command.arguments[3], in[3]}};
    command.arguments.insert(command.arguments.end(), flags.begin(), flags.end());
    held.push_back(std::move(folder->parent));
    held.push_back(std::move(patch));
    return command;
}

} // namespace Refloom::Helper
