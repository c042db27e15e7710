// The plain-text log of every step: one line per event, "YYYY-MM-DD hh:mm:ss +0000 message",
// appended to "~/Library/Logs/Refloom 2025 Update.log". It never fails and never raises: an
// unwritable log is silent.
#pragma once

#include <QString>

#include "wizard/system_root.h"

namespace Refloom {

class InstallerLog {
public:
    static constexpr char const* kLogName = "~/Library/Logs/Refloom 2025 Update.log";
    static constexpr char const* kExitedNormally = "Updater: Exited Normally";
    static constexpr char const* kUserCancelled = "Updater: User Cancelled";

    explicit InstallerLog(SystemRoot const& root);

    QString path() const { return m_path; }

    // Each line goes out in one write to a file opened for appending, so lines from several
    // writers never mix within a line.
    void logMessage(QString const& message);
    // "message:Succeeded" or "message:Failed".
    void logMessage(QString const& message, bool result);
    // "State: name Mode: mode_check|mode_copy|mode_remove|mode_invalid".
    void logInstall(QString const& name, int mode);
    // "message Result= Disable|No|Yes|Invalid" for -1, 0, 1 and anything else.
    void logResult(int result, QString const& message);
    void logException(QString const& what = QString());
    // Each line of a child's output as one log line, the last one even without a line feed.
    void logOutput(QByteArray const& output);
    // Every line read from the descriptor (one byte at a time) as one log line, the last one
    // even without a final line feed. The descriptor is left open.
    void dumpFDToLog(int fd);
    // The eleven-line banner a flow starts with.
    void logBanner(QString const& title);

    static QString modeWord(int mode);
    static QString resultWord(int result);

private:
    QString m_path;
};

} // namespace Refloom
