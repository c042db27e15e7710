#include "cp/native_files.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <vector>

namespace Lumenary::CP::Private {
namespace {

// An open descriptor, closed when it goes.
class Fd {
public:
    explicit Fd(int fd) : m_fd(fd) {}
    ~Fd() {
        if (m_fd >= 0) ::close(m_fd);
    }
    Fd(Fd const&) = delete;
    Fd& operator=(Fd const&) = delete;
    int get() const { return m_fd; }
    explicit operator bool() const { return m_fd >= 0; }

private:
    int m_fd;
};

bool copy_data(int in, int out, off_t size) {
    off_t left = size;
    while (left > 0) {
        ssize_t n = copy_file_range(in, nullptr, out, nullptr, static_cast<size_t>(left), 0);
        if (n < 0 && (errno == EXDEV || errno == ENOSYS || errno == EINVAL || errno == EOPNOTSUPP))
            n = sendfile(out, in, nullptr, static_cast<size_t>(left));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return false;
        if (n == 0) break;  // the file shrank under us: copy what there was
        left -= n;
    }
    return true;
}

// Extended attributes that cannot be set here (a foreign namespace, no privilege) are skipped.
void copy_xattrs(int in, int out) {
    ssize_t length = flistxattr(in, nullptr, 0);
    if (length <= 0) return;
    std::vector<char> names(static_cast<size_t>(length));
    length = flistxattr(in, names.data(), names.size());
    for (ssize_t at = 0; at < length; at += static_cast<ssize_t>(strlen(&names[at])) + 1) {
        char const* name = &names[at];
        ssize_t size = fgetxattr(in, name, nullptr, 0);
        if (size < 0) continue;
        std::vector<char> value(static_cast<size_t>(size));
        size = fgetxattr(in, name, value.data(), value.size());
        if (size >= 0) fsetxattr(out, name, value.data(), static_cast<size_t>(size), 0);
    }
}

// Owner, modes and times last, so that writing the copy does not disturb them.
bool copy_metadata(int in, int out, struct stat const& info) {
    copy_xattrs(in, out);
    if (fchown(out, info.st_uid, info.st_gid) != 0) {
        // Only the owner's group may fail for an unprivileged user; the copy stays theirs.
    }
    timespec const times[2] = {info.st_atim, info.st_mtim};
    return fchmod(out, info.st_mode & 07777) == 0 && futimens(out, times) == 0;
}

bool copy_file_at(int from_dir, char const* from, int to_dir, char const* to,
                  struct stat const& info) {
    Fd in(openat(from_dir, from, O_RDONLY | O_CLOEXEC));
    if (!in) return false;
    Fd out(openat(to_dir, to, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!out) return false;
    return copy_data(in.get(), out.get(), info.st_size) && copy_metadata(in.get(), out.get(), info);
}

bool copy_link_at(int from_dir, char const* from, int to_dir, char const* to,
                  struct stat const& info) {
    std::string target(static_cast<size_t>(info.st_size) + 1, '\0');
    ssize_t n = readlinkat(from_dir, from, target.data(), target.size());
    if (n < 0) return false;
    target.resize(static_cast<size_t>(n));
    if (symlinkat(target.c_str(), to_dir, to) != 0) return false;
    timespec const times[2] = {info.st_atim, info.st_mtim};
    utimensat(to_dir, to, times, AT_SYMLINK_NOFOLLOW);
    return true;
}

bool copy_tree_at(int from_dir, char const* from, int to_dir, char const* to,
                  struct stat const& info);

bool copy_folder_at(int from_dir, char const* from, int to_dir, char const* to,
                    struct stat const& info) {
    Fd in(openat(from_dir, from, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!in || mkdirat(to_dir, to, 0700) != 0) return false;
    Fd out(openat(to_dir, to, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!out) return false;

    std::unique_ptr<DIR, int (*)(DIR*)> listing(fdopendir(dup(in.get())), closedir);
    if (!listing) return false;
    while (dirent* entry = readdir(listing.get())) {
        std::string_view name(entry->d_name);
        if (name == "." || name == "..") continue;
        struct stat child;
        if (fstatat(in.get(), entry->d_name, &child, AT_SYMLINK_NOFOLLOW) != 0 ||
            !copy_tree_at(in.get(), entry->d_name, out.get(), entry->d_name, child))
            return false;
    }
    return copy_metadata(in.get(), out.get(), info);
}

bool copy_tree_at(int from_dir, char const* from, int to_dir, char const* to,
                  struct stat const& info) {
    if (S_ISDIR(info.st_mode)) return copy_folder_at(from_dir, from, to_dir, to, info);
    if (S_ISLNK(info.st_mode)) return copy_link_at(from_dir, from, to_dir, to, info);
    if (S_ISREG(info.st_mode)) return copy_file_at(from_dir, from, to_dir, to, info);
    return true;  // sockets, pipes and devices are not copied
}

bool lock_fd(int fd, bool lock_it) {
    int flags = 0;
    if (ioctl(fd, FS_IOC_GETFLAGS, &flags) != 0) return false;
    if (((flags & FS_IMMUTABLE_FL) != 0) == lock_it) return true;  // nothing to write
    flags = lock_it ? (flags | FS_IMMUTABLE_FL) : (flags & ~FS_IMMUTABLE_FL);
    return ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
}

} // namespace

bool _CNativeFiles::copy(std::string const& from, std::string const& to, bool recursive) {
    struct stat info;
    if (::stat(from.c_str(), &info) != 0) return false;
    if (S_ISDIR(info.st_mode) && !recursive) return false;
    return copy_tree_at(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), info);
}

bool _CNativeFiles::is_locked(std::string const& path) {
    Fd fd(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    int flags = 0;
    return fd && ioctl(fd.get(), FS_IOC_GETFLAGS, &flags) == 0 && (flags & FS_IMMUTABLE_FL) != 0;
}

bool _CNativeFiles::lock(std::string const& path, bool lock_it) {
    return lock_at(AT_FDCWD, path.c_str(), lock_it);
}

bool _CNativeFiles::lock_at(int dirfd, char const* name, bool lock_it) {
    Fd fd(openat(dirfd, name, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    return fd && lock_fd(fd.get(), lock_it);
}

} // namespace Lumenary::CP::Private
