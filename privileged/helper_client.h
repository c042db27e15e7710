// The program's end of the privileged helper: starts it through the platform's elevation on a
// socket pair that only this process holds, believes it runs as root only when the kernel says
// so of its greeting, and asks it for named operations. While it holds the channel the process
// is not dumpable, so no other process of the user may take the channel from it (through
// ptrace or pidfd_getfd) or look into it.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>
#include <sys/types.h>

#include "privileged/helper_protocol.h"

namespace Refloom {

class HelperClient {
public:
    struct Result {
        int status;         // 0: the operation was carried out; otherwise why not (HelperProtocol)
        int exitStatus;     // how it ended, as a tool's exit status (0 done)
        QByteArray output;  // what went wrong, or a tool's standard output and error
    };
    struct Started {
        std::unique_ptr<HelperClient> client;  // null when refused
        QString whyNot;                        // for the log, when refused
    };

    // How the helper gets its rights: RF_ELEVATE when set, honoured only when its first word
    // is an absolute path ("/usr/bin/sudo -n"); nothing when the program already runs as root;
    // else /usr/bin/pkexec. None, with the reason, when RF_ELEVATE cannot be used.
    static std::optional<QStringList> elevationCommand(QString& whyNot);

    // Starts the helper with `arguments` and waits for its greeting, calling `keepPainted`
    // meanwhile. Refused unless the elevation worked and the helper runs as root.
    static Started start(QString const& helperPath, QStringList const& arguments,
                         std::function<void()> const& keepPainted);
    // Starts `command` as it is and answers in `effectiveUser` the user the kernel says sent the
    // greeting: for callers that check the user themselves, and for tests. Null when it does
    // not greet. Every later reply must come from the same process.
    static std::unique_ptr<HelperClient> spawn(QStringList const& command, std::function<void()> const& keepPainted,
                                               std::uint32_t& effectiveUser);

    // Closes the channel, which ends the helper, and waits for it.
    ~HelperClient();
    HelperClient(HelperClient const&) = delete;
    HelperClient& operator=(HelperClient const&) = delete;

    // A request the protocol cannot carry is not sent (kDenied); a helper that has gone away, or
    // answers out of turn, answers kExecuteFailed and is not asked again.
    Result run(HelperProtocol::Request const& request);
    // False once the helper has ended or the channel has failed.
    bool isRunning();

private:
    HelperClient(pid_t pid, int channel, std::function<void()> keepPainted);
    bool awaitInput();

    pid_t m_pid;
    int m_channel;
    ucred m_helper{};  // the greeting's sender, as the kernel named it
    std::function<void()> m_keepPainted;
    std::uint32_t m_lastNumber = 0;
    bool m_broken = false;
};

} // namespace Refloom
