#include <gtest/gtest.h>

#include "privileged/tool_table.h"

using namespace Refloom;
using HelperProtocol::Request;

namespace {

bool same(std::optional<Request> const& got, Request const& want) {
    return got && got->operation == want.operation && got->operands == want.operands;
}

} // namespace

TEST(ToolTable, EveryRowPutsDoubleDashBeforeItsOperands) {
    for (ToolRow const& row : toolRows()) {
        std::vector<std::string_view> const args(row.arguments.begin(), row.arguments.end());
        auto const dashes = std::find(args.begin(), args.end(), "--");
        auto const first = std::find_if(args.begin(), args.end(), [](auto a) { return a == "{1}" || a == "{2}"; });
        EXPECT_TRUE(dashes < first) << row.tool;
    }
}

TEST(ToolTable, EachCallMapsBackToItsNamedOperation) {
    ToolTable const tools(QStringLiteral("/res"));
    for (ToolRow const& row : toolRows()) {
        ToolCall const call = tools.call(row.operation, QStringLiteral("/a b"), QStringLiteral("/c"));
        std::vector<std::string> operands{"/a b", "/c"};
        operands.resize(size_t(operandCount(row)));
        EXPECT_TRUE(same(tools.request(call.tool, call.arguments), {row.operation, operands})) << row.tool;
    }
    // Operands are never read as patterns: a path holding "{2}" or "%1" stays as it is.
    EXPECT_EQ(tools.call(FileTool::copy, QStringLiteral("/a {2} %1"), QStringLiteral("/b")),
              (ToolCall{"/res/rf-ditto", {"-rsrcFork", "--", "/a {2} %1", "/b"}}));
}

TEST(ToolTable, OnlyRowsScriptsAndThePatchToolBecomeRequests) {
    ToolTable const tools(QStringLiteral("/res"));
    EXPECT_TRUE(same(tools.request("/res/Kill.sh", {"x"}), {FileTool::run_script, {"Kill.sh", "x"}}));
    EXPECT_TRUE(same(tools.request("/res/applyPatch", {"-d", "/A//B", "-i", "/res/P", "-n"}),
                     {FileTool::run_patch, {"-d", "/A/B", "-i", "/res/P", "-n"}}));
    EXPECT_TRUE(same(tools.request("/bin/rm", {"-rf", "--", "/x//y"}), {FileTool::remove_folder, {"/x/y"}}));
    struct {
        char const* tool;
        QStringList arguments;
    } const refused[] = {
        {"/bin/rm", {"-rf", "/x"}},              // without "--": not a row
        {"/bin/rm", {"-rf", "--", "/x", "/y"}},  // one operand too many
        {"/usr/bin/id", {}},
        {"/bin/sh", {"-c", "id"}},
        {"/other/Kill.sh", {}},                  // a script outside the resources
        {"/res/sub/Kill.sh", {}},
    };
    for (auto const& c : refused) EXPECT_FALSE(tools.request(c.tool, c.arguments)) << c.tool;
}
