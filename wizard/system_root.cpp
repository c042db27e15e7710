#include "wizard/system_root.h"

#include <pwd.h>
#include <unistd.h>

#include <QDir>

namespace Refloom {

SystemRoot::SystemRoot(QString root, QString home) : m_root(std::move(root)), m_home(std::move(home)) {
    while (m_root.size() > 1 && m_root.endsWith(QLatin1Char('/'))) m_root.chop(1);
    if (m_root == QLatin1String("/")) m_root.clear();
}

SystemRoot SystemRoot::fromEnvironment(QString const& commandLineRoot) {
    QString root = commandLineRoot;
    if (root.isEmpty()) root = qEnvironmentVariable("RF_ROOT");
    if (!root.isEmpty()) root = QDir(root).absolutePath();
    // Without HOME, Qt answers "/"; the password database knows better.
    QString home = qEnvironmentVariable("HOME");
    if (home.isEmpty())
        if (passwd const* account = getpwuid(getuid()); account && account->pw_dir) home = QString::fromLocal8Bit(account->pw_dir);
    return SystemRoot(root, home.isEmpty() ? QDir::homePath() : QDir::cleanPath(home));
}

QString SystemRoot::home() const { return m_root + m_home; }

QString SystemRoot::map(QString const& path) const {
    if (path == QLatin1String("~")) return home();
    if (path.startsWith(QLatin1String("~/"))) return home() + path.mid(1);
    if (path.startsWith(QLatin1Char('/'))) return m_root + path;
    return path;
}

} // namespace Refloom
