#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <regex>

#include "cp/file_utils.h"
#include "tests/fixtures/scratch.h"

using namespace Lumenary::CP;
using rf_test::read_file;
using rf_test::Scratch;
namespace fs = std::filesystem;

TEST(FileUtils, CopyKeepsContentModeAndTimes) {
    Scratch scratch;
    std::string from = scratch.write("from.bin", std::string("a\0b", 3));
    ::chmod(from.c_str(), 0751);
    fs::last_write_time(from, fs::file_time_type::clock::now() - std::chrono::hours(48));
    ASSERT_TRUE(CFileUtils::copy(CPath(from), CPath(scratch / "to.bin"), false));
    EXPECT_EQ(read_file(scratch / "to.bin"), std::string("a\0b", 3));
    EXPECT_EQ(fs::status(scratch / "to.bin").permissions(), fs::status(from).permissions());
    EXPECT_EQ(fs::last_write_time(scratch / "to.bin"), fs::last_write_time(from));
}

TEST(FileUtils, CopyRefusals) {
    Scratch scratch;
    std::string a = scratch.write("a", "A"), b = scratch.write("b", "B");
    fs::create_directory(scratch / "dir");
    EXPECT_FALSE(CFileUtils::copy(CPath(a), CPath(a), true));
    EXPECT_EQ(read_file(a), "A");  // equal paths remove nothing
    EXPECT_FALSE(CFileUtils::copy(CPath(a), CPath(b), false));
    EXPECT_FALSE(CFileUtils::copy(CPath(scratch / "dir"), CPath(scratch / "dir2"), false));
    EXPECT_TRUE(CFileUtils::copy(CPath(a), CPath(b), true));
    EXPECT_EQ(read_file(b), "A");
}

TEST(FileUtils, RenameMovesAndRenamesInOneCallButNeverReplaces) {
    Scratch scratch;
    std::string from = scratch.write("one/a.txt", "A");
    std::string taken = scratch.write("two/taken.txt", "T");
    EXPECT_FALSE(CFileUtils::rename(CPath(from), CPath(taken)));
    EXPECT_FALSE(CFileUtils::rename(CPath(from), CPath(scratch / "missing/b.txt")));
    ASSERT_TRUE(CFileUtils::rename(CPath(from), CPath(scratch / "two/b.txt")));
    EXPECT_FALSE(fs::exists(from));
    EXPECT_EQ(read_file(scratch / "two/b.txt"), "A");
    EXPECT_EQ(read_file(taken), "T");
}

TEST(FileUtils, SizeOfFilesOnly) {
    Scratch scratch;
    long long size = 99;
    EXPECT_TRUE(CFileUtils::size(CPath(scratch.write("f", "12345")), size));
    EXPECT_EQ(size, 5);
    EXPECT_FALSE(CFileUtils::size(CPath(scratch.root().string()), size));
    EXPECT_EQ(size, 0);
}

TEST(FileUtils, TempFileFindsAFreeNameCountingDownFromTheSeed) {
    Scratch scratch;
    scratch.write("RF00000010", "");
    CPath inout(scratch.root().string());
    ASSERT_TRUE(CFileUtils::temp_file(inout, "RF", 0x10));
    EXPECT_EQ(inout, CPath(scratch / "RF0000000f"));

    // No folder given: the temporary folder, and a seed from the clock.
    setenv("TMPDIR", scratch.root().c_str(), 1);
    CPath fresh;
    bool found = CFileUtils::temp_file(fresh, L"RF", 0);
    unsetenv("TMPDIR");
    ASSERT_TRUE(found);
    EXPECT_TRUE(std::regex_match(fs::path(fresh.str()).filename().string(), std::regex("RF[0-9a-f]{8}")));
    EXPECT_EQ(fresh.as_item(CPath::item_parent), CPath(scratch.root().string()));

    CPath missing("/no/such/folder");  // a folder that is not there comes back as it was
    EXPECT_TRUE(CFileUtils::temp_file(missing, "RF", 1));
    EXPECT_EQ(missing, CPath("/no/such/folder"));
}

TEST(FileUtils, PermissionsReplaceOnlyTheLowNineBits) {
    Scratch scratch;
    fs::create_directory(scratch / "d");
    ::chmod((scratch / "d").c_str(), 01755);  // sticky
    ASSERT_TRUE(CFileUtils::set_permissions(CPath(scratch / "d"), 0700));
    int mode = 0;
    ASSERT_TRUE(CFileUtils::get_permissions(CPath(scratch / "d"), mode));
    EXPECT_EQ(mode, 0700);
    struct stat info;
    ::stat((scratch / "d").c_str(), &info);
    EXPECT_EQ(info.st_mode & 07777, 01700u);
}

TEST(FileUtils, LockMakesAFileUnremovable) {
    if (!rf_test::is_root()) GTEST_SKIP() << "setting the immutable flag needs root";
    Scratch scratch;
    CPath file(scratch.write("locked", "x"));
    ASSERT_TRUE(CFileUtils::lock(file, true));
    EXPECT_TRUE(CFileUtils::is_locked(file));
    EXPECT_TRUE(CFileUtils::lock(file, true));  // already locked: nothing to write
    EXPECT_FALSE(CFileUtils::remove(file));
    EXPECT_TRUE(file.exists());
    ASSERT_TRUE(CFileUtils::lock(file, false));
    EXPECT_FALSE(CFileUtils::is_locked(file));
    EXPECT_TRUE(CFileUtils::remove(file));
    EXPECT_FALSE(CFileUtils::lock(file, true));  // gone
}
