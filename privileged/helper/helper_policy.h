// What the privileged helper will change, read from the policy file the build writes beside the
// bundle's Info.plist. The request never says where the roots are: only the file, the system
// root the helper was started with (a folder the requesting user owns) and that user's home.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Refloom::Helper {

struct PolicyFile {
    std::vector<std::string> installRoots;     // anything at or below, but a root itself stays
    std::vector<std::string> ownerRoots;       // install roots where ownership may be handed to root
    std::vector<std::string> applicationFolders;
    std::vector<std::string> addinNames;       // the add-in bundles the program ships
    std::vector<std::string> addinFolders;     // where Word's startup folders may lie
    std::string productBundle;                 // "Refloom 2025.app", matched ignoring case
    std::string productIdentifier;
    std::vector<std::string> productParts;     // folders beside the bundle the updater fills
    std::map<std::string, std::string> scripts;  // resource script name -> SHA-256 (hex)

    // Lines "key value"; '#' starts a comment. None, with the reason, for anything else.
    static std::optional<PolicyFile> parse(std::string const& text, std::string& why);
};

// The policy file's paths placed for one run: under the system root, "~" as the user's home.
class Policy {
public:
    Policy(PolicyFile file, std::string const& root, std::string const& home);

    PolicyFile const& file() const { return m_file; }
    // At or below an install root (strictly below when `strictly`).
    bool inInstallRoots(std::string const& path, bool strictly) const;
    bool inOwnerRoots(std::string const& path) const;
    // A folder on the way to an install root, which making a folder may create.
    bool leadsToInstallRoot(std::string const& path) const;
    bool inApplicationFolders(std::string const& path) const;
    // A path whose name is one of the shipped add-ins, in a folder where Word may look.
    bool isAddinTarget(std::string const& path) const;

private:
    std::vector<std::string> place(std::vector<std::string> const& paths) const;

    PolicyFile m_file;
    std::string m_root;
    std::string m_home;
    std::vector<std::string> m_installRoots, m_ownerRoots, m_applicationFolders, m_addinFolders;
};

// True when `path` is `folder` or lies below it (strictly below when `strictly`), by whole
// components of text: both are clean absolute paths without links.
bool isWithin(std::string const& path, std::string const& folder, bool strictly);

} // namespace Refloom::Helper
