#include "privileged/system_log_launch.h"

#include <syslog.h>

#include <QDir>
#include <QFileInfo>

#include <cstdio>

#include "privileged/process_run.h"
#include "privileged/tool_table.h"

namespace Refloom {
namespace {

void systemLog(QString const& message) { syslog(LOG_NOTICE, "%s", message.toUtf8().constData()); }

} // namespace

AuthorizationRef authenticate(QString const& helperPath) {
    systemLog(QStringLiteral("Authenticate..."));
    // No usable way to get the rights is a failure to create the authorization; a helper that
    // did not start as root, a failure to be granted them.
    QString whyNot;
    if (!HelperClient::elevationCommand(whyNot)) {
        systemLog(QStringLiteral("Failed to create an authorization."));
        return nullptr;
    }
    HelperClient::Started started = HelperClient::start(helperPath, {}, processPendingEvents);
    if (!started.client) systemLog(QStringLiteral("Failed to authorize rights."));
    return started.client.release();
}

void dethenticate(AuthorizationRef authorization) { delete authorization; }

int launchApplication(QString const& tool, Params const& params) {
    int status = runInheriting(tool, params.value_or(QStringList()), processPendingEvents);
    systemLog(QStringLiteral("Running as user: %1 %2, Result: %3").arg(tool, joined(params)).arg(status));
    return status;
}

int launchApplicationAsRoot(AuthorizationRef authorization, QString const& helperPath,
                            QString const& tool, Params const& params) {
    if (!authorization) authorization = authenticate(helperPath);
    if (!authorization) return 0;
    // The helper runs named operations only: the command is matched against the tool table of
    // the helper's own bundle.
    ToolTable const tools(QDir::cleanPath(QFileInfo(helperPath).path() + QStringLiteral("/../Resources")));
    std::optional<HelperProtocol::Request> const request = tools.request(tool, params.value_or(QStringList()));
    HelperClient::Result const result = request ? authorization->run(*request) : HelperClient::Result{HelperProtocol::kDenied, 1, {}};
    if (result.status == 0)
        std::fwrite(result.output.constData(), 1, size_t(result.output.size()), stderr);
    else
        systemLog(QStringLiteral("Failed to authenticate: %1 Result: %2").arg(tool).arg(result.status));
    systemLog(QStringLiteral("Running as root: %1 %2 Result: %3").arg(tool, joined(params)).arg(result.status));
    if (result.status == 0 && result.exitStatus != 0)
        systemLog(QStringLiteral("The administrator run failed: %1 %2 Exit status: %3").arg(tool, joined(params)).arg(result.exitStatus));
    return result.status;
}

} // namespace Refloom
