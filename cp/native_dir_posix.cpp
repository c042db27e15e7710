#include "cp/native_dir.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <string_view>
#include <vector>

#include "cp/exception.h"
#include "cp/iconv_codec.h"
#include "cp/native_files.h"
#include "cp/native_path.h"

namespace Lumenary::CP::Private {
namespace {

struct Child {
    std::string name;
    bool is_directory;
};

using Listing = std::unique_ptr<DIR, int (*)(DIR*)>;

// The entries of an open folder, links reported as what they are, not what they point to.
bool obtain_children(int dirfd, std::vector<Child>& out) {
    int copy = dup(dirfd);
    if (copy < 0) return false;
    Listing listing(fdopendir(copy), closedir);
    if (!listing) {
        close(copy);
        return false;
    }
    while (dirent* entry = readdir(listing.get())) {
        std::string_view name(entry->d_name);
        if (name == "." || name == "..") continue;
        bool directory = entry->d_type == DT_DIR;
        if (entry->d_type == DT_UNKNOWN) {
            struct stat info;
            if (fstatat(dirfd, entry->d_name, &info, AT_SYMLINK_NOFOLLOW) != 0) return false;
            directory = S_ISDIR(info.st_mode);
        }
        out.push_back({std::string(name), directory});
    }
    return true;
}

// Calls `visit(folder_fd, child)` for each child of the folder `name` in `parent`, in order,
// until one answers false. A link is never followed into.
template <typename Visit>
bool for_each_child(int parent, char const* name, Visit visit) {
    int fd = openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) return false;
    std::vector<Child> children;
    bool ok = obtain_children(fd, children);
    for (size_t i = 0; ok && i < children.size(); ++i) ok = visit(fd, children[i]);
    close(fd);
    return ok;
}

bool is_link_at(int dirfd, char const* name) {
    struct stat info;
    return fstatat(dirfd, name, &info, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(info.st_mode);
}

// Children first, the folder last; the first failure stops the walk.
bool remove_directory_at(int parent, char const* name) {
    return for_each_child(parent, name,
                          [](int fd, Child const& child) {
                              char const* child_name = child.name.c_str();
                              return child.is_directory ? remove_directory_at(fd, child_name)
                                                        : unlinkat(fd, child_name, 0) == 0;
                          }) &&
           unlinkat(parent, name, AT_REMOVEDIR) == 0;
}

// Children first, then the folder itself, and only when every child succeeded.
bool lock_directory_at(int parent, char const* name, bool lock_it) {
    return for_each_child(parent, name,
                          [lock_it](int fd, Child const& child) {
                              char const* child_name = child.name.c_str();
                              if (child.is_directory) return lock_directory_at(fd, child_name, lock_it);
                              // A link takes no flags here: it is passed over.
                              return is_link_at(fd, child_name) ||
                                     _CNativeFiles::lock_at(fd, child_name, lock_it);
                          }) &&
           _CNativeFiles::lock_at(parent, name, lock_it);
}

DIR* listing_of(std::intptr_t handle) { return reinterpret_cast<DIR*>(handle); }

} // namespace

std::intptr_t _CNativeDir::start_file_iter(CPath const& folder, std::wstring& first_name) {
    std::string native;
    if (!fs_path(folder, native)) return 0;
    DIR* listing = opendir(native.c_str());
    if (!listing) return 0;
    auto handle = reinterpret_cast<std::intptr_t>(listing);
    if (!next_file_iter(handle, first_name)) {
        closedir(listing);
        return 0;
    }
    return handle;
}

bool _CNativeDir::next_file_iter(std::intptr_t handle, std::wstring& name) {
    if (!is_valid(handle)) return false;
    while (dirent* entry = readdir(listing_of(handle))) {
        std::string_view narrow(entry->d_name);
        if (narrow == "." || narrow == "..") continue;
        if (utf8_decode(narrow, name) && !name.empty()) return true;
    }
    return false;
}

bool _CNativeDir::end_file_iter(std::intptr_t handle) {
    return is_valid(handle) && closedir(listing_of(handle)) == 0;
}

bool _CNativeDir::create(CPath const& folder) {
    CPath parent = folder;
    parent.as_item(CPath::item_parent);
    CFSRefConverter converter(parent);
    FSRef const& parent_ref = converter;  // raises when the parent is missing
    std::wstring name;
    folder.copy_unicode_item(CPath::item_name, name);
    std::string native_name;
    if (name.empty() || !utf8_encode(name, native_name)) return false;
    std::string target = parent_ref.path == "/" ? "/" + native_name
                                                : parent_ref.path + "/" + native_name;
    return mkdir(target.c_str(), 0777) == 0;
}

bool _CNativeDir::remove(CPath const& folder) {
    std::string native;
    return fs_path(folder, native) && remove_directory_at(AT_FDCWD, native.c_str());
}

bool _CNativeDir::copy(CPath const& from, CPath const& to) {
    std::string source, target;
    return fs_path(from, source) && fs_path(to, target) &&
           _CNativeFiles::copy(source, target, true);
}

bool _CNativeDir::lock_directory(CPath const& folder, bool lock_it) {
    std::string native;
    return folder.exists() && fs_path(folder, native) &&
           lock_directory_at(AT_FDCWD, native.c_str(), lock_it);
}

} // namespace Lumenary::CP::Private
