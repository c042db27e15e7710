// Questions about installed applications: their versions, where they are by name, bundle
// identifier or document type, and whether one is running. Applications are found by walking
// the application folders (under the system root) and reading each bundle's Info.plist.
// Nothing here changes the disk or needs administrator rights.
#pragma once

#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>

#include "wizard/installer_log.h"
#include "wizard/system_root.h"

namespace Refloom {

class AppLookup {
public:
    static constexpr std::uint8_t kUnknownVersion = 255;

    AppLookup(InstallerLog& log, SystemRoot root);

    // A string value of the bundle's information dictionary; null when the bundle, its
    // Info.plist or a string under the key is missing.
    QString getBundleStringForPath(QString const& bundle, QString const& key) const;
    // The leading number of the short version string (C atoi), kept in 8 bits; a path that does
    // not exist is tried with ".app" added. Unknown (255) for anything else: single-file
    // applications carry no version here.
    std::uint8_t getMajorVersion(QString const& path) const;
    // Major, minor and patch from the short version string, each the leading number of its
    // "."-separated part (C atoi); false when there is none.
    bool getFileVersion(QString const& path, int& major, int& minor, int& patch, int& build) const;
    // Everything named exactly `name` under /Applications, in the order found: a folder always,
    // a file when its major version is in [from, to]. Folders ending ".app" or ".bundle" are not
    // entered; ".plugin" and ".framework" ones are.
    QStringList findApplication(QString const& name, int from, int to);
    // Applications with the identifier whose major version is in [from, to]; none when none.
    std::optional<QStringList> findApplicationsWithBundleIdentifier(QString const& identifier, int from, int to);
    // Applications that declare they open documents with the extension (in any case).
    QStringList findApplicationsForDocumentExtension(QString const& extension) const;
    // True when a live process runs an executable inside a bundle with the identifier.
    bool isAppWithBundleIDRunning(QString const& identifier) const;

private:
    QStringList applicationFolders() const;
    // Every application bundle in the application folders, in the order found.
    void forEachApplication(std::function<void(QString const& bundle)> const& visit) const;

    InstallerLog& m_log;
    SystemRoot m_root;
};

} // namespace Refloom
