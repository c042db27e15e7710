// The privileged helper asked for everything, with the test's own rights: whatever user it
// runs as, it does nothing outside its policy.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "privileged/helper_protocol.h"
#include "tests/privileged/helper_fixture.h"

using namespace Refloom;
using HelperProtocol::kDenied;
using rf_test::HelperBundle;
namespace fs = std::filesystem;

TEST(PrivilegedHelper, RefusesEveryRequestOutsideItsPolicy) {
    HelperBundle b;
    fs::create_symlink(b.outside + "/secret", b.spotlight + "/link");
    fs::create_symlink(b.outside, b.spotlight + "/folder link");
    b.scratch.write("root/Library/Spotlight/own", "mine");
    std::string const before = b.outsideState();
    auto helper = b.start();
    ASSERT_TRUE(helper);
    struct Case {
        FileTool operation;
        std::vector<std::string> operands;
    };
    Case const cases[] = {
        {FileTool::remove_file, {b.outside + "/secret"}},
        {FileTool::remove_folder, {b.spotlight}},  // a root itself
        {FileTool::remove_folder, {b.spotlight + "/../../outside"}},
        {FileTool::remove_folder, {b.spotlight + "/folder link/"}},  // a trailing slash would follow
        {FileTool::remove_file, {"Library/Spotlight/own"}},
        {FileTool::chmod, {b.spotlight + "/link", "777"}},  // never through a link
        {FileTool::chmod, {b.spotlight + "/folder link/secret", "777"}},
        {FileTool::unlock_dir, {b.spotlight + "/folder link"}},
        {FileTool::copy, {b.spotlight + "/own", b.outside + "/copied"}},
        {FileTool::copy, {b.spotlight + "/own", b.spotlight + "/folder link/secret"}},
        {FileTool::rename, {b.spotlight + "/own", b.outside + "/moved"}},
        {FileTool::make_dir, {b.outside + "/made"}},
        {FileTool::sym_link, {"/etc/shadow", b.spotlight + "/new link"}},
        {FileTool::change_owner_tree, {b.spotlight}},  // not an owner root
        {FileTool::remove_file, {b.root + "/Library/Addin.bundle.old"}},  // not a shipped name
        {FileTool::run_script, {"sh", "-c", "touch " + b.outside + "/pwned"}},  // no general tools
        {FileTool::run_script, {"../../../../bin/sh"}},
        {FileTool::run_patch, {"-d", b.outside, "-i", b.resources + "/Patchfile.patch"}},
        {FileTool::run_patch, {"-d", b.product, "-i", b.outside + "/secret"}},
        {FileTool::run_patch, {"-d", b.product, "-i", b.resources + "/Patchfile.patch", "-x"}},
        {FileTool::chmod, {b.spotlight + "/own"}},  // an operand short
    };
    for (Case const& c : cases) {
        HelperClient::Result const result = helper->run({c.operation, c.operands});
        EXPECT_EQ(result.status, kDenied) << int(c.operation) << " " << c.operands.front();
        EXPECT_TRUE(result.output.startsWith("refused: ")) << result.output.toStdString();
    }
    EXPECT_EQ(b.outsideState(), before);
    EXPECT_TRUE(fs::exists(b.spotlight + "/own"));
    EXPECT_TRUE(fs::is_symlink(b.spotlight + "/link"));
}

TEST(PrivilegedHelper, CarriesOutEachOperationInsideItsPolicy) {
    HelperBundle b;
    auto helper = b.start();
    ASSERT_TRUE(helper);
    // An over-long argument is never sent, and the requests after it stand alone.
    std::string const tooLong = b.spotlight + "/" + std::string(HelperProtocol::kMaxString, 'x');
    EXPECT_EQ(helper->run({FileTool::chmod, {tooLong, "700"}}).status, kDenied);
    auto ok = [&](FileTool operation, std::vector<std::string> const& operands) {
        HelperClient::Result const result = helper->run({operation, operands});
        EXPECT_EQ(result.status, 0) << int(operation) << " " << result.output.toStdString();
        EXPECT_EQ(result.exitStatus, 0) << int(operation) << " " << result.output.toStdString();
        return result.output;
    };
    std::string const deep = b.spotlight + "/a/b c";
    ok(FileTool::make_dir, {deep});
    ok(FileTool::copy, {b.resources + "/ok.sh", deep});  // a file onto a folder goes into it
    ok(FileTool::chmod, {deep + "/ok.sh", "600"});
    EXPECT_EQ(rf_test::mode_of(deep + "/ok.sh"), 0600);
    ok(FileTool::rename, {deep + "/ok.sh", deep + "/renamed"});
    ok(FileTool::sym_link, {deep + "/renamed", b.spotlight + "/link"});
    EXPECT_EQ(fs::read_symlink(b.spotlight + "/link"), deep + "/renamed");
    ok(FileTool::unlock_dir, {b.spotlight + "/a"});
    ok(FileTool::remove_file, {b.spotlight + "/link"});  // the link itself
    EXPECT_TRUE(fs::exists(deep + "/renamed"));
    ok(FileTool::remove_folder, {b.spotlight + "/a"});
    EXPECT_FALSE(fs::exists(b.spotlight + "/a"));
    ok(FileTool::copy, {b.resources + "/ok.sh", b.product + "/Product-Support/ok.sh"});
    fs::create_directories(b.root + "/Library/Word");
    ok(FileTool::copy, {b.resources + "/ok.sh", b.root + "/Library/Word/Addin.bundle"});
    EXPECT_TRUE(fs::exists(b.root + "/Library/Word/Addin.bundle"));
    if (geteuid() == 0) {
        // Root's own items are handed to root's group; nobody's item becomes root's.
        std::string const owned = b.root + "/Library/Owned/Ext";
        fs::create_directories(owned);
        b.scratch.write("root/Library/Owned/Ext/f.json", "{}");
        ASSERT_EQ(lchown((owned + "/f.json").c_str(), 0, 65534), 0);
        ok(FileTool::change_owner_tree, {owned});
        struct stat info;
        ASSERT_EQ(lstat((owned + "/f.json").c_str(), &info), 0);
        EXPECT_EQ(info.st_gid, 0u);  // the walk went inside
        ASSERT_EQ(lchown((owned + "/f.json").c_str(), 65534, 65534), 0);
        HelperClient::Result const given = helper->run({FileTool::change_owner_tree, {owned}});
        EXPECT_EQ(given.exitStatus, 1);
        ASSERT_EQ(lstat((owned + "/f.json").c_str(), &info), 0);
        EXPECT_EQ(info.st_uid, 65534u);
    }
    EXPECT_EQ(ok(FileTool::run_script, {"ok.sh", "a b"}), QByteArray("ran 1: a b\n"));
    // The patch tool runs on a copy of the product, with the bundle's own patch; this dummy is
    // none, and the tool's own refusal comes back as its exit status, naming the paths asked for.
    HelperClient::Result const patched = helper->run({FileTool::run_patch, {"-d", b.product, "-i", b.resources + "/Patchfile.patch", "-n"}});
    EXPECT_EQ(patched.status, 0);
    EXPECT_NE(patched.exitStatus, 0);
    EXPECT_TRUE(patched.output.contains(QByteArray::fromStdString(b.resources + "/Patchfile.patch"))) << patched.output.toStdString();
    EXPECT_FALSE(patched.output.contains("/proc/")) << patched.output.toStdString();
}

TEST(PrivilegedHelper, RunsOnlyScriptsWhoseHashIsListedAndNobodyElseMayChange) {
    HelperBundle b;
    {
        auto helper = b.start();
        ASSERT_TRUE(helper);
        b.scratch.write("Test.app/Contents/Resources/ok.sh", "#!/bin/sh\ntouch " + b.outside + "/pwned\n");
        EXPECT_EQ(helper->run({FileTool::run_script, {"ok.sh"}}).status, kDenied);
    }
    b.writePolicy({"ok.sh"});
    fs::permissions(b.resources + "/ok.sh", fs::perms::group_write, fs::perm_options::add);
    auto helper = b.start();
    ASSERT_TRUE(helper);
    EXPECT_EQ(helper->run({FileTool::run_script, {"ok.sh"}}).status, kDenied);
    EXPECT_FALSE(fs::exists(b.outside + "/pwned"));
    // A policy that others may change is no policy: the helper does not start.
    fs::permissions(b.contents + "/helper-policy", fs::perms::others_write, fs::perm_options::add);
    EXPECT_FALSE(b.start());
}

TEST(PrivilegedHelper, AFifoInPlaceOfAnInfoPlistIsRefusedAtOnce) {
    HelperBundle b;
    std::string const plist = b.product + "/Refloom 2025.APP/Contents/Info.plist";
    fs::remove(plist);
    ASSERT_EQ(mkfifo(plist.c_str(), 0644), 0);
    auto helper = b.start();
    ASSERT_TRUE(helper);
    EXPECT_EQ(helper->run({FileTool::run_patch, {"-d", b.product, "-i", b.resources + "/Patchfile.patch"}}).status, kDenied);
}

TEST(PrivilegedHelper, NothingOnAnotherFileSystemMountedInARootIsTouched) {
    if (geteuid() != 0) GTEST_SKIP() << "mounting a file system needs root";
    HelperBundle b;
    std::string const outer = b.spotlight + "/outer", mounted = outer + "/mounted";
    fs::create_directories(mounted);
    if (rf_test::run("mount -t tmpfs rf-test '" + mounted + "'") != 0) GTEST_SKIP() << "tmpfs cannot be mounted here";
    struct Unmount {
        std::string path;
        ~Unmount() { rf_test::run("umount '" + path + "'"); }
    } const unmount{mounted};
    b.scratch.write("root/Library/Spotlight/outer/mounted/kept", "kept");
    b.scratch.write("source/a", "a");
    auto helper = b.start();
    ASSERT_TRUE(helper);
    for (FileTool operation : {FileTool::remove_folder, FileTool::unlock_dir})
        for (std::string const& folder : {outer, mounted})
            EXPECT_EQ(helper->run({operation, {folder}}).exitStatus, 1) << int(operation) << " " << folder;
    EXPECT_EQ(helper->run({FileTool::copy, {b.scratch / "source", mounted}}).exitStatus, 1);
    EXPECT_EQ(rf_test::read_file(mounted + "/kept"), "kept");
    EXPECT_FALSE(fs::exists(mounted + "/a"));
}
