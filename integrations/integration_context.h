// What the host integrations work with: the controller's log, runner, file operations, rules,
// view and navigation, the system root, where the installer lies, and its install sub-mode.
// The controller owns all of it and hands each integration this view of it.
#pragma once

#include <QString>

#include <functional>

#include "components/rf_rules.h"
#include "privileged/command_runner.h"
#include "privileged/file_operations.h"
#include "wizard/installer_log.h"
#include "wizard/navigation_engine.h"
#include "wizard/system_root.h"
#include "wizard/wizard_view.h"

namespace Refloom {

struct IntegrationContext {
    InstallerLog& log;
    CommandRunner& runner;
    FileOperations& files;
    rfRules& rules;
    WizardView& view;
    NavigationEngine& engine;
    SystemRoot root;
    QString bundlePath;       // the installer bundle ("... Updater.app")
    QString installerFolder;  // the folder that holds it
    std::function<int()> mode;                             // the install sub-mode, m_mode
    std::function<void(QString const&, int)> logInstall;   // "State: ..." and the progress text
};

} // namespace Refloom
