#include "integrations/breadcrumbs.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include "support/plist_bridge.h"

namespace Refloom {
namespace {

constexpr char kWord[] = "Word";
constexpr char kRefloom[] = "Refloom";

} // namespace

QStringList recordFields(QString const& record) { return record.split(QStringLiteral("|||")); }

Breadcrumbs::Breadcrumbs(InstallerLog& log, SystemRoot const& root, QString execPath)
    : m_log(log), m_path(root.map(QString::fromLatin1(kPreferences))), m_execPath(std::move(execPath)) {
    if (!QFileInfo::exists(m_path)) return;
    QVariant const stored = readPlistFile(m_path);
    if (stored.typeId() == QMetaType::QVariantMap) {
        m_crumbs = stored.toMap();
        return;
    }
    // Unreadable: keep the user's file as it is, out of the way of the next save.
    QString const aside = m_path + QStringLiteral(".unreadable-") +
                          QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-hhmmss"));
    if (QFile::rename(m_path, aside)) {
        m_log.logMessage(QStringLiteral("Preferences could not be read and were kept as: %1").arg(aside));
    } else {
        m_savable = false;
        m_log.logMessage(QStringLiteral("Preferences could not be read nor kept aside; none will be saved: %1").arg(m_path));
    }
}

QStringList Breadcrumbs::words() const { return m_crumbs.value(QString::fromLatin1(kWord)).toStringList(); }

void Breadcrumbs::addWordCrumb(QString const& record) {
    QStringList list = words();
    bool replaced = false;
    QString const path = recordFields(record).first();
    for (QString& existing : list) {
        m_log.logMessage(existing);
        if (recordFields(existing).first().compare(path, Qt::CaseInsensitive) == 0) {
            existing = record;
            replaced = true;
        }
    }
    if (!replaced) list.append(record);
    m_crumbs.insert(QString::fromLatin1(kWord), list);
    saveBreadcrumbs();
}

void Breadcrumbs::deleteWordCrumb(int index) {
    QStringList list = words();
    if (index >= 0 && index < list.size()) list.removeAt(index);
    m_crumbs.insert(QString::fromLatin1(kWord), list);
    saveBreadcrumbs();
}

void Breadcrumbs::saveBreadcrumbs() {
    m_crumbs.insert(QString::fromLatin1(kRefloom), m_execPath);
    if (!m_savable) return;
    QDir().mkpath(QFileInfo(m_path).path());
    writePlistFile(m_path, m_crumbs);  // not checked: a failed save leaves the old file whole
}

} // namespace Refloom
