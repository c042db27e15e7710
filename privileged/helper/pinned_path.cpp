#include "privileged/helper/pinned_path.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

namespace Refloom::Helper {

Fd& Fd::operator=(Fd&& other) noexcept {
    if (this != &other) {
        if (m_fd >= 0) close(m_fd);
        m_fd = other.release();
    }
    return *this;
}

Fd::~Fd() {
    if (m_fd >= 0) close(m_fd);
}

int Fd::release() {
    int const fd = m_fd;
    m_fd = -1;
    return fd;
}

bool isCleanAbsolute(std::string const& path) {
    if (path.size() < 2 || path.size() >= PATH_MAX || path.front() != '/') return false;
    size_t start = 1;
    while (start <= path.size()) {
        size_t end = path.find('/', start);
        if (end == std::string::npos) end = path.size();
        std::string_view const part(path.data() + start, end - start);
        if (part.empty() || part == "." || part == ".." || part.size() > NAME_MAX) return false;
        start = end + 1;
    }
    return true;
}

std::string descriptorPath(int fd) { return "/proc/self/fd/" + std::to_string(fd); }

std::string Pinned::byName() const { return descriptorPath(parent.get()) + "/" + name; }

std::optional<Pinned> pin(std::string const& path, std::string& why) {
    if (!isCleanAbsolute(path)) {
        why = "not a plain absolute path: " + path;
        return std::nullopt;
    }
    Pinned pinned;
    pinned.path = path;
    Fd folder(open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
    size_t start = 1;
    for (size_t end; (end = path.find('/', start)) != std::string::npos; start = end + 1) {
        std::string const part = path.substr(start, end - start);
        // O_PATH with O_NOFOLLOW opens a link as itself, and O_DIRECTORY then refuses it.
        Fd next(openat(folder.get(), part.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!next) {
            why = "a folder on the way is missing, not a folder, or a link: " + path.substr(0, end);
            return std::nullopt;
        }
        folder = std::move(next);
    }
    pinned.parent = std::move(folder);
    pinned.name = path.substr(start);
    if (fstatat(pinned.parent.get(), pinned.name.c_str(), &pinned.info, AT_SYMLINK_NOFOLLOW) == 0)
        pinned.exists = true;
    else if (errno != ENOENT)
        return why = "cannot look at " + path, std::nullopt;
    return pinned;
}

} // namespace Refloom::Helper
