// What the integration tests share: an installer folder and an empty system root in a scratch
// folder, a real log, runner and file operations, the rules, a recording view with its
// navigation, and the context the integrations take, for the installer's bundle `bundleName`.
// `elevate` is what RF_ELEVATE holds: "/bin/false" refuses the administrator rights; none (as
// root) runs the real helper.
#pragma once

#include <QRegularExpression>

#include <string>

#include "integrations/integration_context.h"
#include "tests/fixtures/log_lines.h"
#include "tests/fixtures/privileged.h"
#include "tests/fixtures/recording_view.h"
#include "tests/fixtures/scratch.h"

namespace rf_test {

struct IntegrationBase {
    IntegrationBase(char const* elevate, std::string const& rulesText, std::string const& bundleName = "Up.app")
        : elevation("RF_ELEVATE", elevate), bundle(installer + "/" + bundleName),
          rules(QString::fromStdString(scratch.write("rules.txt", rulesText))) {}

    ScopedEnv elevation;
    Scratch scratch;
    std::string root = scratch / "root";
    std::string installer = scratch / "installer";
    std::string bundle;
    Refloom::rfRules rules;
    Refloom::SystemRoot system{QString::fromStdString(root), QStringLiteral("/home/u")};
    Refloom::InstallerLog log{system};
    Refloom::CommandRunner runner{log, {bundleResources(), helperPath(), QString(), system}};
    Refloom::FileOperations files{runner, log};
    RecordingView view;
    // The custom flow's rows name operations ("startToFind", ...) that do not matter here.
    Refloom::NavigationEngine engine{view, [](QString const&) { return QVariant(); }};
    int subMode = 0;
    Refloom::IntegrationContext context{log, runner, files, rules, view, engine, system,
                                        QString::fromStdString(bundle), QString::fromStdString(installer),
                                        [this] { return subMode; },
                                        [this](QString const& name, int mode) { log.logInstall(name, mode); }};

    QString at(std::string const& path) const { return QString::fromStdString(path); }
    QStringList messages() const { return logMessages(log.path()); }
    QStringList lines(QString const& start) const {
        return logMessages(log.path()).filter(QRegularExpression(QLatin1Char('^') + start));
    }
};

} // namespace rf_test
