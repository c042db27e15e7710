#include "privileged/helper/file_actions.h"

#include "privileged/helper/tree_walk.h"

#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace Refloom::Helper {
namespace {

Done outcome(bool ok, std::string errors = {}) {
    return {ok, std::move(errors)};
}

Done failed(Pinned const& item, std::string const& what) {
    return {false, failure(item.path, what)};
}

// The entry `name` of `folder` opened as itself, with its status; none for a missing entry.
Fd openEntry(int folder, std::string const& name, struct stat& info) {
    Fd fd(openat(folder, name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (fd && fstat(fd.get(), &info) != 0) fd = Fd();
    return fd;
}

// Clears the immutable attribute of the item opened as `item` (O_PATH); a file system that
// keeps no such attribute has nothing to clear.
bool unlockOpened(int item, std::string const& shown, std::string& errors) {
    Fd const opened(
        open(descriptorPath(item).c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    int flags = 0;
    if (!opened || ioctl(opened.get(), FS_IOC_GETFLAGS, &flags) != 0) {
        if (opened && (errno == ENOTTY || errno == EOPNOTSUPP || errno == EINVAL)) return true;
        errors += failure(shown, "cannot read its flags");
        return false;
    }
    if ((flags & FS_IMMUTABLE_FL) == 0) return true;
    flags &= ~FS_IMMUTABLE_FL;
    if (ioctl(opened.get(), FS_IOC_SETFLAGS, &flags) == 0) return true;
    errors += failure(shown, "cannot clear its lock");
    return false;
}

// Why an item may not be changed as itself, or nothing when it may.
std::string notOwnItem(struct stat const& info, std::string const& shown) {
    if (S_ISLNK(info.st_mode))
        return shown + ": a link, which is never followed with administrator rights\n";
    if (S_ISREG(info.st_mode) && info.st_nlink != 1)
        return shown +
               ": a file with more than one name (a hard link), which may be anything anywhere\n";
    if (!S_ISREG(info.st_mode) && !S_ISDIR(info.st_mode))
        return shown + ": neither a file nor a folder\n";
    return {};
}

std::string notRoots(struct stat const& info, std::string const& shown) {
    if (info.st_uid == 0) return {};
    return shown + ": belongs to user " + std::to_string(info.st_uid) +
           "; nobody's item is handed to root\n";
}

bool chownToRoot(int item, std::string const& shown, std::string& errors) {
    if (fchownat(item, "", 0, 0, AT_EMPTY_PATH | AT_SYMLINK_NOFOLLOW) == 0) return true;
    errors += failure(shown, "cannot change its owner");
    return false;
}

// A change made to an item and, for a tree, to every entry below it first (so a locked folder's
// entries are freed before the folder itself). An entry is passed over, refused with the reason
// given, or changed by `act` through a descriptor of its own.
struct TreeChange {
    std::function<bool(struct stat const&)> passOver;
    std::function<std::string(struct stat const&, std::string const&)> refusal;
    std::function<bool(int item, std::string const& shown, std::string& errors)> act;
};

Done changeItem(Pinned const& item, bool tree, TreeChange const& how) {
    std::string errors;
    std::optional<Fd> fd = openOwnItem(item, errors);
    struct stat info;
    if (!fd || fstat(fd->get(), &info) != 0) return outcome(false, errors);
    errors = how.refusal(info, item.path);
    if (!errors.empty()) return outcome(false, errors);
    bool ok = true;
    if (tree && S_ISDIR(info.st_mode)) {
        Fd const folder = openFolder(item.parent.get(), item.name);
        if (!folder) return failed(item, "cannot open it");
        if (!onSameFileSystem(item.parent.get(), folder.get()))
            return outcome(false,
                           item.path + ": another file system is mounted there; left alone\n");
        ok = walkBelow(
            folder.get(), item.path,
            [&](int parent, std::string const& name, struct stat const&, std::string const& shown) {
                struct stat entryInfo;
                Fd const entry = openEntry(parent, name, entryInfo);
                if (!entry || how.passOver(entryInfo))
                    return true; // gone meanwhile, or nothing to change
                std::string const why = how.refusal(entryInfo, shown);
                if (!why.empty()) {
                    errors += why;
                    return false;
                }
                return how.act(entry.get(), shown, errors);
            },
            errors);
    }
    ok = how.act(fd->get(), item.path, errors) && ok;
    return outcome(ok, errors);
}

} // namespace

std::optional<Fd> openOwnItem(Pinned const& item, std::string& why) {
    struct stat info;
    Fd fd = openEntry(item.parent.get(), item.name, info);
    if (!fd) {
        why = failure(item.path, "cannot open it");
        return std::nullopt;
    }
    why = notOwnItem(info, item.path);
    if (!why.empty()) return std::nullopt;
    return fd;
}

Done removeItem(Pinned const& item) {
    struct stat info;
    if (fstatat(item.parent.get(), item.name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT ? outcome(true) : failed(item, "cannot look at it");
    if (S_ISDIR(info.st_mode)) return outcome(false, item.path + ": is a folder\n");
    if (unlinkat(item.parent.get(), item.name.c_str(), 0) == 0 || errno == ENOENT)
        return outcome(true);
    return failed(item, "cannot remove it");
}

Done removeTree(Pinned const& item) {
    std::string errors;
    bool const ok = removeEntry(item.parent.get(), item.name, item.path, errors);
    return outcome(ok, errors);
}

Done renameItem(Pinned const& source, Pinned const& destination) {
    if (renameat(source.parent.get(), source.name.c_str(), destination.parent.get(),
                 destination.name.c_str()) == 0)
        return outcome(true);
    return failed(source, "cannot rename it to " + destination.path);
}

Done unlockItem(Pinned const& item, bool tree) {
    return changeItem(item, tree,
                      {[](struct stat const& info) {
                           return S_ISLNK(info.st_mode) ||
                                  (!S_ISREG(info.st_mode) && !S_ISDIR(info.st_mode));
                       },
                       notOwnItem, unlockOpened});
}

Done changeMode(Pinned const& item, mode_t mode) {
    std::string why;
    std::optional<Fd> fd = openOwnItem(item, why);
    if (!fd) return outcome(false, why);
    // An item opened as itself (O_PATH) takes a mode through its descriptor's path.
    if (fchmodat(AT_FDCWD, descriptorPath(fd->get()).c_str(), mode & 0777, 0) == 0)
        return outcome(true);
    return failed(item, "cannot change its mode");
}

Done giveToRoot(Pinned const& item, bool tree) {
    // A link's owner is its own; anything else must be a folder or a file with one name.
    auto const refusal = [](struct stat const& info, std::string const& shown) {
        return (S_ISLNK(info.st_mode) ? std::string() : notOwnItem(info, shown)) +
               notRoots(info, shown);
    };
    return changeItem(item, tree, {[](struct stat const&) { return false; }, refusal, chownToRoot});
}

Done makeLink(std::string const& target, Pinned const& at, std::string const& nameInFolder) {
    if (at.isFolder()) {
        Fd const folder = openFolder(at.parent.get(), at.name);
        if (!folder) return failed(at, "cannot open it");
        if (symlinkat(target.c_str(), folder.get(), nameInFolder.c_str()) == 0)
            return outcome(true);
        return failed(at, "cannot make the link " + nameInFolder + " in it");
    }
    if (symlinkat(target.c_str(), at.parent.get(), at.name.c_str()) == 0) return outcome(true);
    return failed(at, "cannot make the link");
}

Done makeFolder(Pinned const& item) {
    if (mkdirat(item.parent.get(), item.name.c_str(), 0755) == 0) return outcome(true);
    struct stat info;
    if (errno == EEXIST &&
        fstatat(item.parent.get(), item.name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0 &&
        S_ISDIR(info.st_mode))
        return outcome(true);
    return failed(item, "cannot make the folder");
}

} // namespace Refloom::Helper
