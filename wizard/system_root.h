// The one place that maps the fixed locations the program touches ("/Applications",
// "/Library/...", "~/..."): under a sandbox root given by --root or RF_ROOT, or as written.
// System tools and the program's own bundle are never moved. Nothing else adds the root.
#pragma once

#include <QString>

namespace Refloom {

class SystemRoot {
public:
    // No root: every path is used as written.
    SystemRoot() = default;
    // `root` empty means none. `home` is the user's home folder as the system knows it.
    SystemRoot(QString root, QString home);
    // The root from a --root argument, else from RF_ROOT, else none; home from HOME.
    static SystemRoot fromEnvironment(QString const& commandLineRoot = QString());

    // "~" and "~/..." go to the home folder, absolute paths under the root; anything else is
    // returned as it is.
    QString map(QString const& path) const;
    // The home folder, under the root when there is one.
    QString home() const;
    QString root() const { return m_root; }

private:
    QString m_root;
    QString m_home;
};

} // namespace Refloom
