#include "privileged/command_runner.h"

#include <QRegularExpression>

#include <cstdio>

#include "privileged/process_run.h"

namespace Refloom {
namespace {

QString orNull(QString const& text) { return text.isNull() ? QStringLiteral("(null)") : text; }

// Logs each complete line of a child's output as it arrives, and the last partial one at the end.
class LineLogger {
public:
    explicit LineLogger(InstallerLog& log) : m_log(log) {}
    void take(QByteArray const& chunk) {
        m_pending += chunk;
        for (qsizetype end; (end = m_pending.indexOf('\n')) >= 0; m_pending.remove(0, end + 1))
            m_log.logMessage(QString::fromUtf8(m_pending.left(end)));
    }
    void finish() {
        if (!m_pending.isEmpty()) m_log.logMessage(QString::fromUtf8(m_pending));
        m_pending.clear();
    }

private:
    InstallerLog& m_log;
    QByteArray m_pending;
};

} // namespace

CommandRunner::CommandRunner(InstallerLog& log, Setup setup)
    : keepPainted(processPendingEvents), m_log(log), m_setup(std::move(setup)),
      m_tools(m_setup.toolDir.isEmpty() ? m_setup.resourceDir : m_setup.toolDir) {}

CommandRunner::~CommandRunner() = default;

bool CommandRunner::authenticate() {
    // One question per run: the first answer, refusal included, holds until dethenticate.
    if (m_authorization != Authorization::none) return m_authorization == Authorization::granted;
    m_log.logMessage(QStringLiteral("Authenticate"));
    QStringList arguments;
    if (!m_setup.root.root().isEmpty())
        arguments << QStringLiteral("--root") << m_setup.root.root() << QStringLiteral("--home") << m_setup.root.home();
    HelperClient::Started started = HelperClient::start(m_setup.helperPath, arguments, keepPainted);
    m_helper = std::move(started.client);
    m_authorization = m_helper ? Authorization::granted : Authorization::refused;
    m_lastAnswer = m_authorization;
    m_refusalReason = m_helper ? QString() : started.whyNot;
    if (!m_helper) m_log.logMessage(started.whyNot);
    m_log.logMessage(QStringLiteral("Authentication status "), m_helper != nullptr);
    return m_helper != nullptr;
}

void CommandRunner::dethenticate() {
    m_helper.reset();
    m_authorization = Authorization::none;
}

HelperClient::Result CommandRunner::runAsAdmin(QString const& tool, QStringList const& arguments) {
    std::optional<HelperProtocol::Request> const request = m_tools.request(tool, arguments);
    if (!request) {
        m_log.logMessage(QStringLiteral("Not an operation the privileged helper carries out: %1").arg(tool));
        return {HelperProtocol::kDenied, 1, {}};
    }
    if (!m_helper->isRunning()) {
        m_log.logMessage(QStringLiteral("The privileged helper has ended; asking for administrator rights again"));
        dethenticate();
        if (!authenticate()) return {0, 0, {}};  // refused: as for the first question. Intended.
    }
    HelperClient::Result result = m_helper->run(*request);
    if (result.status == HelperProtocol::kDenied) m_log.logOutput(result.output);
    return result;
}

int CommandRunner::launchApp(QString const& tool, Params const& params) {
    int status = runInheriting(tool, params.value_or(QStringList()), keepPainted);
    m_log.logMessage(QStringLiteral("Running as user: %1 %2 Result: %3").arg(tool, joined(params)).arg(status));
    return status;
}

void CommandRunner::noteRootExit(HelperClient::Result const& result, QString const& command, Params const& params) {
    m_lastRootExit = result.status == 0 ? std::optional<int>(result.exitStatus) : std::nullopt;
    // The launch's status is what callers are answered; the log also says how the run ended.
    if (result.status == 0 && result.exitStatus != 0)
        m_log.logMessage(QStringLiteral("The administrator run failed: %1 %2 Exit status: %3")
                             .arg(command, joined(params))
                             .arg(result.exitStatus));
}

int CommandRunner::launchRootApp(QString const& tool, Params const& params) {
    m_lastRootExit.reset();
    if (!authenticate()) return 0;  // refused: reported as success, nothing logged. Intended.
    HelperClient::Result result = runAsAdmin(tool, params.value_or(QStringList()));
    if (m_authorization != Authorization::granted) return 0;  // a new question was refused
    if (result.status == 0) {
        // The administrator run's output goes to the program's standard error, not the log.
        std::fwrite(result.output.constData(), 1, size_t(result.output.size()), stderr);
    } else {
        m_log.logMessage(QStringLiteral("Failed to authenticate: %1 Result: %2").arg(tool).arg(result.status));
    }
    m_log.logMessage(QStringLiteral("Running as admin: %1 %2 Result: %3").arg(tool, joined(params)).arg(result.status));
    noteRootExit(result, tool, params);
    return result.status;
}

int CommandRunner::systemCallWithLog(QString const& command, Params const& params, bool justUser) {
    QString const full = m_setup.resourceDir + QLatin1Char('/') + command;
    QStringList const arguments = params.value_or(QStringList());
    LineLogger lines(m_log);
    // The output reaches the log line by line while the command runs, so a long script's
    // progress is there as it happens.
    int const user = runCapturing(full, arguments, true, keepPainted, [&](QByteArray const& chunk) { lines.take(chunk); }).status;
    lines.finish();
    m_log.logMessage(QStringLiteral("Run as user: %1 %2 Result: %3").arg(command, joined(params)).arg(user));
    m_lastRootExit.reset();
    if (user == 0 || justUser || !authenticate()) return user;

    HelperClient::Result admin = runAsAdmin(full, arguments);
    if (m_authorization != Authorization::granted) return user;
    if (admin.status == 0)
        m_log.logOutput(admin.output);
    else
        m_log.logMessage(QStringLiteral("Failed to authenticate: %1 Result: %2").arg(full).arg(admin.status));
    m_log.logMessage(QStringLiteral("Run as admin: %1 %2 Result: %3").arg(command, joined(params)).arg(admin.status));
    noteRootExit(admin, command, params);
    return admin.status;
}

bool CommandRunner::runResourceScript(QString const& script, Params const& params, bool justUser) {
    m_log.logMessage(QStringLiteral("Run: %1 -> Params: %2").arg(orNull(script), describe(params)));
    if (script.isNull()) return true;
    QString const path = m_setup.resourceDir + QLatin1Char('/') + script;
    bool failed = launchApp(path, params) != 0;
    if (failed && !justUser) failed = launchRootApp(path, params) != 0;
    return failed;
}

QString CommandRunner::execCmdLineApp(QString const& tool, Params const& params) {
    QString result;
    m_log.logMessage(QStringLiteral("Executing ") + tool);
    try {
        Captured run = runCapturing(tool, params.value_or(QStringList()), false, keepPainted);
        result = QString::fromLatin1(run.output);
        if (!result.isEmpty()) result.chop(1);  // the trailing line feed
        if (run.status != 0) result = QStringLiteral("ERROR");
        m_log.logMessage(QStringLiteral("execCmdLineApp %1 %2 result: %3").arg(tool, joined(params), result));
    } catch (LaunchError const& error) {
        m_log.logException(QString::fromStdString(error.what()));
    }
    return result;
}

QString describe(Params const& params) {
    if (!params) return QStringLiteral("(null)");
    static QRegularExpression const plain(QStringLiteral("^[A-Za-z0-9_./-]+$"));
    QString text = QStringLiteral("(");
    for (qsizetype i = 0; i < params->size(); ++i) {
        QString item = params->at(i);
        if (!plain.match(item).hasMatch())
            item = QLatin1Char('"') + QString(item).replace(QLatin1Char('"'), QLatin1String("\\\"")) + QLatin1Char('"');
        text += QStringLiteral("\n    ") + item + (i + 1 < params->size() ? QStringLiteral(",") : QString());
    }
    return text + QStringLiteral("\n)");
}

} // namespace Refloom
