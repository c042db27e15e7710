#include "privileged/helper_client.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QFile>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "privileged/helper_protocol.h"

extern char** environ;

namespace Refloom {
namespace {

void reap(pid_t pid) {
    while (waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
    }
}

// Waits until the helper has something to say, keeping the window painted meanwhile.
bool awaitInput(int fd, std::function<void()> const& keepPainted) {
    for (;;) {
        pollfd waiting{fd, POLLIN, 0};
        int count = poll(&waiting, 1, 50);
        if (count > 0) return true;
        if (count < 0 && errno != EINTR) return false;
        if (keepPainted) keepPainted();
    }
}

// Reads the helper's first line, keeping the window painted while the user answers the
// elevation prompt. False when the helper ends (or says something else) instead.
bool awaitReady(int fd, std::function<void()> const& keepPainted) {
    std::string said;
    std::string const ready = HelperProtocol::kReady;
    while (said.size() < ready.size()) {
        if (!awaitInput(fd, keepPainted)) return false;
        char c;
        ssize_t n = read(fd, &c, 1);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        said.push_back(c);
        if (ready.compare(0, said.size(), said) != 0) return false;
    }
    return true;
}

} // namespace

QStringList HelperClient::elevationCommand() {
    if (qEnvironmentVariableIsSet("RF_ELEVATE"))
        return qEnvironmentVariable("RF_ELEVATE").split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (geteuid() == 0) return {};
    return {QStringLiteral("pkexec")};
}

std::unique_ptr<HelperClient> HelperClient::start(QString const& helperPath,
                                                  std::function<void()> const& keepPainted) {
    // A helper that dies must not take the program with it when it next writes to the helper.
    signal(SIGPIPE, SIG_IGN);
    QStringList command = elevationCommand();
    command.append(helperPath);
    std::vector<std::string> args;
    for (QString const& item : command) args.push_back(QFile::encodeName(item).toStdString());
    std::vector<char*> argv;
    for (std::string& item : args) argv.push_back(item.data());
    argv.push_back(nullptr);

    int to[2], from[2];
    if (pipe2(to, O_CLOEXEC) != 0) return nullptr;
    if (pipe2(from, O_CLOEXEC) != 0) {
        close(to[0]);
        close(to[1]);
        return nullptr;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, to[0], 0);
    posix_spawn_file_actions_adddup2(&actions, from[1], 1);
    pid_t pid = -1;
    int spawned = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(to[0]);
    close(from[1]);
    if (spawned != 0) {
        close(to[1]);
        close(from[0]);
        return nullptr;
    }
    if (!awaitReady(from[0], keepPainted)) {
        close(to[1]);
        close(from[0]);
        reap(pid);
        return nullptr;
    }
    return std::unique_ptr<HelperClient>(new HelperClient(pid, to[1], from[0], keepPainted));
}

HelperClient::~HelperClient() {
    close(m_to);
    close(m_from);
    reap(m_pid);
}

HelperClient::Result HelperClient::run(QString const& tool, QStringList const& arguments) {
    std::vector<std::string> request{QFile::encodeName(tool).toStdString()};
    for (QString const& item : arguments) request.push_back(item.toUtf8().toStdString());
    std::int32_t status = HelperProtocol::kExecuteFailed;
    std::string output;
    if (!HelperProtocol::writeRequest(m_to, request) || !awaitInput(m_from, m_keepPainted) ||
        !HelperProtocol::readReply(m_from, status, output))
        return {HelperProtocol::kExecuteFailed, {}};
    return {status, QByteArray::fromStdString(output)};
}

} // namespace Refloom
