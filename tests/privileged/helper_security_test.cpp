#include <gtest/gtest.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QDir>
#include <QFile>

#include <filesystem>

#include "privileged/helper_client.h"
#include "privileged/helper_protocol.h"
#include "tests/fixtures/privileged.h"
#include "tests/fixtures/scratch.h"

using namespace Refloom;
using rf_test::Scratch;
namespace fs = std::filesystem;

namespace {

// A copy of the helper in a bundle of the test's own, with a resource folder it controls.
struct HelperBundle {
    Scratch scratch;
    rf_test::ScopedEnv direct{"RF_ELEVATE", ""};
    std::string resources = scratch / "Test.app/Contents/Resources";
    std::string helper = scratch / "Test.app/Contents/MacOS/rf-privileged-helper";

    HelperBundle() {
        fs::create_directories(resources);
        fs::create_directories(fs::path(helper).parent_path());
        fs::copy_file(rf_test::helperPath().toStdString(), helper);
        std::string ok = scratch.write("Test.app/Contents/Resources/ok.sh", "#!/bin/sh\necho \"ran $#: $1\"\n");
        fs::permissions(ok, fs::perms::owner_all);
        fs::create_symlink("/bin/sh", resources + "/escape");
    }
    std::unique_ptr<HelperClient> start() { return HelperClient::start(QString::fromStdString(helper), {}); }
};

} // namespace

TEST(PrivilegedHelper, RunsOnlyTableToolsAndItsOwnResources) {
    HelperBundle b;
    auto client = b.start();
    ASSERT_TRUE(client);
    struct Case {
        std::string tool;
        int status;
    };
    Case const cases[] = {
        {b.resources + "/ok.sh", 0},
        {"/bin/rm", 0},
        {"bin/rm", HelperProtocol::kDenied},
        {"/usr/bin/id", HelperProtocol::kDenied},
        {"/bin//rm", HelperProtocol::kDenied},
        {"/bin/./rm", HelperProtocol::kDenied},
        {b.resources + "/../../../../../../bin/sh", HelperProtocol::kDenied},
        {b.resources + "/escape", HelperProtocol::kDenied},  // a link out of the resources
        {b.resources + "/missing.sh", HelperProtocol::kDenied},
        {b.resources, HelperProtocol::kDenied},
    };
    for (Case const& c : cases)
        EXPECT_EQ(client->run(QString::fromStdString(c.tool), {}).status, c.status) << c.tool;
    EXPECT_EQ(client->run(QString::fromStdString(b.resources + "/ok.sh"), {"a b"}).output, QByteArray("ran 1: a b\n"));
}

TEST(PrivilegedHelper, PassesArgumentsLiterallyWithoutAShell) {
    HelperBundle b;
    auto client = b.start();
    ASSERT_TRUE(client);
    std::string const name = "a b;$(touch pwned) `touch pwned2`\n'q\"|&>x";
    QString const folder = QString::fromStdString(b.scratch / name);
    ASSERT_EQ(client->run(QStringLiteral("/bin/mkdir"), {QStringLiteral("-p"), folder}).status, 0);
    EXPECT_TRUE(fs::is_directory(b.scratch / name));
    EXPECT_FALSE(fs::exists(b.scratch / "pwned"));
    EXPECT_FALSE(fs::exists("pwned"));
    EXPECT_FALSE(fs::exists("pwned2"));
    EXPECT_FALSE(fs::exists(b.scratch / "x"));
}

TEST(PrivilegedHelper, RunsWithACleanEnvironment) {
    HelperBundle b;
    rf_test::ScopedEnv secret("RF_SECRET", "leaked");
    std::string env = b.scratch.write("Test.app/Contents/Resources/env.sh", "#!/bin/sh\nenv\n");
    fs::permissions(env, fs::perms::owner_all);
    auto client = b.start();
    ASSERT_TRUE(client);
    QByteArray const output = client->run(QString::fromStdString(env), {}).output;
    EXPECT_FALSE(output.contains("RF_SECRET"));
    EXPECT_TRUE(output.contains("PATH=/usr/sbin:/usr/bin:/sbin:/bin"));
}

TEST(PrivilegedHelper, EndsWhenItsPipeClosesOrTheRequestIsMalformed) {
    HelperBundle b;
    for (bool malformed : {false, true}) {
        int to[2], from[2];
        ASSERT_EQ(pipe(to), 0);
        ASSERT_EQ(pipe(from), 0);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, to[0], 0);
        posix_spawn_file_actions_adddup2(&actions, from[1], 1);
        posix_spawn_file_actions_addclose(&actions, to[1]);
        posix_spawn_file_actions_addclose(&actions, from[0]);
        pid_t pid;
        char* argv[] = {b.helper.data(), nullptr};
        ASSERT_EQ(posix_spawn(&pid, b.helper.c_str(), &actions, nullptr, argv, nullptr), 0);
        posix_spawn_file_actions_destroy(&actions);
        close(to[0]);
        close(from[1]);
        if (malformed) {
            std::uint32_t const tooMany = HelperProtocol::kMaxArguments + 1;
            ASSERT_EQ(write(to[1], &tooMany, sizeof tooMany), ssize_t(sizeof tooMany));
        }
        close(to[1]);
        int status = -1;
        ASSERT_EQ(waitpid(pid, &status, 0), pid);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
        char line[64] = {};
        EXPECT_GT(read(from[0], line, sizeof line - 1), 0);
        EXPECT_STREQ(line, HelperProtocol::kReady);  // and nothing after it
        close(from[0]);
    }
}

TEST(PrivilegedHelper, RefusedElevationStartsNothing) {
    rf_test::ScopedEnv refuse("RF_ELEVATE", "false");
    EXPECT_FALSE(HelperClient::start(rf_test::helperPath(), {}));
    rf_test::ScopedEnv missing("RF_ELEVATE", "/no/such/elevation");
    EXPECT_FALSE(HelperClient::start(rf_test::helperPath(), {}));
}
