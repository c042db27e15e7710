#include <gtest/gtest.h>

#include "privileged/helper_protocol.h"

using namespace Refloom;
using namespace Refloom::HelperProtocol;

TEST(HelperProtocol, RequestsAndRepliesRoundTrip) {
    Request const request{FileTool::rename, {"/a b", std::string("\xc3\xa9\n", 3)}};
    std::optional<std::string> body = encodeRequest(7, request);
    ASSERT_TRUE(body);
    auto decoded = decodeRequest(*body);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->first, 7u);
    EXPECT_EQ(decoded->second.operation, FileTool::rename);
    EXPECT_EQ(decoded->second.operands, request.operands);

    auto reply = decodeReply(encodeReply({3, -60005, "why\n"}));
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->number, 3u);
    EXPECT_EQ(reply->status, -60005);
    EXPECT_EQ(reply->output, "why\n");
    EXPECT_EQ(decodeGreeting(encodeGreeting(0)), std::optional<std::uint32_t>(0));
}

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
