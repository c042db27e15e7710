// The privileged helper's channel attacked: who may write on it, what a frame must be, and
// whose replies the program takes.
#include "privileged/helper_protocol.h"
#include "tests/fixtures/privileged.h"
#include "tests/privileged/helper_fixture.h"

#include <QDir>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Refloom;
using rf_test::HelperBundle;

namespace {

// Starts the helper on a socket pair of the test's own, answering the helper's end.
pid_t spawnRaw(std::string const& helper, int channel) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, channel, 0);
    posix_spawn_file_actions_adddup2(&actions, channel, 1);
    pid_t pid = -1;
    char* argv[] = {const_cast<char*>(helper.c_str()), nullptr};
    posix_spawn(&pid, helper.c_str(), &actions, nullptr, argv, nullptr);
    posix_spawn_file_actions_destroy(&actions);
    return pid;
}

} // namespace

TEST(PrivilegedHelper, AnythingButWholeFramesInTurnEndsIt) {
    HelperBundle b;
    auto made = [&](std::uint32_t number, char const* name) {
        return *HelperProtocol::encodeRequest(number, {FileTool::make_dir, {b.spotlight + name}});
    };
    std::string const request = made(1, "/x"), later = made(2, "/y"), skipped = made(5, "/z");
    std::uint32_t const tooLong = HelperProtocol::kMaxRequest + 1;
    enum How { raw, framed, byAnotherProcess };
    struct Attack {
        std::string bytes;
        How how;
    };
    Attack const cases[] = {
        {std::string(reinterpret_cast<char const*>(&tooLong), 4), raw},  // a frame over the limit
        {skipped, framed},                                               // out of turn
        {request.substr(0, request.size() - 3) + later, framed},         // a short body swallowing the next
        {request, byAnotherProcess},  // a process that holds the channel but did not start the helper
    };
    for (Attack const& attack : cases) {
        int ends[2];
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
        pid_t const pid = spawnRaw(b.helper, ends[1]);
        close(ends[1]);
        std::string greeting;
        ASSERT_TRUE(HelperProtocol::readFrame(ends[0], greeting, 64));
        if (attack.how == raw) {
            ASSERT_EQ(write(ends[0], attack.bytes.data(), attack.bytes.size()), ssize_t(attack.bytes.size()));
        } else if (attack.how == framed) {
            HelperProtocol::writeFrame(ends[0], attack.bytes);
        } else {
            pid_t const other = fork();
            if (other == 0) _exit(HelperProtocol::writeFrame(ends[0], attack.bytes) ? 0 : 1);
            waitpid(other, nullptr, 0);
        }
        int status = -1;
        ASSERT_EQ(waitpid(pid, &status, 0), pid);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) != 0) << status;
        char more;
        EXPECT_EQ(read(ends[0], &more, 1), 0); // no reply to anything
        close(ends[0]);
    }
    EXPECT_TRUE(QDir(QString::fromStdString(b.spotlight)).isEmpty());
    // Nor does it talk over anything but a socket pair.
    int pipes[2];
    ASSERT_EQ(pipe(pipes), 0);
    pid_t const pid = spawnRaw(b.helper, pipes[1]);
    close(pipes[1]);
    char byte;
    EXPECT_EQ(read(pipes[0], &byte, 1), 0);
    waitpid(pid, nullptr, 0);
    close(pipes[0]);
}

TEST(PrivilegedHelper, RepliesAreTakenOnlyFromTheProcessThatGreeted) {
    HelperBundle b;
    // A forger that starts the real helper on the channel, keeps the channel too, and slips in
    // a reply of its own for the next request.
    std::string const forged = b.scratch.write("forged", [] {
        std::string const body = HelperProtocol::encodeReply({2, 0, 0, "forged\n"});
        std::uint32_t const length = std::uint32_t(body.size());
        return std::string(reinterpret_cast<char const*>(&length), 4) + body;
    }());
    rf_test::ScopedEnv path("FORGED", forged.c_str());
    std::uint32_t user = 0;
    auto helper = HelperClient::spawn({"/bin/sh", "-c", "exec 3<&0; \"$0\" \"$@\" 0<&3 & sleep 0.3; cat \"$FORGED\"",
                                       QString::fromStdString(b.helper), "--root", QString::fromStdString(b.root), "--home",
                                       QString::fromStdString(b.home)},
                                      {}, user);
    ASSERT_TRUE(helper);
    EXPECT_EQ(helper->run({FileTool::make_dir, {b.spotlight + "/first"}}).exitStatus, 0);
    usleep(800000); // the forged reply is in the channel now, before the real one
    HelperClient::Result const second = helper->run({FileTool::make_dir, {b.spotlight + "/second"}});
    EXPECT_NE(second.output, QByteArray("forged\n"));
    EXPECT_EQ(second.status, HelperProtocol::kExecuteFailed);
    EXPECT_FALSE(helper->isRunning());
}
