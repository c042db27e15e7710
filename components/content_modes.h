// The mode handlers for plain files ("inst_File"), folders ("inst_Dir"), the uninstall entry
// ("inst_Uninst") and the content categories ("inst_Category", "inst_allCategories"), with the
// folder comparisons they and the updater's content pass share. Files and folders are copied
// with the file library; categories through the file operations, which retry as administrator.
//
// Where the driver passes no source or destination, a handler takes its own defaults:
//   file      source: the installer folder + the rule's first file (else its name);
//             target: the destination given (the installer folder) + the rule's name
//   folder    destination: the rule's first file, a fixed location under the system root;
//             source: the installer folder + the rule's second file (else the destination's name)
//   category  source: the content bundle beside the installer + the rule's first file;
//             destination: the default copy's content bundle under the system root + the same
#pragma once

#include <QString>
#include <QVariantMap>

#include <functional>

#include "components/rf_rules.h"
#include "privileged/file_operations.h"
#include "wizard/installer_log.h"
#include "wizard/system_root.h"

namespace Refloom {

struct ComponentPaths {
    static constexpr char const* kContentBundle = "Product-Support//Content.bundle";
    static constexpr char const* kDefaultCopy = "/Applications/Refloom 2025";

    QString installerFolder;  // the folder that holds the installer bundle
    SystemRoot root;

    // The content shipped beside the installer, and where the product keeps its own.
    QString contentSource() const { return installerFolder + QLatin1Char('/') + QLatin1String(kContentBundle); }
    QString contentDestination() const {
        return root.map(QLatin1String(kDefaultCopy)) + QLatin1Char('/') + QLatin1String(kContentBundle);
    }
};

class ContentModes {
public:
    // `logInstall` writes the "State: ..." line and shows the item on the progress page.
    ContentModes(rfRules& rules, FileOperations& files, InstallerLog& log,
                 std::function<void(QString const&, int)> logInstall, ComponentPaths paths);

    // check 1 present, -1 absent; copy 1 or 0; remove never removes and answers 0. Intended.
    int installFileMode(int mode, int itemNum, QString const& source, QString const& dest);
    // check 1 present, -1 absent; copy 1 or 0; remove keeps a folder the user changed (0).
    int installDirMode(int mode, int itemNum, QString const& source, QString const& dest);
    // 0 to a check, 1 to anything else; the uninstall itself is the driver's.
    int installUninstMode(int mode, int itemNum, QString const& source, QString const& dest);
    // The folder operation's raw answer as 1 or 0: a failed copy answers 1. Intended.
    int installCategoryMode(int mode, int itemNum, QString const& source, QString const& dest);
    int installAllCategoriesMode(int mode, int itemNum, QString const& source, QString const& dest);

    // Names one level down: some of A's in B; all of A's in B; every A's name removed from B.
    // A null argument, an unreadable or an empty folder answers false.
    bool someItemsAtPath(QString const& a, QString const& b);
    bool itemsAtPath(QString const& a, QString const& b);
    bool removeItemsAtPath(QString const& a, QString const& b);

    // The updater's content pass: each text value names a category folder of the content
    // bundle; it is copied to the same place under `path` where the two share entries.
    void installPatchCategoriesItems(std::optional<QVariantMap> const& categories, QString const& path);

private:
    QString firstFile(int itemNum) const;

    rfRules& m_rules;
    FileOperations& m_files;
    InstallerLog& m_log;
    std::function<void(QString const&, int)> m_logInstall;
    ComponentPaths m_paths;
};

} // namespace Refloom
