// The helper's copy: what the Mac's ditto does, without ever writing through what stands at
// the destination, and all or nothing when the source cannot be read whole.
#include "tests/privileged/helper_fixture.h"

#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Refloom;
using rf_test::HelperBundle;
using rf_test::read_file;
using rf_test::treeState;
namespace fs = std::filesystem;

namespace {

struct stat statusOf(std::string const& path) {
    struct stat info {};
    lstat(path.c_str(), &info);
    return info;
}

bool leftStaging(std::string const& folder) {
    for (auto const& entry : fs::recursive_directory_iterator(folder))
        if (entry.path().filename().string().starts_with(".rf-staging")) return true;
    return false;
}

} // namespace

TEST(HelperCopy, MergesFoldersReplacesFilesAndKeepsModesTimesAndLinks) {
    HelperBundle b;
    std::string const source = b.scratch / "source", destination = b.spotlight + "/destination";
    b.scratch.write("source/a", "new a");
    b.scratch.write("source/sub/b", "new b");
    fs::create_symlink("a", source + "/link");
    chmod((source + "/a").c_str(), 0640);
    timespec const old[2] = {{1000000, 0}, {2000000, 500}};
    utimensat(AT_FDCWD, (source + "/a").c_str(), old, 0);
    b.scratch.write("root/Library/Spotlight/destination/a", "old a");
    b.scratch.write("root/Library/Spotlight/destination/sub/kept", "kept");
    b.scratch.write("root/Library/Spotlight/destination/link", "a file where the link goes");
    auto helper = b.start();
    ASSERT_TRUE(helper);

    HelperClient::Result const merged = helper->run({FileTool::copy, {source, destination}});
    EXPECT_EQ(merged.exitStatus, 0) << merged.output.toStdString();
    EXPECT_EQ(read_file(destination + "/a"), "new a");
    EXPECT_EQ(read_file(destination + "/sub/b"), "new b");
    EXPECT_EQ(read_file(destination + "/sub/kept"), "kept");
    EXPECT_EQ(fs::read_symlink(destination + "/link"), "a");
    EXPECT_EQ(statusOf(destination + "/a").st_mode & 07777, 0640u);
    EXPECT_EQ(statusOf(destination + "/a").st_mtim.tv_sec, 2000000);
    EXPECT_EQ(statusOf(destination + "/a").st_mtim.tv_nsec, 500);

    // A folder where nothing stands arrives whole.
    EXPECT_EQ(helper->run({FileTool::copy, {source, b.spotlight + "/new/deeper"}}).exitStatus, 0);
    EXPECT_EQ(read_file(b.spotlight + "/new/deeper/sub/b"), "new b");
    // A folder never replaces a file, nor a file a folder.
    EXPECT_EQ(helper->run({FileTool::copy, {source, destination + "/a"}}).exitStatus, 1);
    EXPECT_EQ(read_file(destination + "/a"), "new a");
    EXPECT_FALSE(leftStaging(b.root));
}

TEST(HelperCopy, NothingItMakesCarriesASetIdOrStickyBit) {
    HelperBundle b;
    std::string const tool = b.scratch.write("tool", "#!/bin/sh\n");
    ASSERT_EQ(chmod(tool.c_str(), 06755), 0);
    auto helper = b.start();
    ASSERT_TRUE(helper);
    std::string const copied = b.spotlight + "/tool";
    EXPECT_EQ(helper->run({FileTool::copy, {tool, copied}}).exitStatus, 0);
    EXPECT_EQ(statusOf(copied).st_mode & 07777, 0755u);
    EXPECT_EQ(helper->run({FileTool::chmod, {copied, "7777"}}).exitStatus, 0);
    EXPECT_EQ(statusOf(copied).st_mode & 07777, 0777u);
    for (char const* mode : {"u+s", "12345", ""})  // not octal, too long, empty
        EXPECT_EQ(helper->run({FileTool::chmod, {copied, mode}}).status, HelperProtocol::kDenied) << mode;
}

TEST(HelperCopy, ASourceThatCannotBeReadWholeChangesNothing) {
    HelperBundle b;
    std::string const destination = b.spotlight + "/destination";
    b.scratch.write("root/Library/Spotlight/destination/a", "old a");
    std::string const before = treeState(b.spotlight);
    auto helper = b.start();
    ASSERT_TRUE(helper);
    // Something no copy stands in for, found after a file that would be copied.
    b.scratch.write("fifo/a", "new a");
    ASSERT_EQ(mkfifo((b.scratch / "fifo/z").c_str(), 0644), 0);
    b.scratch.write("linked/a", "new a");
    fs::create_hard_link(b.scratch / "linked/a", b.scratch / "elsewhere");
    for (char const* source : {"fifo", "linked", "missing"}) {
        HelperClient::Result const result = helper->run({FileTool::copy, {b.scratch / source, destination}});
        EXPECT_EQ(result.status, HelperProtocol::kDenied) << source;
        EXPECT_TRUE(result.output.startsWith("refused: not copied: ")) << result.output.toStdString();
    }
    // Nor are the folders it would have made on the way left behind.
    HelperClient::Result const onTheWay = helper->run({FileTool::copy, {b.scratch / "fifo", b.spotlight + "/made/on the way"}});
    EXPECT_EQ(onTheWay.status, HelperProtocol::kDenied);
    EXPECT_EQ(treeState(b.spotlight), before);
}
