#include "privileged/helper/helper_policy.h"

#include <algorithm>
#include <sstream>

namespace Refloom::Helper {

bool isWithin(std::string const& path, std::string const& folder, bool strictly) {
    if (folder.empty() || !path.starts_with(folder)) return false;
    if (path.size() == folder.size()) return !strictly;
    return folder == "/" || path[folder.size()] == '/';
}

std::optional<PolicyFile> PolicyFile::parse(std::string const& text, std::string& why) {
    PolicyFile file;
    std::map<std::string, std::vector<std::string>*> const lists = {
        {"install-root", &file.installRoots},         {"owner-root", &file.ownerRoots},
        {"application-folder", &file.applicationFolders}, {"addin-name", &file.addinNames},
        {"addin-folder", &file.addinFolders},         {"product-part", &file.productParts},
    };
    std::istringstream lines(text);
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        if (line.empty() || line.front() == '#') continue;
        size_t const blank = line.find(' ');
        std::string const key = line.substr(0, blank);
        std::string const value = blank == std::string::npos ? std::string() : line.substr(blank + 1);
        bool const isPath = key.ends_with("-root") || key.ends_with("-folder");
        if (value.empty() || (isPath && value.front() != '/' && !value.starts_with("~/"))) {
            why = "line " + std::to_string(number) + " of the policy is not \"key value\"";
            return std::nullopt;
        }
        if (auto list = lists.find(key); list != lists.end()) {
            list->second->push_back(value);
        } else if (key == "product-bundle") {
            file.productBundle = value;
        } else if (key == "product-identifier") {
            file.productIdentifier = value;
        } else if (key == "script" && value.find(' ') == 64) {
            file.scripts[value.substr(65)] = value.substr(0, 64);
        } else {
            why = "line " + std::to_string(number) + " of the policy has an unknown key: " + key;
            return std::nullopt;
        }
    }
    return file;
}

Policy::Policy(PolicyFile file, std::string const& root, std::string const& home)
    : m_file(std::move(file)), m_root(root), m_home(home) {
    m_installRoots = place(m_file.installRoots);
    m_ownerRoots = place(m_file.ownerRoots);
    m_applicationFolders = place(m_file.applicationFolders);
    m_addinFolders = place(m_file.addinFolders);
    m_installRoots.insert(m_installRoots.end(), m_ownerRoots.begin(), m_ownerRoots.end());
}

std::vector<std::string> Policy::place(std::vector<std::string> const& paths) const {
    std::vector<std::string> placed;
    for (std::string const& path : paths) {
        if (path.starts_with("~/"))
            placed.push_back(m_home + path.substr(1));
        else
            placed.push_back(m_root + path);
    }
    return placed;
}

namespace {

bool withinAny(std::vector<std::string> const& folders, std::string const& path, bool strictly) {
    return std::any_of(folders.begin(), folders.end(),
                       [&](std::string const& folder) { return isWithin(path, folder, strictly); });
}

} // namespace

bool Policy::inInstallRoots(std::string const& path, bool strictly) const {
    return withinAny(m_installRoots, path, strictly);
}

bool Policy::inOwnerRoots(std::string const& path) const { return withinAny(m_ownerRoots, path, false); }

bool Policy::leadsToInstallRoot(std::string const& path) const {
    return std::any_of(m_installRoots.begin(), m_installRoots.end(),
                       [&](std::string const& root) { return isWithin(root, path, true); });
}

bool Policy::inApplicationFolders(std::string const& path) const {
    return withinAny(m_applicationFolders, path, false);
}

bool Policy::isAddinTarget(std::string const& path) const {
    std::string const name = path.substr(path.rfind('/') + 1);
    auto const& names = m_file.addinNames;
    return std::find(names.begin(), names.end(), name) != names.end() && withinAny(m_addinFolders, path, true);
}

} // namespace Refloom::Helper
