// The program's end of the privileged helper: starts it through the platform's elevation on a
// socket pair that only this process holds, believes it only when it says it runs as root, and
// asks it for named operations.
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
        int status;         // 0: the tool ran; otherwise why it could not (HelperProtocol)
        QByteArray output;  // its standard output and error
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
    // Starts `command` as it is and takes whatever user it reports in `effectiveUser`: for
    // callers that check the user themselves, and for tests. Null when it does not greet.
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
    HelperClient(pid_t pid, int channel, std::function<void()> keepPainted)
        : m_pid(pid), m_channel(channel), m_keepPainted(std::move(keepPainted)) {}
    bool awaitInput();

    pid_t m_pid;
    int m_channel;
    std::function<void()> m_keepPainted;
    std::uint32_t m_lastNumber = 0;
    bool m_broken = false;
};

} // namespace Refloom
