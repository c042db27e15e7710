#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <set>

#include "cp/dir.h"
#include "cp/exception.h"
#include "cp/file_utils.h"
#include "tests/fixtures/scratch.h"

using namespace Lumenary::CP;
using rf_test::read_file;
using rf_test::Scratch;
namespace fs = std::filesystem;

TEST(Dir, IteratorListsEveryEntryWithItsPath) {
    Scratch scratch;
    scratch.write("list/a.txt", "");
    scratch.write("list/\xC3\xA9t\xC3\xA9 \"q\".txt", "");
    fs::create_directory(scratch / "list/sub");
    std::set<std::wstring> seen;
    CDir dir(CPath(scratch / "list"));
    for (CDir::iterator it = dir.begin(); it != dir.end(); ++it) seen.insert(it->str());
    CPath base(scratch / "list");
    EXPECT_EQ(seen, (std::set<std::wstring>{CPath(base).append("a.txt").str(),
                                            CPath(base).append(L"\u00e9t\u00e9 \"q\".txt").str(),
                                            CPath(base).append("sub").str()}));
    CDir missing(CPath(scratch / "missing"));
    EXPECT_TRUE(missing.begin() == missing.end());
}

TEST(Dir, CreateWithAndWithoutParents) {
    Scratch scratch;
    EXPECT_THROW(CDir::create(CPath(scratch / "a/b/c"), false), CException);
    EXPECT_TRUE(CDir::create(CPath(scratch / "a/b/c"), true));
    EXPECT_TRUE(fs::is_directory(scratch / "a/b/c"));
    EXPECT_TRUE(CDir::create(CPath(scratch / "a/b/c"), true));  // already there
    EXPECT_FALSE(CDir::create(CPath(scratch / "a/b/c"), false));
    scratch.write("file", "");
    EXPECT_FALSE(CDir::create(CPath(scratch / "file/sub"), true));
}

TEST(Dir, CopyTreeKeepsLinksModesAndTimes) {
    Scratch scratch;
    scratch.write("src/a/deep.txt", "deep");
    fs::create_symlink("a/deep.txt", scratch / "src/link");
    ::chmod((scratch / "src/a").c_str(), 0750);
    auto old_time = fs::file_time_type::clock::now() - std::chrono::hours(72);
    fs::last_write_time(scratch / "src/a", old_time);

    ASSERT_TRUE(CDir::copy(CPath(scratch / "src"), CPath(scratch / "dst"), false));
    EXPECT_EQ(read_file(scratch / "dst/a/deep.txt"), "deep");
    EXPECT_EQ(fs::read_symlink(scratch / "dst/link"), "a/deep.txt");
    EXPECT_EQ(fs::status(scratch / "dst/a").permissions(), fs::status(scratch / "src/a").permissions());
    EXPECT_EQ(fs::last_write_time(scratch / "dst/a"), old_time);

    EXPECT_FALSE(CDir::copy(CPath(scratch / "src"), CPath(scratch / "dst"), false));
    scratch.write("src/new.txt", "new");
    EXPECT_TRUE(CDir::copy(CPath(scratch / "src"), CPath(scratch / "dst"), true));
    EXPECT_EQ(read_file(scratch / "dst/new.txt"), "new");
    // Onto itself, even when replacing, or from nothing: nothing changes.
    EXPECT_FALSE(CDir::copy(CPath(scratch / "src"), CPath(scratch / "src"), true));
    EXPECT_EQ(read_file(scratch / "src/new.txt"), "new");
    EXPECT_FALSE(CDir::copy(CPath(scratch / "none"), CPath(scratch / "y"), false));
}

TEST(Dir, RemoveTakesTheTreeButNeverFollowsALink) {
    Scratch scratch;
    scratch.write("outside/precious", "p");
    scratch.write("tree/a/b/file", "f");
    fs::create_directory_symlink(scratch / "outside", scratch / "tree/a/link");
    EXPECT_FALSE(CDir::remove(CPath(scratch / "missing")));
    ASSERT_TRUE(CDir::remove(CPath(scratch / "tree")));
    EXPECT_FALSE(fs::exists(scratch / "tree"));
    EXPECT_EQ(read_file(scratch / "outside/precious"), "p");
}

TEST(Dir, RecursiveLockCoversTheTreeAndUnlockUndoesIt) {
    if (!rf_test::is_root()) GTEST_SKIP() << "setting the immutable flag needs root";
    Scratch scratch;
    scratch.write("tree/sub/file", "x");
    fs::create_symlink("sub/file", scratch / "tree/link");
    CPath tree(scratch / "tree");
    ASSERT_TRUE(CDir::lock(tree, true, true));
    EXPECT_TRUE(CFileUtils::is_locked(CPath(scratch / "tree/sub/file")));
    EXPECT_TRUE(CFileUtils::is_locked(CPath(scratch / "tree/sub")));
    EXPECT_TRUE(CFileUtils::is_locked(tree));
    EXPECT_FALSE(CDir::remove(tree));
    ASSERT_TRUE(CDir::lock(tree, false, true));
    EXPECT_FALSE(CFileUtils::is_locked(CPath(scratch / "tree/sub/file")));
    EXPECT_TRUE(CDir::remove(tree));
    EXPECT_FALSE(CDir::lock(tree, true, true));
}
