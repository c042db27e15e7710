#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <map>
#include <random>
#include <sstream>

#include "tests/tools/patch_fixture.h"

namespace fs = std::filesystem;
using rf_test::PatchFixture;

namespace {

// Bytes that look like a binary: runs of structure with scattered noise.
std::string binary(std::size_t size, unsigned seed) {
    std::mt19937 random(seed);
    std::string data(size, '\0');
    for (std::size_t i = 0; i < size; ++i) data[i] = char((i % 251 < 200) ? (i * 7) & 0xFF : random() & 0xFF);
    return data;
}

// Bitcode's magic, then `body` with `shift` zero bits put in front of it (least significant bit
// first, as bitcode packs its fields): every byte of the body changes.
std::string bitcode(std::string const& body, int shift) {
    std::string out = std::string("BC\xC0\xDE", 4) + std::string(body.size() + 1, '\0');
    for (std::size_t i = 0; i <= body.size(); ++i) {
        unsigned const low = i < body.size() ? std::uint8_t(body[i]) : 0, high = i > 0 ? std::uint8_t(body[i - 1]) : 0;
        out[4 + i] = char(shift == 0 ? low : ((low << shift) | (high >> (8 - shift))) & 0xFF);
    }
    return out;
}

void setTime(std::string const& path, int daysAgo) {
    fs::last_write_time(path, fs::file_time_type::clock::now() - std::chrono::hours(24 * daysAgo));
}

struct Case {
    char const* name;
    std::function<void(PatchFixture&, std::string const& old, std::string const& next)> build;
};

Case const kCases[] = {
    {"contents", [](PatchFixture& f, std::string const& o, std::string const& n) {
         // Past 4 MiB, so that a large file's bytes are hashed and written on a second thread;
         // two of them, staged one at a time.
         for (std::string const name : {"/big.bin", "/lib/big 2.bin"}) {
             std::string big = binary(5 << 20, name[1]);
             f.scratch.write(o + name, big);
             for (std::size_t at = 1000; at < big.size(); at += 40000) big[at] ^= 0x5A;  // small edits throughout
             big.insert(500000, "a new stretch of bytes");
             f.scratch.write(n + name, big);
         }
         f.scratch.write(o + "/removed.txt", "gone");
         f.scratch.write(n + "/added.txt", "new");
         f.scratch.write(n + "/added large.bin", binary((4 << 20) + 12345, 2));
         f.scratch.write(o + "/emptied.txt", "was full");
         f.scratch.write(n + "/emptied.txt", "");
         f.scratch.write(n + "/new empty", "");
         f.scratch.write(o + "/same.txt", "same");
         f.scratch.write(n + "/same.txt", "same");
         setTime(o + "/same.txt", 3);
         setTime(n + "/same.txt", 3);
     }},
    {"unicode names and links", [](PatchFixture& f, std::string const& o, std::string const& n) {
         for (std::string const& t : {o, n}) f.scratch.write(t + "/Caf\xC3\xA9 \"Bl\xC3\xBC\" 'x'/d\xC3\xA9j\xC3\xA0.txt", t == o ? "old" : "new");
         f.scratch.write(o + "/target-a", "a");
         f.scratch.write(n + "/target-b", "b");
         fs::create_symlink("target-a", o + "/retargeted");
         fs::create_symlink("target-b", n + "/retargeted");
         fs::create_symlink("target-a", o + "/link becomes file");
         f.scratch.write(n + "/link becomes file", "now a file");
         f.scratch.write(o + "/file becomes link", "was a file");
         fs::create_symlink("../outside", n + "/file becomes link");
     }},
    {"bitcode whose bits moved", [](PatchFixture& f, std::string const& o, std::string const& n) {
         std::string const body = binary(200000, 9);
         f.scratch.write(o + "/module.bc", bitcode(body, 0));
         f.scratch.write(n + "/module.bc", bitcode(body.substr(0, 120000) + "new field" + body.substr(120000), 3));
     }},
    {"modes only", [](PatchFixture& f, std::string const& o, std::string const& n) {
         for (std::string const& t : {o, n}) {
             f.scratch.write(t + "/tool", "#!/bin/sh\n");
             f.scratch.write(t + "/folder/file", "x");
             f.scratch.write(t + "/touched", "same bytes");
         }
         fs::permissions(n + "/tool", fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec);
         fs::permissions(n + "/folder", fs::perms::owner_all);
         setTime(o + "/touched", 5);
     }},
    {"content that does not compress", [](PatchFixture& f, std::string const& o, std::string const& n) {
         // Random bytes stand for encrypted or signed blobs; an xz file and a zip archive for
         // content that is compressed already. Each is replaced by unrelated bytes of its kind.
         std::mt19937 random(7);
         auto noise = [&random](std::size_t size) {
             std::string bytes(size, '\0');
             for (char& byte : bytes) byte = char(random());
             return bytes;
         };
         f.scratch.write(o + "/blob", noise(2 << 20));
         f.scratch.write(n + "/blob", noise(2 << 20));
         for (std::string const& t : {o, n}) {
             f.scratch.write(t + "/text", noise(300000));
             ASSERT_EQ(rf_test::run("cd '" + t + "' && xz -k -0 text && zip -q -0 archive.zip text && rm text"), 0);
         }
     }},
    {"folder becomes file and file becomes folder", [](PatchFixture& f, std::string const& o, std::string const& n) {
         f.scratch.write(o + "/x/inner/deep.txt", "deep");
         f.scratch.write(o + "/x/top.txt", "top");
         f.scratch.write(n + "/x", "x is a file now");
         f.scratch.write(o + "/y", "y was a file");
         f.scratch.write(n + "/y/inner/deep.txt", "y is a folder now");
     }},
};

} // namespace

TEST(ApplyPatch, RoundTripsTurnTheOldTreeIntoTheNewOne) {
    for (Case const& c : kCases) {
        PatchFixture f;
        std::string const old = f.scratch / "old", next = f.scratch / "new", work = f.scratch / "work";
        fs::create_directories(old);
        fs::create_directories(next);
        c.build(f, old, next);
        std::string const patch = f.make(old, next);
        ASSERT_EQ(rf_test::run("cp -a '" + old + "' '" + work + "'"), 0);

        EXPECT_EQ(f.apply(work, patch, "-n"), 0) << c.name;
        EXPECT_TRUE(rf_test::sameTree(work, old)) << c.name << ": a dry run writes nothing";
        EXPECT_EQ(f.apply(work, patch), 0) << c.name;
        EXPECT_TRUE(rf_test::sameTree(work, next)) << c.name;
        // Patched already: a dry run tells it apart, and a real run leaves it alone.
        EXPECT_EQ(f.apply(work, patch, "-n"), 9) << c.name;
        EXPECT_EQ(f.apply(work, patch), 0) << c.name;
        EXPECT_TRUE(rf_test::sameTree(work, next)) << c.name;
        EXPECT_EQ(std::distance(fs::directory_iterator(f.scratch.root()), fs::directory_iterator()), 6)
            << c.name << ": nothing left beside the folder";
    }
}

TEST(ApplyPatch, ContentEntriesArePrintedAsValueKeyLines) {
    PatchFixture f;
    Refloom::Patch::Manifest manifest;
    manifest.content = {{"2025.3", "Styles"}, {"17", "Filters"}};
    std::string const patch = f.write(manifest, "", "content.patch");
    std::string const out = f.scratch / "out.txt";
    ASSERT_EQ(rf_test::run("'" + f.tool + "' -i '" + patch + "' -C > '" + out + "'"), 0);
    EXPECT_EQ(rf_test::read_file(out), "2025.3,Styles\n17,Filters\n");
}

// The flushes are scoped to what the run wrote (never a whole file system) and come in the order
// each journal state relies on.
TEST(ApplyPatch, EachJournalStateIsWrittenOnlyAfterWhatItWroteIsFlushed) {
    PatchFixture f;
    f.scratch.write("old/a.txt", std::string(100000, 'a'));
    f.scratch.write("old/gone.txt", "gone");
    f.scratch.write("new/a.txt", std::string(99000, 'a') + "changed");
    f.scratch.write("new/sub/added.txt", "added");
    std::string const patch = f.make(f.scratch / "old", f.scratch / "new");
    std::string const log = f.scratch / "calls.log";
    ASSERT_EQ(rf_test::run(RF_SHIM_ENVIRONMENT "RF_FS_CALL_LOG='" + log + "' LD_PRELOAD='" RF_FS_CALL_SHIM "' '" + f.tool + "' -d '" +
                           (f.scratch / "old") + "' -i '" + patch + "'"),
              0);
    EXPECT_TRUE(rf_test::sameTree(f.scratch / "old", f.scratch / "new"));
    struct Call {
        std::string name, path, to;
    };
    std::vector<Call> calls;
    std::istringstream lines(rf_test::read_file(log));
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        Call call;
        std::getline(fields, call.name, '\t');
        std::getline(fields, call.path, '\t');
        std::getline(fields, call.to, '\t');
        calls.push_back(call);
    }
    std::vector<size_t> journal;  // committing, committed: each a rename of "…journal.new" onto it
    for (size_t i = 0; i < calls.size(); ++i) {
        EXPECT_NE(calls[i].name, "syncfs");
        EXPECT_NE(calls[i].name, "sync");
        if (calls[i].name == "rename" && calls[i].path.ends_with("rfpatch-journal.new")) journal.push_back(i);
    }
    ASSERT_EQ(journal.size(), 2u);
    auto parent = [](std::string const& path) { return path.substr(0, path.rfind('/')); };
    auto flushedBetween = [&](std::string const& item, size_t from, size_t to) {
        for (size_t i = from; i < to; ++i)
            if (calls[i].name == "fsync" && calls[i].path == item) return true;
        return false;
    };
    // Each staged file's data, then the stage's names, before "committing"; each folder a move of
    // the commit changed, after its last change and before "committed"; nothing removed before.
    std::map<std::string, size_t> lastChange;
    for (size_t i = 0; i < journal[1]; ++i) {
        Call const& c = calls[i];
        // The journal flushes itself; the stage's and the backup's own names go with its folder.
        if (c.path.find("rfpatch-journal") != std::string::npos || (c.name == "mkdir" && c.path.find(".rfpatch-") != std::string::npos)) continue;
        if (c.name == "write") lastChange[c.path] = i;
        if (c.name == "create" || c.name == "rename" || c.name == "mkdir") lastChange[parent(c.path)] = i;
        if (c.name == "rename") lastChange[parent(c.to)] = i;
        EXPECT_TRUE(c.name != "remove" && c.name != "unlink" && c.name != "rmdir") << c.path;
    }
    ASSERT_GE(lastChange.size(), 5u);  // two staged files, the stage, the folder, its new sub-folder, the backup
    for (auto const& [item, at] : lastChange)
        EXPECT_TRUE(flushedBetween(item, at, at < journal[0] ? journal[0] : journal[1])) << item << " after call " << at;
}

// A patch of format 1.0, made by the first release of makePatch (its deltas in the fixed layout),
// from the two trees built here byte for byte, must still apply.
TEST(ApplyPatch, APatchOfTheFirstFormatVersionStillApplies) {
    PatchFixture f;
    auto lib = [](bool changed) {
        std::string bytes(60000, '\0');
        for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = char((i * 7 + (i >> 8)) & 0xFF);
        if (changed) {
            bytes[50000] = char(bytes[50000] ^ 0x5A);
            bytes.insert(30000, 100, 'X');
        }
        return bytes;
    };
    std::string notesOld, notesNew;
    for (int i = 0; i < 200; ++i) notesOld += "version 1\n", notesNew += "version 2\n";
    notesNew += "added line\n";
    for (std::string side : {"old", "new"}) {
        f.scratch.write(side + "/lib.bin", lib(side == "new"));
        f.scratch.write(side + "/notes.txt", side == "old" ? notesOld : notesNew);
        fs::create_directories(f.scratch / (side + "/sub"));
    }
    f.scratch.write("old/gone.txt", "bye\n");
    f.scratch.write("new/sub/new.txt", "hello\n");
    ASSERT_EQ(rf_test::run("find '" + (f.scratch / "old") + "' '" + (f.scratch / "new") +
                           "' -type d -exec chmod 755 {} + -o -type f -exec chmod 644 {} +"),
              0);
    fs::copy_file(RF_TEST_DATA "/minor0.pub", f.scratch / "tool/applyPatch.pub", fs::copy_options::overwrite_existing);
    EXPECT_EQ(f.apply(f.scratch / "old", RF_TEST_DATA "/minor0.rfp"), 0);
    EXPECT_EQ(rf_test::run("diff -r '" + (f.scratch / "old") + "' '" + (f.scratch / "new") + "' >/dev/null"), 0);
}

TEST(MakePatch, ContentThatDoesNotCompressCostsLittleMoreThanItsOwnSize) {
    PatchFixture f;
    std::mt19937 random(11);
    auto noise = [&random](std::size_t size) {
        std::string bytes(size, '\0');
        for (char& byte : bytes) byte = char(random());
        return bytes;
    };
    std::size_t const size = 3 << 19;  // past the size at which a stream is looked at first
    f.scratch.write("old/blob", noise(size));
    f.scratch.write("new/blob", noise(size));
    std::string const patch = f.make(f.scratch / "old", f.scratch / "new");
    EXPECT_LE(fs::file_size(patch), size + size / 200 + 4096);
    EXPECT_EQ(f.apply(f.scratch / "old", patch), 0);
    EXPECT_TRUE(rf_test::sameTree(f.scratch / "old", f.scratch / "new"));
}
