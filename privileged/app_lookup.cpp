#include "privileged/app_lookup.h"

#include <QDir>
#include <QFileInfo>
#include <QVariantMap>

#include <cstdlib>

#include "privileged/bundle_scan.h"
#include "support/plist_bridge.h"

namespace Refloom {
namespace {

QVariantMap infoDictionary(QByteArray const& bytes) { return plistFromBytes(bytes).toMap(); }

QString stringFor(QVariantMap const& info, QString const& key) {
    QVariant const value = info.value(key);
    return value.typeId() == QMetaType::QString ? value.toString() : QString();
}

bool inRange(int version, int from, int to) { return from <= version && version <= to; }

// The bundle a running executable lies in: its nearest enclosing ".app" folder.
QString enclosingApplication(QString path) {
    while (path.size() > 1) {
        path = QFileInfo(path).path();
        if (path.endsWith(QLatin1String(".app"))) return path;
    }
    return {};
}

} // namespace

AppLookup::AppLookup(InstallerLog& log, SystemRoot root) : m_log(log), m_root(std::move(root)) {}

QStringList AppLookup::applicationFolders() const {
    return {m_root.map(QStringLiteral("/Applications")), m_root.map(QStringLiteral("~/Applications"))};
}

void AppLookup::forEachApplication(std::function<void(QString const&)> const& visit) const {
    for (QString const& folder : applicationFolders())
        scanFolder(folder, allBundles(), [&](ScanEntry const& entry) {
            if (entry.isFolder && entry.name.endsWith(QLatin1String(".app"))) visit(entry.path);
        });
}

QString AppLookup::getBundleStringForPath(QString const& bundle, QString const& key) const {
    if (bundle.isEmpty() || !QFileInfo(bundle).isDir()) return {};
    return stringFor(infoDictionary(readInfoPlist(bundle)), key);
}

std::uint8_t AppLookup::getMajorVersion(QString const& path) const {
    if (path.isNull()) return kUnknownVersion;
    QFileInfo const info(path);
    if (info.exists() && !info.isDir()) return kUnknownVersion;  // a single-file application
    QString const bundle = info.exists() ? path : path + QStringLiteral(".app");
    QString const version = getBundleStringForPath(bundle, QStringLiteral("CFBundleShortVersionString"));
    if (version.isNull()) return kUnknownVersion;
    // C atoi, kept in 8 bits: "16.89.1" gives 16 and 300 gives 44.
    return static_cast<std::uint8_t>(std::atoi(version.toLatin1().constData()));
}

bool AppLookup::getFileVersion(QString const& path, int& major, int& minor, int& patch, int& build) const {
    QString const version = getBundleStringForPath(path, QStringLiteral("CFBundleShortVersionString"));
    if (version.isNull()) return false;
    QStringList const parts = version.split(QLatin1Char('.'), Qt::SkipEmptyParts);
    int* const fields[] = {&major, &minor, &patch};
    // Each part's leading number, as C atoi takes it: "3b1" is 3.
    for (qsizetype i = 0; i < 3; ++i)
        *fields[i] = i < parts.size() ? std::atoi(parts[i].toLatin1().constData()) : 0;
    build = 0;
    return true;
}

QStringList AppLookup::findApplication(QString const& name, int from, int to) {
    m_log.logMessage(QStringLiteral("findApplication: %1").arg(name));
    QStringList found;
    QString const applications = m_root.map(QStringLiteral("/Applications"));
    scanFolder(applications, applicationAndPlugInBundles(), [&](ScanEntry const& entry) {
        // A folder of that name is taken whatever its version; a file only inside the range.
        if (entry.name == name && (entry.isFolder || inRange(getMajorVersion(entry.path), from, to)))
            found.append(entry.path);
    });
    return found;
}

std::optional<QStringList> AppLookup::findApplicationsWithBundleIdentifier(QString const& identifier, int from, int to) {
    m_log.logMessage(QStringLiteral("findApplicationsWithBundleIdentifier: %1").arg(identifier));
    QStringList found;
    QByteArray const needle = identifier.toUtf8();
    forEachApplication([&](QString const& bundle) {
        QByteArray const bytes = readInfoPlist(bundle);
        // Most bundles are someone else's: parse only those that mention the identifier at all.
        // Binary property lists keep ASCII strings as they are, so this holds for both forms.
        if (needle.isEmpty() || !bytes.contains(needle)) return;
        QVariantMap const info = infoDictionary(bytes);
        if (stringFor(info, QStringLiteral("CFBundleIdentifier")) != identifier) return;
        int const version = std::atoi(stringFor(info, QStringLiteral("CFBundleShortVersionString")).toLatin1().constData());
        bool const known = !stringFor(info, QStringLiteral("CFBundleShortVersionString")).isNull();
        if (inRange(known ? static_cast<std::uint8_t>(version) : kUnknownVersion, from, to)) found.append(bundle);
    });
    if (found.isEmpty()) return std::nullopt;
    return found;
}

QStringList AppLookup::findApplicationsForDocumentExtension(QString const& extension) const {
    QStringList found;
    forEachApplication([&](QString const& bundle) {
        QByteArray const bytes = readInfoPlist(bundle);
        if (!bytes.contains("CFBundleTypeExtensions")) return;
        for (QVariant const& type : infoDictionary(bytes).value(QStringLiteral("CFBundleDocumentTypes")).toList()) {
            QStringList const extensions = type.toMap().value(QStringLiteral("CFBundleTypeExtensions")).toStringList();
            if (extensions.contains(extension, Qt::CaseInsensitive)) {
                found.append(bundle);
                return;
            }
        }
    });
    return found;
}

bool AppLookup::isAppWithBundleIDRunning(QString const& identifier) const {
    // Empty as well as null: a bundle without an identifier reads back as one and would match.
    if (identifier.isEmpty()) return false;
    QStringList checked;
    for (QString const& process : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (!process.front().isDigit()) continue;
        QString const bundle = enclosingApplication(QFileInfo(QStringLiteral("/proc/") + process + QStringLiteral("/exe")).symLinkTarget());
        if (bundle.isEmpty() || checked.contains(bundle)) continue;
        checked.append(bundle);
        if (getBundleStringForPath(bundle, QStringLiteral("CFBundleIdentifier")) == identifier) return true;
    }
    return false;
}

} // namespace Refloom
