#include "privileged/file_operations.h"

#include <sys/stat.h>

#include <QFile>
#include <QFileInfo>
#include <QVariantMap>

#include "support/plist_bridge.h"

namespace Refloom {
namespace {

// File Manager error codes, which the alias operation logs.
constexpr int kNotFound = -43;
constexpr int kDuplicate = -48;
constexpr int kWriteFailed = -61;

bool exists(QString const& path) { return QFileInfo::exists(path); }

// A missing operand reads as the system's null text in the log.
QString shown(QString const& text) { return text.isNull() ? QStringLiteral("(null)") : text; }

} // namespace

FileOperations::FileOperations(CommandRunner& runner, InstallerLog& log)
    : m_runner(runner), m_log(log), m_tools(runner.tools()) {}

bool FileOperations::run(ToolCall const& call, std::function<void()> const& beforeRetry) {
    if (m_runner.launchApp(call.tool, call.arguments) == 0) return false;
    if (beforeRetry) beforeRetry();
    return m_runner.launchRootApp(call.tool, call.arguments) != 0;
}

bool FileOperations::removeFile(QString const& path) {
    m_log.logMessage(QStringLiteral("Remove File: %1").arg(shown(path)));
    if (path.isNull()) return true;
    if (!exists(path)) return false;
    bool const folder = QFileInfo(path).isDir();
    auto unlock = [&] { folder ? unlockDir(path) : unlockFile(path); };
    unlock();
    return run(m_tools.call(folder ? FileTool::remove_folder : FileTool::remove_file, path), unlock);
}

bool FileOperations::renameFile(QString const& source, QString const& destination) {
    m_log.logMessage(QStringLiteral("Rename File: %1 -> %2").arg(shown(source), shown(destination)));
    if (source.isNull() || destination.isNull()) return true;
    if (!exists(source)) {
        m_log.logMessage(QStringLiteral("rename: source path does not exist: %1").arg(source));
        return true;
    }
    return run(m_tools.call(FileTool::rename, source, destination));
}

bool FileOperations::copyPath(QString const& source, QString const& destination) {
    m_log.logMessage(QStringLiteral("Copy: %1 -> %2").arg(shown(source), shown(destination)));
    if (source.isNull() || destination.isNull()) return true;
    if (!exists(source)) {
        m_log.logMessage(QStringLiteral("Copy: source path does not exist: %1").arg(source));
        return true;
    }
    return run(m_tools.call(FileTool::copy, source, destination));
}

bool FileOperations::unlockFile(QString const& path) {
    m_log.logMessage(QStringLiteral("Unlock File: %1").arg(shown(path)));
    return path.isNull() || run(m_tools.call(FileTool::unlock_file, path));
}

bool FileOperations::unlockDir(QString const& path) {
    m_log.logMessage(QStringLiteral("Unlock Dir: %1").arg(shown(path)));
    return path.isNull() || run(m_tools.call(FileTool::unlock_dir, path));
}

bool FileOperations::chmod(QString const& path, QString const& mode) {
    m_log.logMessage(QStringLiteral("chmod: %1 mode:%2").arg(shown(path), shown(mode)));
    return path.isNull() || mode.isNull() || run(m_tools.call(FileTool::chmod, path, mode));
}

bool FileOperations::makeDir(QString const& path) {
    m_log.logMessage(QStringLiteral("Make Dir: %1").arg(shown(path)));
    if (path.isNull()) return true;
    if (exists(path)) return false;
    bool const failed = run(m_tools.call(FileTool::make_dir, path));
    if (!failed) chmod(path, QStringLiteral("777"));
    return failed;
}

bool FileOperations::symLink(QString const& source, QString const& linkPath) {
    m_log.logMessage(QStringLiteral("SymLink: %1 -> %2").arg(shown(source), shown(linkPath)));
    if (source.isNull() || linkPath.isNull()) return true;
    if (!exists(source)) {
        m_log.logMessage(QStringLiteral("file or dir '%1' is missing").arg(source));
        return true;
    }
    return run(m_tools.call(FileTool::sym_link, source, linkPath));
}

bool FileOperations::makeAliasTarget(QString const& target, QString const& aliasPath) {
    int error = 0;
    struct stat info;
    QByteArray const native = QFile::encodeName(target);
    if (target.isEmpty() || aliasPath.isEmpty() || ::stat(native.constData(), &info) != 0 ||
        !QFileInfo(QFileInfo(aliasPath).path()).isDir()) {
        error = kNotFound;
    } else if (QFileInfo(aliasPath).exists() || QFileInfo(aliasPath).isSymLink()) {
        error = kDuplicate;
    } else {
        QVariantMap alias{
            {QStringLiteral("RFAliasVersion"), 1},
            {QStringLiteral("RFAliasTarget"), QFileInfo(target).absoluteFilePath()},
            {QStringLiteral("RFAliasTargetDevice"), qulonglong(info.st_dev)},
            {QStringLiteral("RFAliasTargetInode"), qulonglong(info.st_ino)},
            {QStringLiteral("RFAliasTargetIsFolder"), S_ISDIR(info.st_mode)},
        };
        if (!writePlistFile(aliasPath, alias)) error = kWriteFailed;
    }
    if (error == 0) return true;  // true means success here, unlike its neighbours. Intended.
    m_log.logMessage(QStringLiteral("makeAliasTarget: [%1] [%2] Error code: %3").arg(target, aliasPath).arg(error));
    return false;
}

} // namespace Refloom
