#include "components/content_modes.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

#include "components/folder_compare.h"
#include "components/install_driver.h"
#include "cp/dir.h"
#include "cp/file_utils.h"

namespace Refloom {
namespace {

constexpr char kContentCaption[] = "Refloom Content Files";
constexpr char kMostPopular[] = "Most Popular";

QString shown(QString const& text) { return text.isNull() ? QStringLiteral("(null)") : text; }
Lumenary::CP::CPath cpPath(QString const& path) { return Lumenary::CP::CPath(path.toStdWString()); }

// The file manager's copy: fails when the target is already there.
bool copyItem(QString const& source, QString const& target) {
    if (QFileInfo(source).isDir() && !QFileInfo(source).isSymLink())
        return Lumenary::CP::CDir::copy(cpPath(source), cpPath(target), false);
    return Lumenary::CP::CFileUtils::copy(cpPath(source), cpPath(target), false);
}

bool removeItem(QString const& path) {
    QFileInfo const info(path);
    if (info.isDir() && !info.isSymLink()) return Lumenary::CP::CDir::remove(cpPath(path));
    return Lumenary::CP::CFileUtils::remove(cpPath(path));
}

bool exists(QString const& path) { return QFileInfo::exists(path) || QFileInfo(path).isSymLink(); }

} // namespace

ContentModes::ContentModes(rfRules& rules, FileOperations& files, InstallerLog& log,
                           std::function<void(QString const&, int)> logInstall, ComponentPaths paths)
    : m_rules(rules), m_files(files), m_log(log), m_logInstall(std::move(logInstall)), m_paths(std::move(paths)) {}

QString ContentModes::firstFile(int itemNum) const {
    std::optional<QStringList> const files = m_rules.getItemFiles(itemNum);
    return files ? files->first() : QString();
}

int ContentModes::installFileMode(int mode, int itemNum, QString const& source, QString const& dest) {
    QString const from = !source.isNull() ? source
                         : m_paths.installerFolder + QLatin1Char('/') +
                               (firstFile(itemNum).isNull() ? m_rules.getItemName(itemNum) : firstFile(itemNum));
    m_log.logMessage(QStringLiteral("File: %1").arg(shown(from)));
    QString const folder = dest.isNull() ? m_paths.installerFolder : dest;
    QString const target = folder + QLatin1Char('/') + m_rules.getItemName(itemNum);
    int result = 0;
    try {
        if (mode == mode_check) result = exists(target) ? 1 : -1;  // absent shows as not available
        else if (mode == mode_copy) result = copyItem(from, target) ? 1 : 0;
        // A remove never deletes anything here, unlike the folder handler. Intended.
    } catch (std::exception const& error) {
        result = -1;
        m_log.logException(QString::fromUtf8(error.what()));
    }
    m_log.logResult(result, QString());
    return result;
}

int ContentModes::installDirMode(int mode, int itemNum, QString const& source, QString const& dest) {
    std::optional<QStringList> const files = m_rules.getItemFiles(itemNum);
    QString const to = !dest.isNull() ? dest : files ? m_paths.root.map(files->at(0)) : QString();
    QString const from = !source.isNull() ? source
                         : m_paths.installerFolder + QLatin1Char('/') +
                               (files && files->size() > 1 ? files->at(1) : QFileInfo(to).fileName());
    m_log.logMessage(QStringLiteral("Dir: %1").arg(shown(from)));
    int result = 0;
    try {
        if (mode == mode_check) {
            result = !to.isEmpty() && exists(to) ? 1 : -1;
        } else if (mode == mode_copy) {
            result = copyItem(from, to) ? 1 : 0;
        } else if (mode == mode_remove) {
            // A folder whose contents the user changed is kept.
            bool const changed = exists(from) && !sameTree(from, to);
            result = !changed && removeItem(to) ? 1 : 0;
        }
    } catch (std::exception const& error) {
        result = -1;
        m_log.logException(QString::fromUtf8(error.what()));
    }
    m_log.logResult(result, QString());
    return result;
}

int ContentModes::installUninstMode(int mode, int, QString const&, QString const&) { return mode == mode_check ? 0 : 1; }

int ContentModes::installCategoryMode(int mode, int itemNum, QString const&, QString const& dest) {
    m_logInstall(QString::fromLatin1(kContentCaption), mode);
    QString const category = firstFile(itemNum);
    if (category.isNull()) {
        m_log.logException(QStringLiteral("the category rule %1 names no folder").arg(itemNum));
        return 0;
    }
    QString const from = m_paths.contentSource() + QLatin1Char('/') + category;
    QString const to = (dest.isNull() ? m_paths.contentDestination() : dest) + QLatin1Char('/') + category;
    // The folder operation's answer as it stands: copyPath answers true on failure. Intended.
    if (mode == mode_check) return itemsAtPath(from, to) ? 1 : 0;
    if (mode == mode_copy) return m_files.copyPath(from, to) ? 1 : 0;
    if (mode == mode_remove) return removeItemsAtPath(from, to) ? 1 : 0;
    return 0;
}

int ContentModes::installAllCategoriesMode(int mode, int, QString const&, QString const& dest) {
    m_logInstall(QString::fromLatin1(kContentCaption), mode);
    QString const from = m_paths.contentSource() + QLatin1Char('/') + QLatin1String(kMostPopular);
    QString const to = (dest.isNull() ? m_paths.contentDestination() : dest) + QLatin1Char('/') + QLatin1String(kMostPopular);
    QStringList const categories = listing(from);
    if (categories.isEmpty()) return 1;
    if (mode == mode_check) {
        for (QString const& category : categories)
            if (itemsAtPath(from + QLatin1Char('/') + category, to + QLatin1Char('/') + category)) return 1;
        return 0;
    }
    int result = 1;
    for (QString const& category : categories) {
        QString const target = to + QLatin1Char('/') + category;
        if (mode == mode_copy) {
            if (!exists(target)) m_files.makeDir(target);
            result = m_files.copyPath(from + QLatin1Char('/') + category, target) ? 1 : 0;
        } else if (mode == mode_remove) {
            result = m_files.removeFile(target) ? 1 : 0;
        }
    }
    return result;
}

namespace {

// Both folders' names; false for a null argument, an unreadable or an empty folder.
bool listBoth(QString const& a, QString const& b, QStringList& inA, QStringList& inB) {
    if (a.isNull() || b.isNull()) return false;
    inA = listing(a);
    inB = listing(b);
    return !inA.isEmpty() && !inB.isEmpty();
}

} // namespace

bool ContentModes::someItemsAtPath(QString const& a, QString const& b) {
    QStringList inA, inB;
    return listBoth(a, b, inA, inB) &&
           std::any_of(inA.begin(), inA.end(), [&](QString const& name) { return inB.contains(name); });
}

bool ContentModes::itemsAtPath(QString const& a, QString const& b) {
    QStringList inA, inB;
    return listBoth(a, b, inA, inB) &&
           std::all_of(inA.begin(), inA.end(), [&](QString const& name) { return inB.contains(name); });
}

bool ContentModes::removeItemsAtPath(QString const& a, QString const& b) {
    QStringList inA, inB;
    if (!listBoth(a, b, inA, inB)) return false;
    // removeFile answers true when it failed; the first failure ends the walk.
    return std::none_of(inA.begin(), inA.end(), [&](QString const& name) { return m_files.removeFile(b + QLatin1Char('/') + name); });
}

void ContentModes::installPatchCategoriesItems(std::optional<QVariantMap> const& categories, QString const& path) {
    if (!categories) return;
    for (auto entry = categories->begin(); entry != categories->end(); ++entry) {
        if (entry.value().typeId() != QMetaType::QString) continue;
        QString const category = entry.value().toString();
        QString const from = m_paths.contentSource() + QLatin1Char('/') + category;
        QString const to = path + QLatin1Char('/') + category;
        if (someItemsAtPath(from, to)) m_files.copyPath(from, to);
    }
}

} // namespace Refloom
