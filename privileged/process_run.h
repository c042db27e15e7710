// Running a tool as the user: by absolute path, with an argument list (never a shell), waiting
// for it to end while the window keeps painting.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>
#include <stdexcept>

namespace Refloom {

// A tool that cannot be started at all: missing, not executable.
class LaunchError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Processes pending events other than user input, so spinners turn while a tool runs.
void processPendingEvents();

// Statuses are the tool's exit status, or the number of the signal that ended it, as the
// Mac's task API reports a termination status.

// Runs the tool with the program's own standard input, output and error; answers its status.
// Raises LaunchError when it cannot be started.
int runInheriting(QString const& tool, QStringList const& arguments,
                  std::function<void()> const& keepPainted);

struct Captured {
    int status;
    QByteArray output;
};
// Runs the tool with its standard output (and, with `withErrors`, its standard error) captured.
// `onOutput`, when given, receives each chunk as it arrives and the output is not kept.
Captured runCapturing(QString const& tool, QStringList const& arguments, bool withErrors,
                      std::function<void()> const& keepPainted,
                      std::function<void(QByteArray const&)> const& onOutput = {});

// An argument list as the log shows it: joined with single blanks, empty for none.
QString joined(std::optional<QStringList> const& arguments);

} // namespace Refloom
