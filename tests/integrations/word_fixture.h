// A sandbox system root with copies of Word side by side, and everything the integrations
// work with: a real log, runner, file operations, rules, view and navigation.
#pragma once

#include <string>

#include "integrations/integration_context.h"
#include "privileged/app_lookup.h"
#include "tests/fixtures/privileged.h"
#include "tests/fixtures/recording_view.h"
#include "tests/fixtures/scratch.h"

namespace rf_test {

struct WordSandbox {
    ScopedEnv refuse{"RF_ELEVATE", "/bin/false"};  // every change is the user's own
    Scratch scratch;
    std::string root = scratch / "root";
    std::string installer = scratch / "installer";
    std::string office2016 = root + "/Applications/Microsoft Office 2016/Microsoft Word.app";  // 15
    std::string word16 = root + "/Applications/Microsoft Word.app";                            // 16
    std::string office2011 = root + "/Applications/Microsoft Office 2011/Microsoft Word.app";  // 14
    std::string office365 =
        root + "/Library/Application Support/Microsoft/Office365/User Content.localized/Startup.localized/Word";
    int mode = 0;

    Refloom::SystemRoot system{QString::fromStdString(root), QStringLiteral("/home/u")};
    Refloom::InstallerLog log{system};
    Refloom::CommandRunner runner{log, {QString(), helperPath(), bundleResources(), system}};
    Refloom::FileOperations files{runner, log};
    Refloom::rfRules rules{QString::fromStdString(scratch / "no rules")};
    RecordingView view;
    Refloom::NavigationEngine engine{view, [](QString const&) { return QVariant(); }};
    Refloom::AppLookup applications{log, system};
    Refloom::IntegrationContext context{log, runner, files, rules, view, engine, system,
                                        QString::fromStdString(installer + "/Refloom 2025 Updater.app"),
                                        QString::fromStdString(installer), [this] { return mode; },
                                        [this](QString const& name, int m) { shown << name + " " + QString::number(m); }};
    QStringList shown;

    WordSandbox();
    // A Word bundle with the identifier and version at `path`.
    void makeWord(std::string const& path, char const* version) const;
    QString at(std::string const& path) const { return QString::fromStdString(path); }
    QStringList messages() const;
};

} // namespace rf_test

