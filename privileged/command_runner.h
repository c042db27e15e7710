// Runs every external program the installer starts: first with the user's rights, and only
// when that fails, once more as administrator through the privileged helper, which asks for
// the rights at most once per run. Every run goes to the log.
#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

#include "privileged/helper_client.h"
#include "privileged/tool_table.h"
#include "wizard/installer_log.h"
#include "wizard/system_root.h"

namespace Refloom {

// An argument list; none (nullopt) is logged as an empty string.
using Params = std::optional<QStringList>;

class CommandRunner {
public:
    struct Setup {
        QString resourceDir;  // resource commands and scripts are named relative to it
        QString helperPath;   // the privileged helper executable
        QString toolDir;      // the bundle's resources, with our own tools; resourceDir when empty
        SystemRoot root;      // the helper is told of a sandbox root and home, never of others
    };
    enum class Authorization { none, granted, refused };

    CommandRunner(InstallerLog& log, Setup setup);
    ~CommandRunner();

    // Asks for administrator rights once: after the first call the answer sticks, refusal
    // included, until dethenticate. Later calls ask nothing and log nothing. A helper that has
    // died meanwhile is started again, with one more prompt.
    bool authenticate();
    // Ends the helper and forgets the answer.
    void dethenticate();
    Authorization authorization() const { return m_authorization; }
    // The answer of the last question this run asked, kept after dethenticate: what a report
    // says about administrator rights (none when no step needed them).
    Authorization lastAnswer() const { return m_lastAnswer; }
    // Why the rights were refused, as the log says it; empty unless refused.
    QString refusalReason() const { return m_refusalReason; }
    ToolTable const& tools() const { return m_tools; }
    // How the last administrator run ended, as its tool's exit status; none when the last call
    // ran nothing as administrator (refused, or no rights needed).
    std::optional<int> exitOfLastRootRun() const { return m_lastRootExit; }

    // The tool's exit status. Raises LaunchError when it cannot be started.
    int launchApp(QString const& tool, Params const& params);
    // The status of the privileged launch: 0 when the tool was run, whatever its own exit
    // status, which exitOfLastRootRun() tells and the log records when it is not 0. A refused
    // authorization answers 0 without running anything, so a failed user attempt then counts as
    // done. Intended.
    // The command must be one the helper knows (a tool row, a resource script, the patch tool);
    // anything else, and anything outside the helper's policy, answers HelperProtocol::kDenied.
    int launchRootApp(QString const& tool, Params const& params);
    // Runs a resource command as the user with its output in the log, then, unless it succeeded
    // or `justUser`, as administrator. Answers the last status; after a refused authorization
    // the user run's own.
    int systemCallWithLog(QString const& command, Params const& params, bool justUser);
    // True when the script failed: as the user, then unless `justUser` as administrator. A null
    // name fails.
    bool runResourceScript(QString const& script, Params const& params, bool justUser);
    // The tool's standard output without its last character, or "ERROR" when it exits non-zero.
    QString execCmdLineApp(QString const& tool, Params const& params);

    // Keeps the window painted while a tool runs; processes non-input events by default.
    std::function<void()> keepPainted;

private:
    // The helper's answer for the command, starting a new helper when the last one died.
    HelperClient::Result runAsAdmin(QString const& tool, QStringList const& arguments);
    // Records how an administrator run ended, with a log line when it failed.
    void noteRootExit(HelperClient::Result const& result, QString const& command, Params const& params);

    InstallerLog& m_log;
    Setup m_setup;
    ToolTable m_tools;
    Authorization m_authorization = Authorization::none;
    Authorization m_lastAnswer = Authorization::none;
    std::unique_ptr<HelperClient> m_helper;
    std::optional<int> m_lastRootExit;
    QString m_refusalReason;
};

// The printed form of an argument list: "(null)" for none, else one item a line in brackets.
QString describe(Params const& params);

} // namespace Refloom
