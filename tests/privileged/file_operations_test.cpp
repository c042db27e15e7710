#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QDir>

#include <filesystem>

#include "cp/file_utils.h"
#include "privileged/file_operations.h"
#include "support/plist_bridge.h"
#include "tests/fixtures/log_lines.h"
#include "tests/fixtures/privileged.h"
#include "tests/fixtures/scratch.h"

using namespace Refloom;
using rf_test::mode_of;
using rf_test::read_file;
using rf_test::Scratch;
namespace fs = std::filesystem;

namespace {

// File operations whose administrator attempts are refused, so every run is the user's own.
struct Files {
    rf_test::ScopedEnv refuse{"RF_ELEVATE", "/bin/false"};
    Scratch scratch;
    InstallerLog log{SystemRoot(QString::fromStdString(scratch / "root"), QStringLiteral("/home/u"))};
    CommandRunner runner{log, {QString::fromStdString(scratch / "resources"), rf_test::helperPath(), rf_test::bundleResources(), SystemRoot()}};
    FileOperations files{runner, log};

    QString at(std::string const& relative) const { return QString::fromStdString(scratch / relative); }
    QStringList messages() const { return rf_test::logMessages(log.path()); }
};

} // namespace

TEST(FileOperations, RemoveUnlocksThenRemovesFilesAndFolders) {
    Files f;
    f.scratch.write("tree/sub/file", "x");
    QString const tree = f.at("tree");
    EXPECT_FALSE(f.files.removeFile(tree));
    EXPECT_FALSE(fs::exists(f.scratch / "tree"));
    QStringList const ran = f.messages().filter("Running as");
    EXPECT_EQ(ran, (QStringList{"Running as user: " + rf_test::bundleResources() + "/rf-unlock -R -- " + tree + " Result: 0",
                                "Running as user: /bin/rm -rf -- " + tree + " Result: 0"}));
}

TEST(FileOperations, RemoveOfALockedFile) {
    if (!rf_test::is_root()) GTEST_SKIP() << "setting the immutable flag needs root";
    Files f;
    Lumenary::CP::CPath locked(f.scratch.write("locked", "x"));
    ASSERT_TRUE(Lumenary::CP::CFileUtils::lock(locked, true));
    EXPECT_FALSE(f.files.removeFile(f.at("locked")));
    EXPECT_FALSE(locked.exists());
}

TEST(FileOperations, NothingRunsWithoutAnOperandOrASource) {
    Files f;
    EXPECT_FALSE(f.files.removeFile(f.at("missing")));
    EXPECT_TRUE(f.files.removeFile(QString()));
    EXPECT_TRUE(f.files.renameFile(f.at("a"), QString()));
    EXPECT_TRUE(f.files.renameFile(f.at("missing"), f.at("b")));
    EXPECT_TRUE(f.files.copyPath(f.at("missing"), f.at("b")));
    EXPECT_TRUE(f.files.symLink(f.at("missing"), f.at("link")));
    EXPECT_TRUE(f.messages().filter("Running as").isEmpty());
    EXPECT_TRUE(f.messages().contains("Copy: source path does not exist: " + f.at("missing")));
}

TEST(FileOperations, RenameAndLinkAsTheUser) {
    Files f;
    f.scratch.write("a", "A");
    EXPECT_FALSE(f.files.renameFile(f.at("a"), f.at("renamed")));
    EXPECT_EQ(read_file(f.scratch / "renamed"), "A");
    // mv fails as the user; the administrator retry is refused, which counts as done. Intended.
    EXPECT_FALSE(f.files.renameFile(f.at("renamed"), f.at("no/such/folder/x")));
    EXPECT_TRUE(fs::exists(f.scratch / "renamed"));
    EXPECT_FALSE(f.files.symLink(f.at("renamed"), f.at("link")));
    EXPECT_EQ(fs::read_symlink(f.scratch / "link"), f.scratch / "renamed");
}

TEST(FileOperations, CopyMergesIntoTheDestinationAndMakesParents) {
    Files f;
    f.scratch.write("src/new.txt", "new");
    f.scratch.write("src/sub/deep.txt", "deep");
    f.scratch.write("dst/kept.txt", "kept");
    ::chmod((f.scratch / "src/new.txt").c_str(), 0640);
    EXPECT_FALSE(f.files.copyPath(f.at("src"), f.at("dst")));
    EXPECT_EQ(read_file(f.scratch / "dst/kept.txt"), "kept");
    EXPECT_EQ(read_file(f.scratch / "dst/sub/deep.txt"), "deep");
    EXPECT_EQ(mode_of(f.scratch / "dst/new.txt"), 0640);
    EXPECT_FALSE(f.files.copyPath(f.at("src/new.txt"), f.at("made/for/it/new.txt")));
    EXPECT_EQ(read_file(f.scratch / "made/for/it/new.txt"), "new");
    EXPECT_TRUE(f.messages().contains("Running as user: " + rf_test::bundleResources() + "/rf-ditto -rsrcFork -- " +
                                      f.at("src") + " " + f.at("dst") + " Result: 0"));
}

TEST(FileOperations, MakeDirSetsMode777OnlyOnNewFolders) {
    Files f;
    fs::create_directories(f.scratch / "old");
    ::chmod((f.scratch / "old").c_str(), 0700);
    EXPECT_FALSE(f.files.makeDir(f.at("old")));
    EXPECT_EQ(mode_of(f.scratch / "old"), 0700);
    EXPECT_FALSE(f.files.makeDir(f.at("new/deeper")));
    EXPECT_EQ(mode_of(f.scratch / "new/deeper"), 0777);
    EXPECT_TRUE(f.messages().contains("chmod: " + f.at("new/deeper") + " mode:777"));
    EXPECT_TRUE(f.files.makeDir(QString()));
}

TEST(FileOperations, AliasAnswersTrueOnSuccess) {
    Files f;
    f.scratch.write("target.txt", "t");
    ASSERT_TRUE(f.files.makeAliasTarget(f.at("target.txt"), f.at("alias")));
    QVariantMap const alias = readPlistFile(f.at("alias")).toMap();
    EXPECT_EQ(alias.value("RFAliasTarget").toString(), f.at("target.txt"));
    struct stat target;
    ASSERT_EQ(::stat((f.scratch / "target.txt").c_str(), &target), 0);
    EXPECT_EQ(alias.value("RFAliasTargetInode").toULongLong(), qulonglong(target.st_ino));

    EXPECT_FALSE(f.files.makeAliasTarget(f.at("target.txt"), f.at("alias")));  // already there
    EXPECT_FALSE(f.files.makeAliasTarget(f.at("missing"), f.at("alias2")));
    EXPECT_EQ(f.messages(), (QStringList{"makeAliasTarget: [" + f.at("target.txt") + "] [" + f.at("alias") + "] Error code: -48",
                                         "makeAliasTarget: [" + f.at("missing") + "] [" + f.at("alias2") + "] Error code: -43"}));
}

TEST(FileOperations, UnlockingPassesLinksOverSoRemovingAsksForNothing) {
    Files f;
    f.scratch.write("tree/file", "x");
    fs::create_symlink("/etc/passwd", f.scratch / "tree/to a root file");
    fs::create_symlink("file", f.scratch / "tree/dangling or not");
    EXPECT_FALSE(f.files.unlockDir(f.at("tree")));
    EXPECT_FALSE(f.files.removeFile(f.at("tree")));
    EXPECT_FALSE(fs::exists(f.scratch / "tree"));
    EXPECT_FALSE(f.messages().contains(QStringLiteral("Authenticate")));
}

// The mode goes to chmod as written.
TEST(FileOperations, AnOperandBeginningWithADashIsNeverAnOption) {
    Files f;
    f.scratch.write("-rf/inside", "x");
    f.scratch.write("-v", "x");
    QString const previous = QDir::currentPath();
    QDir::setCurrent(f.at(""));
    EXPECT_FALSE(f.files.removeFile(QStringLiteral("-rf")));
    EXPECT_FALSE(f.files.chmod(QStringLiteral("-v"), QStringLiteral("u=rw,go=")));
    EXPECT_TRUE(f.files.chmod(QStringLiteral("-v"), QString()));  // no mode: nothing runs
    QDir::setCurrent(previous);
    EXPECT_FALSE(fs::exists(f.scratch / "-rf"));
    EXPECT_EQ(mode_of(f.scratch / "-v"), 0600);
}
