#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "privileged/helper_protocol.h"

using namespace Refloom;
using namespace Refloom::HelperProtocol;

TEST(HelperProtocol, NothingIsSentOrTakenThatBreaksALimit) {
    EXPECT_FALSE(encodeRequest(1, {FileTool::chmod, {std::string(kMaxString + 1, 'x'), "700"}}));
    EXPECT_FALSE(encodeRequest(1, {FileTool::chmod, {std::string("/a\0b", 4), "700"}}));
    EXPECT_FALSE(encodeRequest(1, {FileTool::run_script, std::vector<std::string>(kMaxOperands + 1, "a")}));

    std::string const body = *encodeRequest(1, {FileTool::remove_file, {"/a"}});
    EXPECT_FALSE(decodeRequest(body.substr(0, body.size() - 1)));  // cut short
    EXPECT_FALSE(decodeRequest(body + "x"));                       // something after it
    std::string badOperation = body;
    badOperation[4] = char(kFileToolCount);
    EXPECT_FALSE(decodeRequest(badOperation));
    EXPECT_FALSE(decodeGreeting(encodeGreeting(0) + "x"));
}

TEST(HelperProtocol, AFrameIsTakenOnlyWhenTheKernelNamesOneSenderForAllOfIt) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    ASSERT_TRUE(passCredentials(ends[0]));
    std::string const frame = std::string("\x04\0\0\0", 4) + "body";
    auto sendFromChild = [&](std::string const& bytes) {
        pid_t const child = fork();
        if (child == 0) _exit(write(ends[1], bytes.data(), bytes.size()) == ssize_t(bytes.size()) ? 0 : 1);
        waitpid(child, nullptr, 0);
        return child;
    };
    pid_t const child = sendFromChild(frame);
    std::string body;
    ucred sender{};
    ASSERT_TRUE(readFrame(ends[0], body, 64, nullptr, &sender));
    EXPECT_EQ(body, "body");
    EXPECT_EQ(sender.pid, child);
    EXPECT_EQ(sender.uid, getuid());
    // Its length from one process, its body from another: a frame of two senders is refused.
    ASSERT_EQ(write(ends[1], frame.data(), 4), 4);
    sendFromChild("body");
    EXPECT_FALSE(readFrame(ends[0], body, 64, nullptr, &sender));
    close(ends[0]);
    close(ends[1]);
}
