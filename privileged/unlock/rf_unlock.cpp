// rf-unlock: clears the lock flag, the immutable attribute here, as the Mac's "chflags nouchg"
// clears the user-immutable flag.
//   rf-unlock [-R] [--] PATH
// The item itself is reached as named (a link there is followed, as chflags does); below it
// with -R, links are passed over, never followed, and so are items of a file system that keeps
// no such flag: there is nothing to clear on them. Exits 1 when a flag could not be cleared.
#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

bool unlockFd(int fd, std::string const& shown) {
    int flags = 0;
    if (ioctl(fd, FS_IOC_GETFLAGS, &flags) != 0)
        return errno == ENOTTY || errno == EOPNOTSUPP || errno == EINVAL;  // keeps no flags
    if ((flags & FS_IMMUTABLE_FL) == 0) return true;
    flags &= ~FS_IMMUTABLE_FL;
    if (ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0) return true;
    std::fprintf(stderr, "rf-unlock: %s: %s\n", shown.c_str(), std::strerror(errno));
    return false;
}

// Children first, so a locked folder's entries are freed before the folder itself.
bool unlockTree(int folder, std::string const& shown) {
    int listingFd = dup(folder);
    DIR* listing = listingFd >= 0 ? fdopendir(listingFd) : nullptr;
    if (!listing) {
        if (listingFd >= 0) close(listingFd);
        std::fprintf(stderr, "rf-unlock: %s: %s\n", shown.c_str(), std::strerror(errno));
        return false;
    }
    bool ok = true;
    while (dirent* entry = readdir(listing)) {
        std::string const name = entry->d_name;
        if (name == "." || name == "..") continue;
        // O_NOFOLLOW: a link is refused by the open itself, so nothing swapped in can be followed.
        int child = openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (child < 0) {
            if (errno != ELOOP && errno != ENXIO) ok = false;  // a link or a socket: nothing to do
            continue;
        }
        struct stat info;
        bool const isFolder = fstat(child, &info) == 0 && S_ISDIR(info.st_mode);
        if (isFolder) ok = unlockTree(child, shown + "/" + name) && ok;
        ok = unlockFd(child, shown + "/" + name) && ok;
        close(child);
    }
    closedir(listing);
    return ok;
}

} // namespace

int main(int argc, char** argv) {
    bool recursive = false;
    int i = 1;
    for (; i < argc && argv[i][0] == '-'; ++i) {
        std::string const option = argv[i];
        if (option == "--") {
            ++i;
            break;
        }
        if (option != "-R") {
            std::fprintf(stderr, "usage: rf-unlock [-R] [--] PATH\n");
            return 2;
        }
        recursive = true;
    }
    if (i + 1 != argc) {
        std::fprintf(stderr, "usage: rf-unlock [-R] [--] PATH\n");
        return 2;
    }
    std::string const path = argv[i];
    int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        std::fprintf(stderr, "rf-unlock: %s: %s\n", path.c_str(), std::strerror(errno));
        return 1;
    }
    struct stat info;
    bool ok = true;
    if (recursive && fstat(fd, &info) == 0 && S_ISDIR(info.st_mode)) ok = unlockTree(fd, path);
    ok = unlockFd(fd, path) && ok;
    close(fd);
    return ok ? 0 : 1;
}
