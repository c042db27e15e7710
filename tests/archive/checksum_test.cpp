#include <gtest/gtest.h>
#include <unistd.h>
#include <zlib.h>

#include <filesystem>

#include "archive/checksum.h"
#include "tests/fixtures/scratch.h"

using Lumenary::CP::CPath;
using rf_test::Scratch;
namespace fs = std::filesystem;

TEST(Checksum, Crc32OfKnownContentsAndNothingForWhatIsNoFile) {
    Scratch scratch;
    // Large enough that both halves are summed at once and their CRCs combined.
    std::string large(9 << 20, '\0');
    for (size_t i = 0; i < large.size(); ++i) large[i] = char(i * 31 % 256);
    struct Case {
        std::string content;
        unsigned long crc;
    };
    Case const cases[] = {
        {"", 0},
        {"123456789", 0xCBF43926},
        // The reference is zlib over the whole buffer at once.
        {large, crc32(0, reinterpret_cast<Bytef const*>(large.data()), uInt(large.size()))},
    };
    for (Case const& c : cases) {
        unsigned long crc = 12345;
        ASSERT_TRUE(CalculateCRC32Sum(CPath(scratch.write("f", c.content)), crc));
        EXPECT_EQ(crc, c.crc) << c.content.size() << " bytes";
    }
    unsigned long crc = 12345;
    EXPECT_FALSE(CalculateCRC32Sum(CPath(scratch / "missing"), crc));
    EXPECT_FALSE(CalculateCRC32Sum(CPath(scratch.root().string()), crc));
    EXPECT_EQ(crc, 12345u);
}

TEST(Checksum, SizeOfFilesAndTrees) {
    Scratch scratch;
    scratch.write("tree/a", "12345");
    scratch.write("tree/sub/b", "1234567890");
    scratch.write("tree/sub/deeper/c", "123");
    fs::create_symlink("../a", scratch / "tree/sub/link-to-a");  // links are followed
    fs::create_directory_symlink("..", scratch / "tree/sub/up");  // but no folder twice
    fs::create_directories(scratch / "empty");
    EXPECT_EQ(GetFileOrFolderSize(CPath(scratch / "tree")), 23u);
    EXPECT_EQ(GetFileOrFolderSize(CPath(scratch / "tree/a")), 5u);
    EXPECT_EQ(GetFileOrFolderSize(CPath(scratch / "empty")), 0u);
    EXPECT_EQ(GetFileOrFolderSize(CPath(scratch / "missing")), 0u);
}

TEST(Checksum, FolderSizeStopsOncePast4GiB) {
    Scratch scratch;
    fs::create_directories(scratch / "big");
    for (char const* name : {"one", "two", "three"})
        ASSERT_EQ(truncate(scratch.write(std::string("big/") + name, "").c_str(), 2LL << 30), 0);
    // Sparse files: 6 GiB in all, but the walk answers the first sum above 4 GiB - 1.
    EXPECT_EQ(GetFileOrFolderSize(CPath(scratch / "big")), 4ull << 30);
}
