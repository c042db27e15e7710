#include "privileged/helper/product_check.h"

#include <dirent.h>
#include <fcntl.h>
#include <plist/plist.h>
#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <memory>

#include "privileged/helper/pinned_path.h"

namespace Refloom::Helper {
namespace {

constexpr off_t kMaxInfoPlist = 1 << 20;

Fd openFolderAt(int parent, char const* name) {
    return Fd(openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

// The name of the entry that matches `wanted` ignoring case, if any.
std::string findIgnoringCase(int folder, std::string const& wanted) {
    int copy = dup(folder);
    std::unique_ptr<DIR, int (*)(DIR*)> listing(copy >= 0 ? fdopendir(copy) : nullptr, closedir);
    if (!listing) {
        if (copy >= 0) close(copy);
        return {};
    }
    while (dirent* entry = readdir(listing.get()))
        if (strcasecmp(entry->d_name, wanted.c_str()) == 0) return entry->d_name;
    return {};
}

std::string identifierIn(int contents) {
    Fd file(openat(contents, "Info.plist", O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat info;
    if (!file || fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode) || info.st_size > kMaxInfoPlist) return {};
    std::string bytes(size_t(info.st_size), '\0');
    if (pread(file.get(), bytes.data(), bytes.size(), 0) != ssize_t(bytes.size())) return {};
    plist_t root = nullptr;
    plist_from_memory(bytes.data(), uint32_t(bytes.size()), &root);
    std::string identifier;
    if (root && plist_get_node_type(root) == PLIST_DICT) {
        plist_t const node = plist_dict_get_item(root, "CFBundleIdentifier");
        if (node && plist_get_node_type(node) == PLIST_STRING) {
            char* text = nullptr;
            plist_get_string_val(node, &text);
            if (text) identifier = text;
            free(text);
        }
    }
    if (root) plist_free(root);
    return identifier;
}

} // namespace

bool holdsProduct(PolicyFile const& policy, std::string const& folder) {
    std::string why;
    std::optional<Pinned> pinned = pin(folder, why);
    if (!pinned || !pinned->isFolder() || policy.productBundle.empty()) return false;
    Fd const opened = openFolderAt(pinned->parent.get(), pinned->name.c_str());
    if (!opened) return false;
    std::string const bundleName = findIgnoringCase(opened.get(), policy.productBundle);
    if (bundleName.empty()) return false;
    Fd const bundle = openFolderAt(opened.get(), bundleName.c_str());
    Fd const contents = bundle ? openFolderAt(bundle.get(), "Contents") : Fd();
    return contents && identifierIn(contents.get()) == policy.productIdentifier;
}

bool isProductPart(Policy const& policy, std::string const& path, bool strictly) {
    if (!policy.inApplicationFolders(path)) return false;
    // Each ancestor that is followed by a part's name is a candidate copy folder.
    for (size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
        std::string const folder = path.substr(0, slash);
        for (std::string const& part : policy.file().productParts)
            if (isWithin(path, folder + "/" + part, strictly) && policy.inApplicationFolders(folder) &&
                holdsProduct(policy.file(), folder))
                return true;
    }
    return false;
}

} // namespace Refloom::Helper
