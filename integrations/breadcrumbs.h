// The user's saved choices ("breadcrumbs"): the copies of Word and startup folders the user
// pointed at, kept in "~/Library/Preferences/com.Veltmark.RefloomCustomizer.plist" under the
// system root. Key "Word": records "Word path|||startup folder|||version"; key "Refloom": the
// installer's own path, written on every save. Every change writes the whole file at once,
// atomically. A file that cannot be read as a dictionary is never overwritten: it is moved
// aside under a name that says so, and logged; if even that fails, nothing is saved this run.
#pragma once

#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "wizard/installer_log.h"
#include "wizard/system_root.h"

namespace Refloom {

class Breadcrumbs {
public:
    static constexpr char const* kPreferences = "~/Library/Preferences/com.Veltmark.RefloomCustomizer.plist";

    // Loads the file; `execPath` is the installer's own path.
    Breadcrumbs(InstallerLog& log, SystemRoot const& root, QString execPath);

    QString path() const { return m_path; }
    // The "Word" records, in order; none when there are none.
    QStringList words() const;
    bool hasWords() const { return m_crumbs.contains(QStringLiteral("Word")); }

    // Replaces every record of the same Word path (ignoring case) by `record`, or appends it.
    void addWordCrumb(QString const& record);
    // Drops the record at `index` (an index out of range drops nothing).
    void deleteWordCrumb(int index);
    void saveBreadcrumbs();

private:
    InstallerLog& m_log;
    QString m_path;
    QString m_execPath;
    QVariantMap m_crumbs;
    bool m_savable = true;
};

// The fields of a "|||" record.
QStringList recordFields(QString const& record);

} // namespace Refloom
