#include "privileged/process_run.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QFile>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

extern char** environ;

namespace Refloom {
namespace {

pid_t start(QString const& tool, QStringList const& arguments, posix_spawn_file_actions_t const* actions) {
    std::vector<std::string> args{QFile::encodeName(tool).toStdString()};
    for (QString const& argument : arguments) args.push_back(QFile::encodeName(argument).toStdString());
    std::vector<char*> argv;
    for (std::string& item : args) argv.push_back(item.data());
    argv.push_back(nullptr);
    pid_t pid = -1;
    if (int error = posix_spawn(&pid, argv[0], actions, nullptr, argv.data(), environ); error != 0)
        throw LaunchError("cannot launch " + tool.toStdString() + ": " + std::strerror(error));
    return pid;
}

int statusOf(int wait) { return WIFSIGNALED(wait) ? WTERMSIG(wait) : WEXITSTATUS(wait); }

// Waits for the tool, painting the window meanwhile; quick tools are not held up by the wait.
int finish(pid_t pid, std::function<void()> const& keepPainted) {
    int wait = 0;
    for (int pause = 1;; pause = std::min(pause * 2, 20)) {
        pid_t const ended = waitpid(pid, &wait, WNOHANG);
        if (ended == pid) return statusOf(wait);
        if (ended < 0 && errno != EINTR) return -1;
        if (keepPainted) keepPainted();
        poll(nullptr, 0, pause);
    }
}

} // namespace

void processPendingEvents() {
    if (QCoreApplication::instance()) QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

int runInheriting(QString const& tool, QStringList const& arguments, std::function<void()> const& keepPainted) {
    return finish(start(tool, arguments, nullptr), keepPainted);
}

Captured runCapturing(QString const& tool, QStringList const& arguments, bool withErrors,
                      std::function<void()> const& keepPainted,
                      std::function<void(QByteArray const&)> const& onOutput) {
    int out[2];
    if (pipe2(out, O_CLOEXEC) != 0) throw LaunchError("cannot make a pipe for " + tool.toStdString());
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], 1);
    if (withErrors) posix_spawn_file_actions_adddup2(&actions, out[1], 2);
    pid_t pid = -1;
    try {
        pid = start(tool, arguments, &actions);
    } catch (LaunchError const&) {
        posix_spawn_file_actions_destroy(&actions);
        close(out[0]);
        close(out[1]);
        throw;
    }
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);

    QByteArray output;
    char buffer[4096];
    for (;;) {
        pollfd waiting{out[0], POLLIN, 0};
        if (poll(&waiting, 1, 50) == 0) {
            if (keepPainted) keepPainted();
            continue;
        }
        ssize_t const n = read(out[0], buffer, sizeof buffer);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        if (onOutput)
            onOutput(QByteArray(buffer, n));
        else
            output.append(buffer, n);
    }
    close(out[0]);
    return {finish(pid, keepPainted), output};
}

QString joined(std::optional<QStringList> const& arguments) {
    return arguments ? arguments->join(QLatin1Char(' ')) : QString();
}

} // namespace Refloom
