#include "privileged/helper/tree_walk.h"

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace Refloom::Helper {
namespace {

bool walk(int folder, dev_t device, std::string const& shown, Visit const& visit,
          std::string& errors, int depth) {
    if (depth > kMaxTreeDepth) {
        errors += shown + ": folders nested too deep\n";
        return false;
    }
    bool ok = true;
    for (std::string const& name : namesIn(folder)) {
        std::string const path = shown + "/" + name;
        struct stat info;
        if (fstatat(folder, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) {
            if (errno != ENOENT) ok = false, errors += failure(path, "cannot look at it");
            continue;
        }
        if (S_ISDIR(info.st_mode)) {
            Fd const inner = openFolder(folder, name);
            struct stat opened;
            if (!inner || fstat(inner.get(), &opened) != 0) {
                ok = false, errors += failure(path, "cannot open it");
                continue;
            }
            if (opened.st_dev != device) {
                ok = false, errors += path + ": another file system is mounted there; left alone\n";
                continue;
            }
            ok = walk(inner.get(), device, path, visit, errors, depth + 1) && ok;
            info = opened; // what was walked, whatever stands at the name now
        }
        ok = visit(folder, name, info, path) && ok;
    }
    return ok;
}

} // namespace

std::string failure(std::string const& shown, std::string const& what) {
    return shown + ": " + what + ": " + std::strerror(errno) + "\n";
}

Fd openFolder(int parent, std::string const& name) {
    return Fd(openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

bool onSameFileSystem(int outer, int inner) {
    struct stat a, b;
    return fstat(outer, &a) == 0 && fstat(inner, &b) == 0 && a.st_dev == b.st_dev;
}

std::vector<std::string> namesIn(int folder) {
    std::vector<std::string> names;
    int const copy = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    std::unique_ptr<DIR, int (*)(DIR*)> listing(copy >= 0 ? fdopendir(copy) : nullptr, closedir);
    if (!listing) {
        if (copy >= 0) close(copy);
        return names;
    }
    while (dirent const* entry = readdir(listing.get())) {
        std::string const name = entry->d_name;
        if (name != "." && name != "..") names.push_back(name);
    }
    return names;
}

bool walkBelow(int folder, std::string const& shown, Visit const& visit, std::string& errors) {
    struct stat info;
    if (fstat(folder, &info) != 0) {
        errors += failure(shown, "cannot look at it");
        return false;
    }
    return walk(folder, info.st_dev, shown, visit, errors, 0);
}

bool removeEntry(int parent, std::string const& name, std::string const& shown,
                 std::string& errors) {
    struct stat info;
    if (fstatat(parent, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno == ENOENT) return true;
        errors += failure(shown, "cannot look at it");
        return false;
    }
    bool ok = true;
    if (S_ISDIR(info.st_mode)) {
        Fd const folder = openFolder(parent, name);
        if (!folder) {
            errors += failure(shown, "cannot open it");
            return false;
        }
        if (!onSameFileSystem(parent, folder.get())) {
            errors += shown + ": another file system is mounted there; left alone\n";
            return false;
        }
        ok = walkBelow(
            folder.get(), shown,
            [&](int inner, std::string const& entry, struct stat const& item,
                std::string const& path) {
                if (unlinkat(inner, entry.c_str(), S_ISDIR(item.st_mode) ? AT_REMOVEDIR : 0) == 0 ||
                    errno == ENOENT)
                    return true;
                errors += failure(path, "cannot remove it");
                return false;
            },
            errors);
    }
    if (unlinkat(parent, name.c_str(), S_ISDIR(info.st_mode) ? AT_REMOVEDIR : 0) != 0 &&
        errno != ENOENT) {
        if (ok) errors += failure(shown, "cannot remove it");
        return false;
    }
    return ok;
}

} // namespace Refloom::Helper
