#include "privileged/helper_client.h"

#include <poll.h>
#include <sys/prctl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <string>
#include <vector>

extern char** environ;

namespace Refloom {
namespace {

constexpr char kPkexec[] = "/usr/bin/pkexec";

void reap(pid_t pid) {
    while (waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
    }
}

// The channels this process holds, and whether it was dumpable before the first.
int gChannels = 0;
int gWasDumpable = 1;

void holdChannel() {
    if (gChannels++ == 0) {
        gWasDumpable = prctl(PR_GET_DUMPABLE);
        prctl(PR_SET_DUMPABLE, 0);
    }
}

void releaseChannel() {
    if (--gChannels == 0 && gWasDumpable > 0) prctl(PR_SET_DUMPABLE, gWasDumpable);
}

} // namespace

std::optional<QStringList> HelperClient::elevationCommand(QString& whyNot) {
    if (qEnvironmentVariableIsSet("RF_ELEVATE")) {
        QStringList const command = qEnvironmentVariable("RF_ELEVATE").split(QLatin1Char(' '), Qt::SkipEmptyParts);
        // A bare name would be looked up in PATH, where anyone may have put a tool of that name.
        if (command.isEmpty() || !command.first().startsWith(QLatin1Char('/'))) {
            whyNot = QStringLiteral("RF_ELEVATE must start with an absolute path: \"%1\"").arg(qEnvironmentVariable("RF_ELEVATE"));
            return std::nullopt;
        }
        return command;
    }
    if (geteuid() == 0) return QStringList();
    return QStringList{QString::fromLatin1(kPkexec)};
}

HelperClient::Started HelperClient::start(QString const& helperPath, QStringList const& arguments,
                                          std::function<void()> const& keepPainted) {
    QString whyNot;
    std::optional<QStringList> command = elevationCommand(whyNot);
    if (!command) return {nullptr, whyNot};
    *command << helperPath << arguments;
    std::uint32_t user = 0;
    std::unique_ptr<HelperClient> client = spawn(*command, keepPainted, user);
    if (!client) return {nullptr, QStringLiteral("The privileged helper did not start: %1").arg(command->join(QLatin1Char(' ')))};
    if (user != 0) return {nullptr, QStringLiteral("The privileged helper runs as user %1, not as root").arg(user)};
    return {std::move(client), QString()};
}

std::unique_ptr<HelperClient> HelperClient::spawn(QStringList const& command, std::function<void()> const& keepPainted,
                                                  std::uint32_t& effectiveUser) {
    // A helper that dies must not take the program with it when it next writes to the helper.
    signal(SIGPIPE, SIG_IGN);
    if (command.isEmpty()) return nullptr;
    std::vector<std::string> args;
    for (QString const& item : command) args.push_back(QFile::encodeName(item).toStdString());
    std::vector<char*> argv;
    for (std::string& item : args) argv.push_back(item.data());
    argv.push_back(nullptr);

    // A socket cannot be opened again through /proc, as a pipe can: only this process and the
    // helper ever hold the channel. The kernel names the sender of all that arrives on it.
    holdChannel();
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        releaseChannel();
        return nullptr;
    }
    if (!HelperProtocol::passCredentials(ends[0])) {
        close(ends[0]);
        close(ends[1]);
        releaseChannel();
        return nullptr;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], 0);
    posix_spawn_file_actions_adddup2(&actions, ends[1], 1);
    pid_t pid = -1;
    int const spawned = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    if (spawned != 0) {
        close(ends[0]);
        releaseChannel();
        return nullptr;
    }
    std::unique_ptr<HelperClient> client(new HelperClient(pid, ends[0], keepPainted));
    std::string greeting;
    // The user answers the elevation prompt meanwhile; the window keeps painting. What the
    // greeting says of its user counts for nothing: the kernel's word does.
    if (!client->awaitInput() || !HelperProtocol::readFrame(ends[0], greeting, 64, nullptr, &client->m_helper) ||
        !HelperProtocol::decodeGreeting(greeting))
        return nullptr;
    effectiveUser = client->m_helper.uid;
    return client;
}

HelperClient::HelperClient(pid_t pid, int channel, std::function<void()> keepPainted)
    : m_pid(pid), m_channel(channel), m_keepPainted(std::move(keepPainted)) {}

HelperClient::~HelperClient() {
    close(m_channel);
    if (m_pid > 0) reap(m_pid);
    releaseChannel();
}

bool HelperClient::awaitInput() {
    for (;;) {
        pollfd waiting{m_channel, POLLIN, 0};
        int count = poll(&waiting, 1, 50);
        if (count > 0) return true;
        if (count < 0 && errno != EINTR) return false;
        if (m_keepPainted) m_keepPainted();
    }
}

bool HelperClient::isRunning() {
    if (m_broken || m_pid <= 0) return false;
    int status = 0;
    pid_t const ended = waitpid(m_pid, &status, WNOHANG);
    if (ended == m_pid) m_pid = -1;  // reaped: the destructor must not wait for another
    m_broken = ended != 0;
    return !m_broken;
}

HelperClient::Result HelperClient::run(HelperProtocol::Request const& request) {
    std::optional<std::string> const body = HelperProtocol::encodeRequest(m_lastNumber + 1, request);
    if (!body) return {HelperProtocol::kDenied, 1, "the request is too large to send\n"};
    if (m_broken) return {HelperProtocol::kExecuteFailed, 1, {}};
    ++m_lastNumber;
    std::string answer;
    std::optional<HelperProtocol::Reply> reply;
    ucred sender{};
    if (HelperProtocol::writeFrame(m_channel, *body) && awaitInput() &&
        HelperProtocol::readFrame(m_channel, answer, HelperProtocol::kMaxReply, nullptr, &sender) &&
        sender.pid == m_helper.pid && sender.uid == m_helper.uid)
        reply = HelperProtocol::decodeReply(answer);
    if (!reply || reply->number != m_lastNumber) {
        m_broken = true;
        return {HelperProtocol::kExecuteFailed, 1, {}};
    }
    return {reply->status, reply->exitStatus, QByteArray::fromStdString(reply->output)};
}

} // namespace Refloom
