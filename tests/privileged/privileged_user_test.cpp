// Run by run_as_user.sh as an unprivileged user who may start only the helper, through
// "sudo -n", against folders that belong to root.
#include <gtest/gtest.h>
#include <unistd.h>

#include <QFile>
#include <QFileInfo>

#include <filesystem>

#include "privileged/file_operations.h"
#include "tests/fixtures/log_lines.h"
#include "tests/fixtures/privileged.h"

using namespace Refloom;
namespace fs = std::filesystem;

namespace {

// The sandbox and the helper come from run_as_user.sh.
struct AsUser {
    QString sandbox = qEnvironmentVariable("RF_PRIVILEGED_SANDBOX");
    QString helper = qEnvironmentVariable("RF_PRIVILEGED_HELPER");
    // A log of each test's own.
    InstallerLog log{SystemRoot(sandbox + QStringLiteral("/log"),
                                QLatin1Char('/') + QString::fromLatin1(::testing::UnitTest::GetInstance()->current_test_info()->name()))};
    CommandRunner runner{log, {sandbox, helper}};
    FileOperations files{runner, log, ToolTable(QFileInfo(helper).path() + QStringLiteral("/../Resources"))};

    QStringList messages() const { return rf_test::logMessages(log.path()); }
};

bool runByTheScript() { return geteuid() != 0 && qEnvironmentVariableIsSet("RF_PRIVILEGED_SANDBOX"); }

} // namespace

TEST(AsUnprivilegedUser, LockedRootFolderIsRemovedAsAdministratorAfterOnePrompt) {
    if (!runByTheScript()) GTEST_SKIP() << "run by run_as_user.sh as an unprivileged user";
    rf_test::ScopedEnv elevate("RF_ELEVATE", "sudo -n");
    AsUser u;
    QString const locked = u.sandbox + QStringLiteral("/root-owned/locked folder");
    QString const other = u.sandbox + QStringLiteral("/root-owned/second");
    ASSERT_TRUE(fs::exists(locked.toStdString()));
    EXPECT_FALSE(u.files.removeFile(locked));
    EXPECT_FALSE(fs::exists(locked.toStdString()));
    EXPECT_FALSE(u.files.removeFile(other));  // the same authorization, no second question
    EXPECT_FALSE(fs::exists(other.toStdString()));

    QStringList const lines = u.messages();
    EXPECT_EQ(lines.count(QStringLiteral("Authenticate")), 1);
    EXPECT_TRUE(lines.contains(QStringLiteral("Authentication status :Succeeded")));
    EXPECT_TRUE(lines.contains(QStringLiteral("Running as admin: /bin/rm -rf ") + locked + QStringLiteral(" Result: 0")));
    EXPECT_FALSE(lines.filter(QStringLiteral("Running as user: /bin/rm -rf ") + locked + QStringLiteral(" Result: 0")).size());
}

TEST(AsUnprivilegedUser, RefusedElevationCountsTheRetryAsDone) {
    if (!runByTheScript()) GTEST_SKIP() << "run by run_as_user.sh as an unprivileged user";
    rf_test::ScopedEnv refuse("RF_ELEVATE", "false");
    AsUser u;
    QString const kept = u.sandbox + QStringLiteral("/root-owned/kept");
    EXPECT_FALSE(u.files.removeFile(kept));  // reported done
    EXPECT_TRUE(fs::exists(kept.toStdString()));  // but still there
    EXPECT_FALSE(u.runner.authenticate());  // asks nothing more
    QStringList const lines = u.messages();
    EXPECT_EQ(lines.count(QStringLiteral("Authenticate")), 1);
    EXPECT_TRUE(lines.contains(QStringLiteral("Authentication status :Failed")));
    EXPECT_TRUE(lines.filter(QStringLiteral("Running as admin")).isEmpty());
}
