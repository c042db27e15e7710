#include "privileged/process_run.h"

#include <QCoreApplication>
#include <QProcess>

namespace Refloom {
namespace {

void start(QProcess& process, QString const& tool, QStringList const& arguments) {
    process.start(tool, arguments);
    if (!process.waitForStarted(-1))
        throw LaunchError("cannot launch " + tool.toStdString() + ": " + process.errorString().toStdString());
}

int finish(QProcess& process, std::function<void()> const& keepPainted) {
    while (process.state() != QProcess::NotRunning && !process.waitForFinished(20))
        if (keepPainted) keepPainted();
    return process.exitStatus() == QProcess::CrashExit ? -1 : process.exitCode();
}

} // namespace

void processPendingEvents() {
    if (QCoreApplication::instance()) QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

int runInheriting(QString const& tool, QStringList const& arguments,
                  std::function<void()> const& keepPainted) {
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.setInputChannelMode(QProcess::ForwardedInputChannel);
    start(process, tool, arguments);
    return finish(process, keepPainted);
}

Captured runCapturing(QString const& tool, QStringList const& arguments, bool withErrors,
                      std::function<void()> const& keepPainted) {
    QProcess process;
    process.setProcessChannelMode(withErrors ? QProcess::MergedChannels : QProcess::ForwardedErrorChannel);
    start(process, tool, arguments);
    int status = finish(process, keepPainted);
    return {status, process.readAllStandardOutput()};
}

QString joined(std::optional<QStringList> const& arguments) {
    return arguments ? arguments->join(QLatin1Char(' ')) : QString();
}

} // namespace Refloom
