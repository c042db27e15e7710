#include "wizard/installer_log.h"

#include <fcntl.h>
#include <unistd.h>

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

namespace Refloom {
namespace {

constexpr int kBannerWidth = 54;

QString bannerTitleLine(QString const& title) {
    QString line = QStringLiteral("**  ") + title;
    return line.leftJustified(kBannerWidth - 2, QLatin1Char(' ')) + QStringLiteral("**");
}

} // namespace

InstallerLog::InstallerLog(SystemRoot const& root) : m_path(root.map(QString::fromLatin1(kLogName))) {}

void InstallerLog::logMessage(QString const& message) {
    QString const stamp =
        QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss")) +
        QStringLiteral(" +0000");
    QByteArray const line = (stamp + QLatin1Char(' ') + message + QLatin1Char('\n')).toUtf8();
    QByteArray const file = QFile::encodeName(m_path);
    int fd = ::open(file.constData(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0) {
        // The Mac always has a Logs folder; elsewhere the first line makes it.
        QDir().mkpath(QFileInfo(m_path).path());
        fd = ::open(file.constData(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    }
    if (fd < 0) return;
    ssize_t written = ::write(fd, line.constData(), static_cast<size_t>(line.size()));
    (void)written;  // a log that cannot be written is silent
    ::close(fd);
}

void InstallerLog::logMessage(QString const& message, bool result) {
    logMessage(message + QLatin1Char(':') + (result ? QStringLiteral("Succeeded") : QStringLiteral("Failed")));
}

QString InstallerLog::modeWord(int mode) {
    switch (mode) {
    case 1: return QStringLiteral("mode_check");
    case 2: return QStringLiteral("mode_copy");
    case 3: return QStringLiteral("mode_remove");
    default: return QStringLiteral("mode_invalid");
    }
}

QString InstallerLog::resultWord(int result) {
    switch (result) {
    case -1: return QStringLiteral("Disable");
    case 0: return QStringLiteral("No");
    case 1: return QStringLiteral("Yes");
    default: return QStringLiteral("Invalid");
    }
}

void InstallerLog::logInstall(QString const& name, int mode) {
    logMessage(QStringLiteral("State: %1 Mode: %2").arg(name, modeWord(mode)));
}

void InstallerLog::logResult(int result, QString const& message) {
    logMessage(QStringLiteral("%1 Result= %2").arg(message, resultWord(result)));
}

void InstallerLog::logException(QString const& what) {
    logMessage(QStringLiteral("Exception Raised ") + what);
}

void InstallerLog::logOutput(QByteArray const& output) {
    if (output.isEmpty()) return;
    QList<QByteArray> lines = output.split('\n');
    if (lines.last().isEmpty()) lines.removeLast();  // the output ended with a line feed
    for (QByteArray const& line : lines) logMessage(QString::fromUtf8(line));
}

void InstallerLog::dumpFDToLog(int fd) {
    QByteArray line;
    line.reserve(1024);
    char byte;
    // Bytes above 127 are taken as UTF-8, so a child's non-ASCII output reads as it was meant.
    while (::read(fd, &byte, 1) == 1) {
        if (byte == '\n') {
            logMessage(QString::fromUtf8(line));
            line.clear();
        } else {
            line.append(byte);
        }
    }
    if (!line.isEmpty()) logMessage(QString::fromUtf8(line));
}

void InstallerLog::logBanner(QString const& title) {
    QString const stars(kBannerWidth, QLatin1Char('*'));
    QString const frame = QStringLiteral("**") + QString(kBannerWidth - 4, QLatin1Char(' ')) + QStringLiteral("**");
    for (QString const& line : {stars, stars, frame, bannerTitleLine(title), frame, frame,
                                QStringLiteral("**    Build number: 22265"), frame, stars, stars})
        logMessage(line);
}

} // namespace Refloom
