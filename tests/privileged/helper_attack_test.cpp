// The privileged helper attacked as an unprivileged user would: one who may start it through
// the real elevation ("sudo -n", set up by run_as_user.sh) and nothing else. One test a route.
#include "privileged/helper_protocol.h"
#include "tests/fixtures/privileged.h"
#include "tests/privileged/as_user.h"

#include <atomic>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace Refloom;
using rf_test::AsUser;
using rf_test::ScopedEnv;
namespace fs = std::filesystem;

namespace {

std::string readable(std::string const& path) {
    QFile file(QString::fromStdString(path));
    return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : std::string();
}

bool anyFileHolds(QString const& folder, std::string const& text) {
    bool held = false;
    rf_test::eachBelow(folder, [&](fs::path const& path) {
        std::error_code error;
        if (!fs::is_symlink(path, error) && fs::is_regular_file(path, error)) held = held || readable(path).find(text) != std::string::npos;
    });
    return held;
}

uid_t ownerOf(QString const& path) {
    struct stat info;
    return lstat(QFile::encodeName(path).constData(), &info) == 0 ? info.st_uid : uid_t(-1);
}

// Swaps `path` and `other` (a real folder and a link) as fast as it can while `attack` runs.
void whileSwapping(fs::path const& path, fs::path const& other, std::function<void()> const& attack) {
    std::atomic<bool> done = false;
    std::thread swapper([&] {
        while (!done) renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE);
    });
    attack();
    done = true;
    swapper.join();
}

// A real folder at `folder` (holding `inner`), a link to `target` at `link`: the two a swapper
// exchanges. Whatever an earlier round left there is cleared first.
void folderAndLink(fs::path const& folder, fs::path const& link, fs::path const& target) {
    std::error_code error;
    fs::remove_all(folder, error);
    fs::remove_all(link, error);
    fs::create_directories(folder, error);
    std::ofstream((folder / "inner").string()) << "the user's";
    fs::create_symlink(target, link, error);
}

class HelperAttack : public ::testing::Test {
protected:
    void SetUp() override {
        if (!rf_test::runByTheScript()) GTEST_SKIP() << "run by run_as_user.sh as an unprivileged user";
        user.emplace();
    }
    ScopedEnv elevate{"RF_ELEVATE", "/usr/bin/sudo -n"};
    std::optional<AsUser> user;
};

} // namespace

TEST_F(HelperAttack, ASystemRootOfTheUsersOwnGrantsNothing) {
    QString const own = qEnvironmentVariable("RF_PRIVILEGED_SANDBOX") + "/log/own root";
    AsUser u(own);
    fs::create_directories(u.chrome.toStdString());
    fs::create_directories((own + "/home/u").toStdString());
    QString const shell = u.chrome + "/shell";
    fs::copy_file("/bin/sh", shell.toStdString(), fs::copy_options::overwrite_existing);
    u.asAdmin(FileTool::change_owner, shell);
    EXPECT_NE(ownerOf(shell), 0u);
    EXPECT_FALSE(u.runner.authorization() == CommandRunner::Authorization::granted);
}

TEST_F(HelperAttack, AHardLinkIsNeverTakenForTheFileItNames) {
    AsUser& u = *user;
    std::string const before = u.outsideState();
    QString const hard = u.spotlight + "/hard link"; // to root's outside/linked
    u.files.chmod(hard, "666");
    u.files.unlockFile(hard);
    u.files.copyPath(hard, u.mine + "/linked copy");
    u.asAdmin(FileTool::chmod, u.mine + "/linked copy", "644");
    // A file of the user's that an administrator's hard link has put under the owner root.
    u.asAdmin(FileTool::change_owner, u.chrome + "/hard link");
    u.asAdmin(FileTool::change_owner_tree, u.chrome);
    EXPECT_EQ(ownerOf(u.sandbox + "/log/owned by the user"), getuid());
    EXPECT_EQ(u.outsideState(), before);
    EXPECT_EQ(rf_test::mode_of((u.outside + "/linked").toStdString()), 0600);
    EXPECT_FALSE(anyFileHolds(u.mine, "root's linked"));
}

TEST_F(HelperAttack, ALinkIsMadeOnlyWhereNothingStands) {
    AsUser& u = *user;
    std::string const before = u.outsideState();
    QString const planted = u.mine + "/planted";
    fs::remove(planted.toStdString());
    fs::create_symlink(u.outside.toStdString(), planted.toStdString());
    u.files.symLink(u.spotlight + "/target", planted);
    EXPECT_EQ(u.outsideState(), before);
    EXPECT_EQ(fs::read_symlink(planted.toStdString()), u.outside.toStdString());
}

TEST_F(HelperAttack, ACopyNeverLandsWhereAFolderWasSwappedForALink) {
    AsUser& u = *user;
    std::string const before = u.outsideState();
    fs::path const destination = (u.mine + "/destination").toStdString();
    fs::path const other = (u.root + "/home/u/other").toStdString();
    QString const source = u.userFile("planted", "planted");
    for (int round = 0; round < 500 && u.outsideState() == before; ++round) {
        folderAndLink(destination, other, u.outside.toStdString());
        whileSwapping(destination, other, [&] { u.asAdmin(FileTool::copy, source, QString::fromStdString(destination)); });
    }
    EXPECT_EQ(u.outsideState(), before);
}

TEST_F(HelperAttack, TreesAreWalkedByDescriptorNeverByPath) {
    AsUser& u = *user;
    std::string const before = u.outsideState();
    // The source's "sub" swaps with a link to root's closed vault, the destination's with a
    // link to root's outside folder.
    fs::path const source = (u.sandbox + "/log/tree").toStdString();
    fs::path const spareSource = (u.sandbox + "/log/spare").toStdString();
    QString const destination = u.mine + "/tree";
    fs::path const spareDestination = (u.root + "/home/u/spare").toStdString();
    fs::create_directories(source);
    std::ofstream((source / "top").string()) << "the user's";
    std::error_code error;
    for (int round = 0; round < 300 && u.outsideState() == before && !anyFileHolds(destination, "vault secret"); ++round) {
        folderAndLink(source / "sub", spareSource, (u.root + "/vault").toStdString());
        fs::create_directories(destination.toStdString(), error);
        folderAndLink(destination.toStdString() + "/sub", spareDestination, u.outside.toStdString());
        whileSwapping(source / "sub", spareSource, [&] {
            whileSwapping(destination.toStdString() + "/sub", spareDestination, [&] {
                u.asAdmin(FileTool::copy, QString::fromStdString(source.string()), destination);
            });
        });
    }
    EXPECT_EQ(u.outsideState(), before);
    EXPECT_FALSE(anyFileHolds(destination, "vault secret"));
    EXPECT_FALSE(anyFileHolds(QString::fromStdString(spareDestination.string()), "vault secret"));
}

TEST_F(HelperAttack, NothingIsReadForTheUserThatTheUserMayNotRead) {
    AsUser& u = *user;
    // The user's own process, whose kernel stack only an administrator may read.
    QString const stack = QStringLiteral("/proc/%1/stack").arg(getpid());
    ASSERT_EQ(readable(stack.toStdString()), "");
    QString const stolen = u.mine + "/stack";
    u.files.copyPath(stack, stolen);
    EXPECT_EQ(readable(stolen.toStdString()), ""); // the user's own attempt may leave it empty
    // A file root keeps in a folder closed to the user.
    u.asAdmin(FileTool::copy, u.root + "/vault/secret", u.mine + "/vault");
    EXPECT_FALSE(anyFileHolds(u.mine, "vault secret"));
}

TEST_F(HelperAttack, AnotherProcessOfTheUserCannotTakeItsChannel) {
    AsUser& u = *user;
    QString const target = u.spotlight + "/made by a thief";
    int go[2];
    ASSERT_EQ(pipe(go), 0);
    pid_t const client = getpid();
    // Started before the channel exists, so it holds none of its own.
    pid_t const thief = fork();
    if (thief == 0) {
        close(go[1]);
        char byte;
        if (read(go[0], &byte, 1) != 1) _exit(2);
        int const process = int(syscall(SYS_pidfd_open, client, 0));
        std::string const request = *HelperProtocol::encodeRequest(1, {FileTool::make_dir, {target.toStdString()}});
        for (int fd = 0; fd < 256 && process >= 0; ++fd) {
            int const taken = int(syscall(SYS_pidfd_getfd, process, fd, 0));
            struct stat info;
            if (taken >= 0 && fstat(taken, &info) == 0 && S_ISSOCK(info.st_mode))
                HelperProtocol::writeFrame(taken, request);
            if (taken >= 0) close(taken);
        }
        _exit(0);
    }
    close(go[0]);
    ASSERT_TRUE(u.runner.authenticate());
    ASSERT_EQ(write(go[1], "g", 1), 1);
    close(go[1]);
    ASSERT_EQ(waitpid(thief, nullptr, 0), thief);
    // The helper answers in order: once the client's own request is through, the thief's was seen.
    u.asAdmin(FileTool::make_dir, u.spotlight + "/made by the client");
    EXPECT_FALSE(QFileInfo::exists(target));
}
