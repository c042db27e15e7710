#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

#include <signal.h>
#include <unistd.h>

#include "privileged/command_runner.h"
#include "privileged/process_run.h"
#include "privileged/system_log_launch.h"
#include "tests/fixtures/log_lines.h"
#include "tests/fixtures/privileged.h"
#include "tests/fixtures/scratch.h"

using namespace Refloom;
using rf_test::ScopedEnv;
using rf_test::Scratch;

namespace {

struct Runner {
    Scratch scratch;
    QString resources = QString::fromStdString(scratch / "resources");
    SystemRoot log_root() const { return SystemRoot(QString::fromStdString(scratch / "root"), QStringLiteral("/home/u")); }
    InstallerLog log{log_root()};
    CommandRunner runner{log, {resources, rf_test::helperPath(), rf_test::bundleResources(), log_root()}};

    QStringList messages() const { return rf_test::logMessages(log.path()); }
    void script(char const* name, std::string const& body) {
        std::string path = scratch.write(std::string("resources/") + name, "#!/bin/sh\n" + body);
        QFile::setPermissions(QString::fromStdString(path), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
};

} // namespace

TEST(CommandRunner, UserRunsAreLoggedWithTheirStatusOrSignal) {
    Runner r;
    EXPECT_EQ(r.runner.launchApp(QStringLiteral("/bin/sh"), QStringList{"-c", "exit 3"}), 3);
    EXPECT_EQ(r.runner.launchApp(QStringLiteral("/bin/true"), std::nullopt), 0);
    EXPECT_EQ(r.runner.launchApp(QStringLiteral("/bin/sh"), QStringList{"-c", "kill -TERM $$"}), 15);
    EXPECT_EQ(r.messages(), (QStringList{"Running as user: /bin/sh -c exit 3 Result: 3",
                                         "Running as user: /bin/true  Result: 0",
                                         "Running as user: /bin/sh -c kill -TERM $$ Result: 15"}));
    EXPECT_THROW(r.runner.launchApp(QStringLiteral("/no/such/tool"), std::nullopt), LaunchError);
}

TEST(CommandRunner, ExecCmdLineAppAnswersOutputOrError) {
    Runner r;
    EXPECT_EQ(r.runner.execCmdLineApp(QStringLiteral("/bin/echo"), QStringList{"hello"}), QStringLiteral("hello"));
    EXPECT_EQ(r.runner.execCmdLineApp(QStringLiteral("/bin/true"), std::nullopt), QString());
    EXPECT_EQ(r.runner.execCmdLineApp(QStringLiteral("/bin/sh"), QStringList{"-c", "echo out; exit 1"}), QStringLiteral("ERROR"));
    EXPECT_EQ(r.runner.execCmdLineApp(QStringLiteral("/no/such/tool"), std::nullopt), QString());
    QString const last = r.messages().last();  // from the missing tool
    EXPECT_TRUE(last.startsWith(QStringLiteral("Exception Raised "))) << last.toStdString();
}

TEST(CommandRunner, SystemCallLogsTheCommandsOutputWhileItRuns) {
    Runner r;
    // The script ends only once its first lines are in the log: a log written at the end would
    // make it give up.
    r.script("say.sh", "echo \"out $1\"; echo err >&2\n"
                       "for i in $(seq 100); do grep -qs err \"$2\" && { printf last; exit 0; }; sleep 0.05; done\n"
                       "echo unseen\n");
    EXPECT_EQ(r.runner.systemCallWithLog(QStringLiteral("say.sh"), QStringList{"a b", r.log.path()}, true), 0);
    EXPECT_EQ(r.messages(), (QStringList{"out a b", "err", "last", "Run as user: say.sh a b " + r.log.path() + " Result: 0"}));
}

TEST(CommandRunner, ResourceScriptsAsUserOnly) {
    Runner r;
    r.script("fail.sh", "exit 1\n");
    EXPECT_TRUE(r.runner.runResourceScript(QStringLiteral("fail.sh"), std::nullopt, true));
    EXPECT_TRUE(r.runner.runResourceScript(QString(), QStringList{"x y", "z"}, true));
    EXPECT_EQ(r.runner.authorization(), CommandRunner::Authorization::none);  // never asked
    EXPECT_TRUE(r.messages().contains("Running as user: " + r.resources + "/fail.sh  Result: 1"));
}

TEST(CommandRunner, RefusedAuthorizationIsAskedOnceAndCountsAsSuccess) {
    ScopedEnv refuse("RF_ELEVATE", "/bin/false");
    Runner r;
    r.script("fail.sh", "exit 4\n");
    EXPECT_FALSE(r.runner.authenticate());
    EXPECT_FALSE(r.runner.authenticate());
    EXPECT_EQ(r.runner.launchRootApp(QStringLiteral("/bin/mkdir"), QStringList{"x"}), 0);
    EXPECT_EQ(r.runner.systemCallWithLog(QStringLiteral("fail.sh"), std::nullopt, false), 4);
    EXPECT_FALSE(r.runner.runResourceScript(QStringLiteral("fail.sh"), std::nullopt, false));
    QStringList const lines = r.messages();
    EXPECT_EQ(lines.first(), QStringLiteral("Authenticate"));
    EXPECT_TRUE(lines.contains(QStringLiteral("Authentication status :Failed")));
    EXPECT_EQ(lines.count(QStringLiteral("Authenticate")), 1);
    EXPECT_TRUE(lines.filter(QStringLiteral("as admin")).isEmpty());

    r.runner.dethenticate();  // forgets the refusal: the next question is asked again
    EXPECT_FALSE(r.runner.authenticate());
    EXPECT_EQ(r.messages().count(QStringLiteral("Authenticate")), 2);
}

TEST(CommandRunner, GrantedAuthorizationRunsNamedOperationsThroughTheHelper) {
    if (!rf_test::is_root()) GTEST_SKIP() << "the program believes only a helper that runs as root";
    Runner r;
    QString const made = QString::fromStdString(r.scratch / "root/Library/Spotlight/made by helper");
    ASSERT_TRUE(r.runner.authenticate());
    EXPECT_EQ(r.runner.launchRootApp(QStringLiteral("/bin/mkdir"), QStringList{"-p", "--", made}), 0);
    EXPECT_TRUE(QDir(made).exists());
    EXPECT_EQ(r.runner.launchRootApp(QStringLiteral("/usr/bin/id"), std::nullopt), -60005);
    EXPECT_EQ(r.runner.launchRootApp(QStringLiteral("/bin/rm"), QStringList{"-f", "--", made}), 0);  // no folder
    QStringList const lines = r.messages();
    EXPECT_TRUE(lines.contains(QStringLiteral("Running as admin: /bin/mkdir -p -- ") + made + QStringLiteral(" Result: 0")));
    EXPECT_TRUE(lines.contains(QStringLiteral("Failed to authenticate: /usr/bin/id Result: -60005")));
    EXPECT_TRUE(lines.contains(QStringLiteral("The administrator run failed: /bin/rm -f -- ") + made + QStringLiteral(" Exit status: 1")));
    EXPECT_EQ(lines.count(QStringLiteral("Authenticate")), 1);
}

TEST(CommandRunner, AHelperThatDiedIsStartedAgain) {
    if (!rf_test::is_root()) GTEST_SKIP() << "the program believes only a helper that runs as root";
    Runner r;
    ASSERT_TRUE(r.runner.authenticate());
    // End every helper this process started.
    for (QString const& process : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        QFile stat(QStringLiteral("/proc/") + process + QStringLiteral("/stat"));
        if (!process.front().isDigit() || !stat.open(QIODevice::ReadOnly)) continue;
        QList<QByteArray> const fields = stat.readAll().split(' ');
        if (fields.size() > 3 && fields[1].startsWith("(rf-privileged") && fields[3].toInt() == getpid())
            kill(process.toInt(), SIGKILL);
    }
    QString const made = QString::fromStdString(r.scratch / "root/Library/Spotlight/after");
    for (int i = 0; i < 100 && r.runner.launchRootApp(QStringLiteral("/bin/mkdir"), QStringList{"-p", "--", made}) != 0; ++i)
        usleep(10000);
    EXPECT_TRUE(QDir(made).exists());
    QStringList const lines = r.messages();
    EXPECT_EQ(lines.count(QStringLiteral("Authenticate")), 2);
    EXPECT_TRUE(lines.contains(QStringLiteral("The privileged helper has ended; asking for administrator rights again")));
}

TEST(SystemLogLaunch, SameRulesWithoutAController) {
    rf_test::ScopedEnv refuse("RF_ELEVATE", "/bin/false");
    EXPECT_EQ(launchApplication(QStringLiteral("/bin/sh"), QStringList{"-c", "exit 2"}), 2);
    EXPECT_EQ(authenticate(rf_test::helperPath()), nullptr);
    // No handle and a refused prompt: nothing runs, and that counts as launched.
    EXPECT_EQ(launchApplicationAsRoot(nullptr, rf_test::helperPath(), QStringLiteral("/bin/rm"), std::nullopt), 0);
    if (!rf_test::is_root()) return;

    rf_test::ScopedEnv asRoot("RF_ELEVATE", nullptr);
    AuthorizationRef granted = authenticate(rf_test::helperPath());
    ASSERT_NE(granted, nullptr);
    EXPECT_EQ(launchApplicationAsRoot(granted, rf_test::helperPath(), QStringLiteral("/usr/bin/id"), std::nullopt), -60005);
    dethenticate(granted);
}
