#include "tools/applypatch/tree.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "tools/applypatch/crypto.h"

namespace Refloom::Patch {
namespace {

[[noreturn]] void unreadable(std::string const& path) {
    throw PatchError(Refusal::failed, "cannot read " + path + ": " + std::strerror(errno));
}

Node describe(std::string const& full, struct stat const& info, bool hash = true) {
    Node node;
    node.mode = info.st_mode & 07777;
    if (S_ISDIR(info.st_mode)) {
        node.kind = Kind::folder;
    } else if (S_ISLNK(info.st_mode)) {
        node.kind = Kind::link;
        node.mode = 0;  // a link's own mode means nothing here
        std::vector<char> target(std::size_t(info.st_size) + 1);
        ssize_t n = readlink(full.c_str(), target.data(), target.size());
        if (n < 0) unreadable(full);
        node.link.assign(target.data(), std::size_t(n));
    } else if (S_ISREG(info.st_mode)) {
        node.kind = Kind::file;
        node.size = std::uint64_t(info.st_size);
        if (hash && !hashFile(full, node.sha256)) unreadable(full);
    } else {
        throw PatchError(Refusal::failed, "not a file, folder or link: " + full);
    }
    return node;
}

void walk(std::string const& root, std::string const& relative, std::map<std::string, TreeItem>& out) {
    std::string const folder = relative.empty() ? root : root + "/" + relative;
    DIR* listing = opendir(folder.c_str());
    if (!listing) unreadable(folder);
    std::vector<std::string> names;
    while (dirent* entry = readdir(listing))
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) names.emplace_back(entry->d_name);
    closedir(listing);
    for (std::string const& name : names) {
        std::string const path = relative.empty() ? name : relative + "/" + name;
        std::string const full = root + "/" + path;
        struct stat info;
        if (lstat(full.c_str(), &info) != 0) unreadable(full);
        out[path] = {describe(full, info), std::int64_t(info.st_mtim.tv_sec), std::uint32_t(info.st_mtim.tv_nsec)};
        if (S_ISDIR(info.st_mode)) walk(root, path, out);
    }
}

} // namespace

std::map<std::string, TreeItem> scanTree(std::string const& root) {
    std::map<std::string, TreeItem> tree;
    walk(root, "", tree);
    return tree;
}

Node inspect(std::string const& root, std::string const& path, bool hash) {
    std::string const full = root + "/" + path;
    struct stat info;
    if (lstat(full.c_str(), &info) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) return Node{};  // nothing there, or a file where a folder would be
        unreadable(full);
    }
    return describe(full, info, hash);
}

bool holds(std::string const& root, std::string const& path, std::uint64_t size, Digest const& sha256) {
    std::string const full = root + "/" + path;
    // Not blocking: a pipe put in the file's place would otherwise hold the open forever.
    int const fd = open(full.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        if (errno == ENOENT || errno == ENOTDIR || errno == ELOOP) return false;
        unreadable(full);
    }
    struct stat info;
    bool same = fstat(fd, &info) == 0 && S_ISREG(info.st_mode) && std::uint64_t(info.st_size) == size;
    Sha256 hash;
    std::vector<char> buffer(1 << 17);
    for (ssize_t n; same && (n = read(fd, buffer.data(), buffer.size())) != 0;) {
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            close(fd);
            unreadable(full);
        }
        hash.update(buffer.data(), std::size_t(n));
    }
    close(fd);
    return same && hash.finish() == sha256;
}

std::string readWholeFile(std::string const& path) {
    int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) unreadable(path);
    std::string data;
    struct stat info;
    if (fstat(fd, &info) == 0) data.reserve(std::size_t(info.st_size));
    char buffer[1 << 16];
    for (ssize_t n; (n = read(fd, buffer, sizeof buffer)) != 0;) {
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            close(fd);
            unreadable(path);
        }
        data.append(buffer, std::size_t(n));
    }
    close(fd);
    return data;
}

} // namespace Refloom::Patch
