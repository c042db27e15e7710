// The install driver: turns the rules table into actions. The check pass asks every rule's
// mode handler whether its component is installed and seeds the tree; the initial install puts
// the Word add-in and the browser extension in place; the change pass installs every ticked
// component and removes every unticked one, or removes everything after an uninstall was
// confirmed. It never touches a file itself: it finds each rule's handler by its method name.
//
// Mode handler contract: handler(mode, itemNum, source, dest) with mode 1 check, 2 copy,
// 3 remove; a check answers the item state (1, 0 or -1), a change 1 for success. Source and
// dest may be null: the handler then uses its own default locations.
#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <optional>
#include <span>

#include "components/rf_rules.h"
#include "wizard/installer_log.h"
#include "wizard/navigation_engine.h"
#include "wizard/wizard_view.h"

namespace Refloom {

// Action codes of the mode handlers.
enum InstallAction : int { mode_check = 1, mode_copy = 2, mode_remove = 3 };

// A rules-file method name and the operation that handles it.
struct MethodHandler {
    char const* method;
    char const* selector;
};
// The check pass tests the names in this order; the change pass in its own, without the
// uninstall entry's handler.
std::span<MethodHandler const> checkHandlers();
std::span<MethodHandler const> changeHandlers();

class InstallDriver {
public:
    // Runs the named handler; none when no part of the program has registered it (yet).
    using RunHandler = std::function<std::optional<int>(QString const& selector, int mode, int itemNum,
                                                        QString const& source, QString const& dest)>;

    // `fileDest` is the destination the file rules get: the installer's bundle path + "/../".
    InstallDriver(rfRules& rules, InstallerLog& log, WizardView& view, NavigationEngine& engine, RunHandler run,
                  QString fileDest);

    void installCheck();
    void initialInstall();
    void makeChange();
    // Asks whether to remove every component; on "Yes" marks the run an uninstall and goes on
    // to the change step.
    void doUninstall();
    // The web edition's uninstall question; on "Yes" goes to its uninstall row. True when the
    // wizard must stay where it is (it has jumped itself, or the user said No).
    bool doRFWUninstall();

    // What the last change pass or initial install did to each component it was asked to
    // change, a line each ("Installed: Styles"); also shown on the page that ends the flow.
    QStringList const& outcomeLines() const { return m_outcomes; }
    // A change asked for did not happen.
    bool anyFailed() const { return m_failed; }

    bool m_bUninstall = false;        // once confirmed, the run stays an uninstall
    bool m_bMRGN_path_added = false;  // the user changed Word's startup folders: reinstall the add-in

private:
    std::optional<int> dispatch(std::span<MethodHandler const> table, int rule, int mode);
    // Records what a handler did with a component the user asked to change; `fileStatus` when
    // the handler answers its file operation's status (0 done) rather than 1 for done.
    void noteOutcome(QString const& name, int action, std::optional<int> result, bool fileStatus);
    // Puts the lines on the pages that end the flows.
    void showOutcomes();

    rfRules& m_rules;
    InstallerLog& m_log;
    WizardView& m_view;
    NavigationEngine& m_engine;
    RunHandler m_run;
    QString m_fileDest;
    QStringList m_outcomes;
    bool m_failed = false;
};

} // namespace Refloom
