// The program's end of the privileged helper: starts it through the platform's elevation and
// asks it to run tools as administrator.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <sys/types.h>

namespace Refloom {

class HelperClient {
public:
    struct Result {
        int status;         // 0: the tool ran; otherwise why it could not (HelperProtocol)
        QByteArray output;  // its standard output and error
    };

    // The elevation command the helper is started with: RF_ELEVATE when set (split at blanks,
    // "sudo -n" for instance); nothing when the program already runs as root; else pkexec.
    static QStringList elevationCommand();

    // Starts the helper and waits for it to say it is ready, calling `keepPainted` meanwhile.
    // Null when the elevation was refused or failed.
    static std::unique_ptr<HelperClient> start(QString const& helperPath,
                                               std::function<void()> const& keepPainted);
    // Closes the helper's input, which ends it, and waits for it.
    ~HelperClient();
    HelperClient(HelperClient const&) = delete;
    HelperClient& operator=(HelperClient const&) = delete;

    // A helper that has gone away answers HelperProtocol::kExecuteFailed.
    Result run(QString const& tool, QStringList const& arguments);

private:
    HelperClient(pid_t pid, int to, int from, std::function<void()> keepPainted)
        : m_pid(pid), m_to(to), m_from(from), m_keepPainted(std::move(keepPainted)) {}

    pid_t m_pid;
    int m_to;
    int m_from;
    std::function<void()> m_keepPainted;
};

} // namespace Refloom
