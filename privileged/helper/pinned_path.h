// A path the helper has checked and holds on to: resolved one component at a time from "/"
// without following any link, its parent folder kept open, so that whatever is swapped in
// along the path afterwards changes nothing. The helper then acts on the item by its name
// inside that folder (the *at calls); a tool it runs is handed "/proc/self/fd/N/name".
#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>

namespace Refloom::Helper {

// An open descriptor, closed with its owner.
class Fd {
public:
    Fd() = default;
    explicit Fd(int fd) : m_fd(fd) {}
    Fd(Fd&& other) noexcept : m_fd(other.release()) {}
    Fd& operator=(Fd&& other) noexcept;
    ~Fd();
    int get() const { return m_fd; }
    int release();
    explicit operator bool() const { return m_fd >= 0; }

private:
    int m_fd = -1;
};

// True for an absolute path with no empty, "." or ".." component (so no trailing slash).
bool isCleanAbsolute(std::string const& path);

struct Pinned {
    std::string path;  // as checked
    Fd parent;         // the folder that holds the item
    std::string name;  // the item's name in it
    bool exists = false;
    struct stat info {};  // the item itself, a link as a link

    bool isLink() const { return exists && S_ISLNK(info.st_mode); }
    bool isFolder() const { return exists && S_ISDIR(info.st_mode); }
    // "/proc/self/fd/N/name": the item by name inside the pinned parent.
    std::string byName() const;
};

// Pins `path`: refused (none, with the reason) when it is not clean, or when any folder on the
// way is a link, missing or not a folder. The item itself may be missing or a link.
std::optional<Pinned> pin(std::string const& path, std::string& why);

// "/proc/self/fd/N".
std::string descriptorPath(int fd);

} // namespace Refloom::Helper
