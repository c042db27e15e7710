// For tests run by run_as_user.sh as an unprivileged user who may start only the privileged
// helper, through "sudo -n", against a sandbox system root that root owns.
#pragma once

#include "privileged/file_operations.h"
#include "tests/fixtures/log_lines.h"
#include "tests/fixtures/scratch.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <filesystem>
#include <functional>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace rf_test {

// Everything below `folder` that the user may see.
inline void eachBelow(QString const& folder, std::function<void(std::filesystem::path const&)> const& visit) {
    namespace fs = std::filesystem;
    std::error_code error;
    for (fs::recursive_directory_iterator it(folder.toStdString(), fs::directory_options::skip_permission_denied, error), end;
         it != end; it.increment(error))
        visit(it->path());
}

// The sandbox and the helper come from run_as_user.sh; `root` may name a system root of the
// test's own instead of the sandbox's.
struct AsUser {
    explicit AsUser(QString systemRoot = QString()) : root(systemRoot.isEmpty() ? sandbox + "/root" : systemRoot) {}

    QString sandbox = qEnvironmentVariable("RF_PRIVILEGED_SANDBOX");
    QString helper = qEnvironmentVariable("RF_PRIVILEGED_HELPER");
    QString root;
    QString spotlight = root + "/Library/Spotlight";   // root's install root
    QString mine = root + "/home/u/Library/Spotlight"; // the user's install root
    QString chrome = root + "/Library/Application Support/Google/Chrome/External Extensions";
    QString outside = root + "/outside"; // root's, in no root: must never change
    QString test = QString::fromLatin1(::testing::UnitTest::GetInstance()->current_test_info()->name());
    Refloom::InstallerLog log{Refloom::SystemRoot(sandbox + "/log", "/" + test)};  // the test's own
    QString resources = QDir::cleanPath(QFileInfo(helper).path() + "/../Resources");
    Refloom::CommandRunner runner{log, {resources, helper, resources, Refloom::SystemRoot(root, "/home/u")}};
    Refloom::FileOperations files{runner, log};

    QStringList messages() const { return logMessages(log.path()); }
    // A file of the user's own in the user's scratch folder, `name` or the test's name.
    QString userFile(QString const& content = "the user's", QString name = QString()) const {
        QString const path = sandbox + "/log/" + (name.isEmpty() ? test + ".txt" : name);
        std::ofstream(path.toStdString()) << content.toStdString();
        return path;
    }
    // Runs a tool row as administrator, as the file operations' retry does.
    int asAdmin(Refloom::FileTool operation, QString const& first, QString const& second = QString()) {
        Refloom::ToolCall const call = runner.tools().call(operation, first, second);
        return runner.launchRootApp(call.tool, call.arguments);
    }
    // Below root's outside folder: sizes, not contents, which the user may not read.
    std::string outsideState() const {
        std::string state;
        eachBelow(outside, [&](std::filesystem::path const& path) {
            struct stat info;
            lstat(path.c_str(), &info);
            state += path.string() + " " + std::to_string(info.st_mode) + " " + std::to_string(info.st_uid) + " " +
                     std::to_string(info.st_size) + "\n";
        });
        return state;
    }
};

inline bool runByTheScript() {
    return geteuid() != 0 && qEnvironmentVariableIsSet("RF_PRIVILEGED_SANDBOX");
}

} // namespace rf_test

#define SKIP_UNLESS_RUN_BY_THE_SCRIPT() \
    if (!rf_test::runByTheScript()) GTEST_SKIP() << "run by run_as_user.sh as an unprivileged user"
