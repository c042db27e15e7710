// The file operations of the install modes. Each changes the disk only through a system tool:
// it logs what it is about to do, checks its operands, runs the tool as the user and, when
// that fails, the same command as administrator.
//
// Results are inverted: true means the operation FAILED, false that it succeeded. The alias
// operation is the one exception (true on success). Both are the program's own conventions.
// A null QString stands for a missing operand, logged as "(null)"; a path that does not exist
// is checked as the operations below say.
#pragma once

#include <QString>

#include "privileged/command_runner.h"
#include "privileged/tool_table.h"
#include "wizard/installer_log.h"

namespace Refloom {

class FileOperations {
public:
    // The tools come from the runner's table, so that its administrator retries are ones the
    // privileged helper knows.
    FileOperations(CommandRunner& runner, InstallerLog& log);

    // A missing path succeeds with nothing run. The lock flag is cleared first (recursively for
    // a folder), and again before the administrator attempt.
    bool removeFile(QString const& path);
    bool renameFile(QString const& source, QString const& destination);
    // Copies a file or merges a folder into the destination, making missing parents.
    bool copyPath(QString const& source, QString const& destination);
    bool unlockFile(QString const& path);
    bool unlockDir(QString const& path);
    // The mode text goes to the tool as it is ("777", "u+w", ...).
    bool chmod(QString const& path, QString const& mode);
    // An existing path succeeds with nothing run; a new folder gets mode 777.
    bool makeDir(QString const& path);
    // A missing source fails.
    bool symLink(QString const& source, QString const& linkPath);
    // Writes an alias file of our own at `aliasPath` that records `target` (its path, device and
    // inode). TRUE on success; on failure logs the error code and answers false.
    bool makeAliasTarget(QString const& target, QString const& aliasPath);

private:
    // Runs the call as the user, then as administrator after `beforeRetry`; true when it failed.
    bool run(ToolCall const& call, std::function<void()> const& beforeRetry = {});

    CommandRunner& m_runner;
    InstallerLog& m_log;
    ToolTable const& m_tools;
};

} // namespace Refloom
