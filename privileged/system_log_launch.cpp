#include "privileged/system_log_launch.h"

#include <syslog.h>

#include <cstdio>

#include "privileged/process_run.h"

namespace Refloom {
namespace {

void systemLog(QString const& message) { syslog(LOG_NOTICE, "%s", message.toUtf8().constData()); }

} // namespace

AuthorizationRef authenticate(QString const& helperPath) {
    systemLog(QStringLiteral("Authenticate..."));
    std::unique_ptr<HelperClient> helper = HelperClient::start(helperPath, processPendingEvents);
    // Starting the helper both creates the authorization and grants the right in one step, so
    // a refusal is always the second message's.
    if (!helper) systemLog(QStringLiteral("Failed to authorize rights."));
    return helper.release();
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
    HelperClient::Result result = authorization->run(tool, params.value_or(QStringList()));
    if (result.status == 0)
        std::fwrite(result.output.constData(), 1, size_t(result.output.size()), stderr);
    else
        systemLog(QStringLiteral("Failed to authenticate: %1 Result: %2").arg(tool).arg(result.status));
    systemLog(QStringLiteral("Running as root: %1 %2 Result: %3").arg(tool, joined(params)).arg(result.status));
    return result.status;
}

} // namespace Refloom
