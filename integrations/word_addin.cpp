#include "integrations/word_addin.h"

#include <QDir>
#include <QFileInfo>

#include "components/install_driver.h"
#include "cp/dir.h"
#include "cp/file_utils.h"

namespace Refloom {
namespace {

constexpr char kBundle2016[] = "Refloom MRGN Word 2016.bundle";
constexpr char kBundle16[] = "Refloom MRGN Word 16.bundle";

} // namespace

WordAddin::WordAddin(IntegrationContext& context, WordDiscovery& word, AppLookup& applications)
    : m_context(context), m_word(word), m_applications(applications) {}

bool WordAddin::leavesTheRoot(QString const& folder) const {
    QString const root = m_context.root.root();
    if (root.isEmpty()) return false;
    // The deepest part of the folder that exists, with its links resolved, must still lie in the
    // sandbox: a link planted there must not carry the add-in out of it.
    QFileInfo existing(folder);
    while (!existing.exists() && existing.absoluteFilePath() != existing.absolutePath()) existing = QFileInfo(existing.absolutePath());
    QString const real = existing.canonicalFilePath();
    QString const realRoot = QFileInfo(root).canonicalFilePath();
    return !(real == realRoot || real.startsWith(realRoot + QLatin1Char('/')));
}

QString WordAddin::bundleFor(int version) {
    if (version == 15) return QString::fromLatin1(kBundle2016);
    if (version == 16) return QString::fromLatin1(kBundle16);
    return {};
}

QString WordAddin::bundleSource(QString const& source, QString const& bundle) const {
    QString const path = !source.isNull() && QFileInfo(source).isDir()
                             ? QStringLiteral("%1/Margina/%2").arg(source, bundle)
                             : m_context.installerFolder + QStringLiteral("/Margina/") + bundle;
    return QFileInfo::exists(path) ? path : QString();
}

int WordAddin::installWordMode(int mode, int, QString const& source, QString const&) {
    m_context.logInstall(QStringLiteral("Margina"), mode);
    int result = 0;
    int const subMode = m_context.mode();
    if (!m_word.checkWordExists()) {
        result = -1;
    } else if (mode == mode_check && (subMode == 32 || subMode == 36)) {
        result = 1;
    } else {
        for (QString const& word : m_word.wordPaths()) {
            QString bundle, from;
            int version = 0;
            if (mode == mode_copy) {
                QString const path = word.section(QStringLiteral("|||"), 0, 0);
                if (QFileInfo::exists(path)) {
                    version = m_applications.getMajorVersion(path);
                    bundle = bundleFor(version);
                }
                if (!bundle.isNull()) from = bundleSource(source, bundle);
            }
            for (QString const& folder : m_word.getWordStartupFolders(word)) {
                m_context.log.logMessage(QStringLiteral("Processing Startup Folder: %1").arg(folder));
                if (leavesTheRoot(folder)) {
                    m_context.log.logMessage(QStringLiteral("Startup folder leads out of the system root; left alone: %1").arg(folder));
                    continue;
                }
                bool found = false;
                for (QString const& item : QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System)) {
                    if (item != QLatin1String(kBundle2016) && item != QLatin1String(kBundle16)) continue;
                    if (mode == mode_check) {
                        found = true;
                        break;
                    }
                    if (mode == mode_remove) {
                        QString const path = folder + QLatin1Char('/') + item;
                        if (QFileInfo::exists(path)) m_context.files.removeFile(path);
                        result = 1;  // even when it vanished meanwhile
                    }
                }
                if (found) {
                    result = 1;
                    break;  // this copy is done; the next one is looked at all the same
                }
                if (mode == mode_copy && !from.isNull()) {
                    if (!QFileInfo::exists(folder)) m_context.files.makeDir(folder);
                    if (version > 14) {
                        m_context.files.copyPath(from, folder + QLatin1Char('/') + bundle);
                        result = 1;
                    }
                }
            }
        }
    }
    m_context.log.logResult(result, QString());
    return result;
}

void WordAddin::prepareMrgnFolder() {
    Lumenary::CP::CPath temporary;
    if (Lumenary::CP::CFileUtils::temp_file(temporary, "RF", 0)) Lumenary::CP::CFileUtils::remove(temporary);
    Lumenary::CP::CDir::create(temporary, false);
    QString const staging = QString::fromStdWString(temporary.str());
    m_tmpMrgnFolder = staging + QStringLiteral("/Refloom");

    QString const archive = m_context.bundlePath + QStringLiteral("/Contents/Resources/Refloom.zip");
    if (QFileInfo::exists(archive)) {
        if (QFileInfo::exists(m_tmpMrgnFolder)) m_context.files.removeFile(m_tmpMrgnFolder);
        ToolCall const unpack = m_context.runner.tools().call(FileTool::extract_archive, archive, staging);
        m_context.runner.execCmdLineApp(unpack.tool, unpack.arguments);
    }
    QString const name = QFileInfo(m_context.bundlePath).fileName();
    QString const standAlone = m_context.root.map(QString::fromLatin1(kStandAlone));
    // Already running from the stand-alone folder: the extraction is all.
    if (m_context.bundlePath.compare(standAlone + QLatin1Char('/') + name, Qt::CaseInsensitive) == 0) return;

    m_context.files.copyPath(m_context.bundlePath, m_tmpMrgnFolder + QLatin1Char('/') + name);
    m_context.files.removeFile(standAlone);
    m_context.files.copyPath(m_tmpMrgnFolder, standAlone);
    // A folder icon is the Mac's; here there is no such thing to set.
    m_context.log.logMessage(QStringLiteral("Folder icon for %1: none on this platform").arg(standAlone));
    QString const nested = standAlone + QStringLiteral("/Refloom Margina");
    if (QFileInfo::exists(nested)) m_context.files.removeFile(nested);
}

void WordAddin::cleanupMrgnFolder() {
    if (m_tmpMrgnFolder.isNull()) return;
    if (QFileInfo::exists(m_tmpMrgnFolder)) {
        m_context.files.removeFile(m_tmpMrgnFolder);
        // The bare name, relative to the working folder, not the staging folder's parent: the
        // parent stays behind. Intended.
        m_context.files.removeFile(QFileInfo(m_tmpMrgnFolder).fileName());
    }
    m_tmpMrgnFolder = QString();
}

} // namespace Refloom
