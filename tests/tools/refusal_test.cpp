#include <gtest/gtest.h>

#include <filesystem>

#include "tests/tools/patch_fixture.h"
#include "tools/applypatch/crypto.h"
#include "tools/applypatch/zstd_stream.h"

namespace fs = std::filesystem;
using namespace Refloom::Patch;
using rf_test::PatchFixture;

namespace {

// A folder, a copy of it to compare against, and a good patch that adds one file.
struct Refusals : PatchFixture {
    std::string folder = scratch / "folder";
    std::string pristine = scratch / "pristine";
    std::string good;

    Refusals() {
        scratch.write("folder/kept.txt", "kept");
        scratch.write("next/kept.txt", "kept, and edited");
        scratch.write("next/added.txt", "added");
        good = make(folder, scratch / "next");
        rf_test::run("cp -a '" + folder + "' '" + pristine + "'");
    }
    // A patch with one entry that adds `path` with the given bytes (the payload as stored).
    std::string adding(std::string const& path, std::string const& payload, std::string const& name) {
        Manifest manifest;
        Entry e;
        e.path = path;
        e.op = Op::add;
        e.target = {Kind::file, 0644, 4, hashBytes("evil"), {}};
        e.payload = PayloadKind::whole;
        e.payloadSize = payload.size();
        e.payloadSha256 = hashBytes(compress("evil", 3));
        manifest.entries.push_back(e);
        manifest.payloadTotal = payload.size();
        return write(manifest, payload, name);
    }
    bool untouched() { return rf_test::sameTree(folder, pristine); }
};

} // namespace

TEST(ApplyPatch, RefusesPatchesItCannotTrust) {
    Refusals r;
    std::string const bytes = rf_test::read_file(r.good);
    std::string otherKey = r.scratch / "other.key", error;
    ASSERT_TRUE(generateKeyPair(otherKey, r.scratch / "other.pub", error));

    std::string newer = bytes;
    newer[8] = 2;  // major version 2
    std::string newerMinor = bytes;
    newerMinor[10] = char(kMinorVersion + 1);
    std::string tampered = bytes;
    tampered[kHeaderSize + 3] ^= 1;  // a manifest byte: the signature no longer holds
    struct Case {
        char const* what;
        std::string patch;
        int status;
    };
    Case const cases[] = {
        {"missing file", r.scratch / "no.patch", 2},
        {"truncated", r.scratch.write("truncated.patch", bytes.substr(0, bytes.size() - 7)), 2},
        {"bytes added", r.scratch.write("longer.patch", bytes + "x"), 2},
        {"header only", r.scratch.write("short.patch", bytes.substr(0, 30)), 2},
        {"not a patch", r.scratch.write("text.patch", "hello, this is not a patch at all, not even close"), 2},
        {"unknown major version", r.scratch.write("newer.patch", newer), 4},
        {"newer minor version", r.scratch.write("newer-minor.patch", newerMinor), 4},
        {"tampered manifest", r.scratch.write("tampered.patch", tampered), 3},
        {"another key", r.write(Manifest{}, "", "other.patch", otherKey), 3},
        {"absolute path", r.adding("/tmp/rf-evil", compress("evil", 3), "absolute.patch"), 5},
        {"climbing path", r.adding("../evil", compress("evil", 3), "climb.patch"), 5},
        {"climbing inside", r.adding("a/../../evil", compress("evil", 3), "climb2.patch"), 5},
        {"payload hash", r.adding("evil", compress("live", 3), "payload.patch"), 7},
    };
    for (Case const& c : cases) {
        EXPECT_EQ(r.apply(r.folder, c.patch), c.status) << c.what;
        EXPECT_TRUE(r.untouched()) << c.what;
    }
    EXPECT_FALSE(fs::exists(r.scratch / "evil"));
    EXPECT_FALSE(fs::exists("/tmp/rf-evil"));
    EXPECT_EQ(rf_test::run("'" + r.tool + "' -d x 2>/dev/null"), 1);  // usage
}

TEST(ApplyPatch, RefusesToWriteThroughALinkInTheFolder) {
    Refusals r;
    fs::create_directories(r.scratch / "outside");
    fs::create_directory_symlink(r.scratch / "outside", r.folder + "/lib");
    rf_test::run("cp -a '" + r.folder + "/lib' '" + r.pristine + "/lib'");
    EXPECT_EQ(r.apply(r.folder, r.adding("lib/evil", compress("evil", 3), "link.patch")), 5);
    EXPECT_TRUE(fs::is_empty(r.scratch / "outside"));
}

TEST(ApplyPatch, RefusesAFolderInNeitherState) {
    Refusals r;
    r.scratch.write("folder/kept.txt", "changed by someone");
    r.scratch.write("pristine/kept.txt", "changed by someone");
    EXPECT_EQ(r.apply(r.folder, r.good, "-n"), 6);
    EXPECT_EQ(r.apply(r.folder, r.good), 6);
    EXPECT_FALSE(fs::exists(r.folder + "/added.txt"));
    fs::permissions(r.folder + "/kept.txt", fs::perms::owner_read);  // content back, mode not
    r.scratch.write("folder/kept.txt", "kept");
    EXPECT_EQ(r.apply(r.folder, r.good, "-n"), 6);
    // Half of it as patched is not "up to date".
    fs::permissions(r.folder + "/kept.txt", fs::status(r.pristine + "/kept.txt").permissions());
    r.scratch.write("folder/added.txt", "added");
    EXPECT_EQ(r.apply(r.folder, r.good, "-n"), 6);
    EXPECT_EQ(r.apply(r.folder, r.good), 6);
}

// A large old file's content is hashed while the new files are staged from it. A change there,
// made without changing the file's size, fails the staging too; the change is what is reported,
// and nothing is left behind. A folder already patched that way is up to date.
TEST(ApplyPatch, ALargeOldFileChangedInPlaceIsRefusedAsFoundAndLeavesNoTrace) {
    PatchFixture f;
    std::string old(5 << 20, '\0');
    std::uint32_t state = 1;
    for (char& c : old) c = char((state = state * 1103515245 + 12345) >> 24);
    std::string next = old;
    for (std::size_t i = 0; i < next.size(); i += 4096) next[i] = char(next[i] + 1);
    f.scratch.write("old/big.bin", old);
    f.scratch.write("new/big.bin", next);
    std::string const patch = f.make(f.scratch / "old", f.scratch / "new");
    std::string changed = old;
    changed[changed.size() - 1] = char(changed.back() + 1);
    std::string const big = f.scratch.write("folder/big.bin", changed);

    EXPECT_EQ(f.apply(f.scratch / "folder", patch), 6);
    EXPECT_EQ(rf_test::read_file(big), changed);
    for (auto const& item : fs::directory_iterator(f.scratch.root()))
        EXPECT_EQ(item.path().filename().string().find("rfpatch"), std::string::npos) << item.path();

    f.scratch.write("folder/big.bin", next);
    EXPECT_EQ(f.apply(f.scratch / "folder", patch), 0);
    EXPECT_EQ(rf_test::read_file(big), next);
}

TEST(MakePatch, AKeyPairIsItsOwnersAloneAndNeverWrittenOver) {
    rf_test::Scratch scratch;
    std::string const name = scratch / "demo";
    std::string error;
    ASSERT_TRUE(generateKeyPair(name + ".key", name + ".pub", error)) << error;
    EXPECT_EQ(fs::status(name + ".key").permissions() & fs::perms::all, fs::perms::owner_read | fs::perms::owner_write);
    std::string const before = rf_test::read_file(name + ".key");
    EXPECT_FALSE(generateKeyPair(name + ".key", name + ".pub", error));
    EXPECT_EQ(rf_test::read_file(name + ".key"), before);
    // A public key in the way leaves no private key behind either.
    EXPECT_FALSE(generateKeyPair(scratch / "other.key", name + ".pub", error));
    EXPECT_FALSE(fs::exists(scratch / "other.key"));
}

TEST(MakePatch, RefusesOptionsThatAreNotNumbersInRange) {
    PatchFixture f;
    f.scratch.write("old/a.txt", "a");
    f.scratch.write("new/a.txt", "b");
    std::string const patch = f.scratch / "p.patch";
    for (std::string option : {"--level abc", "--level 0", "--level 22", "--threads 2x", "--threads -1", "--threads ''"}) {
        EXPECT_EQ(rf_test::run("'" RF_PATCH_TOOLS "/makePatch' '" + (f.scratch / "old") + "' '" + (f.scratch / "new") +
                               "' -o '" + patch + "' --key '" + f.privateKey + "' " + option + " 2>/dev/null"),
                  1)
            << option;
        EXPECT_FALSE(fs::exists(patch)) << option;
    }
}
