// The privileged helper attacked as an unprivileged user would: one who may start it through
// the real elevation ("sudo -n", set up by run_as_user.sh) and nothing else. One test a route.
#include "privileged/helper_protocol.h"
#include "tests/fixtures/privileged.h"
#include "tests/privileged/as_user.h"

#include <atomic>
#include <fcntl.h>
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

constexpr char kSudo[] = "/usr/bin/sudo -n";

// Regular files below `folder` that carry a set-user-id or set-group-id bit, a line each.
std::string setIdFiles(QString const& folder) {
    std::string found;
    rf_test::eachBelow(folder, [&](fs::path const& path) {
        struct stat info;
        if (lstat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) && (info.st_mode & 06000) != 0) found += path.string() + "\n";
    });
    return found;
}

// What the user may read of a file: nothing when reading it fails.
std::string readable(std::string const& path) {
    QFile file(QString::fromStdString(path));
    return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : std::string();
}

// True when a regular file below `folder` that the user can read holds `text`.
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
void whileSwapping(fs::path const& path, fs::path const& other,
                   std::function<void()> const& attack) {
    std::atomic<bool> done = false;
    std::thread swapper([&] {
        while (!done)
            renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE);
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

} // namespace

TEST(HelperAttack, NothingItMakesCarriesASetIdBitOrChangesHands) {
    SKIP_UNLESS_RUN_BY_THE_SCRIPT();
    ScopedEnv elevate("RF_ELEVATE", kSudo);
    {
        AsUser u;
        // The user's own shell, put where ownership is handed to root.
        QString const shell = u.chrome + QStringLiteral("/shell");
        QString const mine = u.sandbox + QStringLiteral("/log/sh");
        fs::copy_file("/bin/sh", mine.toStdString(), fs::copy_options::overwrite_existing);
        u.files.copyPath(mine, shell);
        u.asAdmin(FileTool::change_owner, shell);
        u.files.chmod(shell, QStringLiteral("4755"));
        // A file of the user's that an administrator's hard link has put under the owner root.
        u.asAdmin(FileTool::change_owner, u.chrome + QStringLiteral("/hard link"));
        u.asAdmin(FileTool::change_owner_tree, u.chrome);
        EXPECT_EQ(ownerOf(u.sandbox + QStringLiteral("/log/owned by the user")), getuid());
        EXPECT_EQ(setIdFiles(u.root), "");
    }
    // A system root of the user's own, with an owner root of its own.
    QString const own =
        qEnvironmentVariable("RF_PRIVILEGED_SANDBOX") + QStringLiteral("/log/own root");
    AsUser u(own);
    fs::create_directories(u.chrome.toStdString());
    fs::create_directories((own + QStringLiteral("/home/u")).toStdString());
    QString const shell = u.chrome + QStringLiteral("/shell");
    fs::copy_file("/bin/sh", shell.toStdString(), fs::copy_options::overwrite_existing);
    u.asAdmin(FileTool::change_owner, shell);
    u.asAdmin(FileTool::chmod, shell, QStringLiteral("4755"));
    EXPECT_NE(ownerOf(shell), 0u);
    EXPECT_FALSE(u.runner.authorization() == CommandRunner::Authorization::granted)
        << "a root of the user's own grants nothing";
}

TEST(HelperAttack, AHardLinkIsNeverTakenForTheFileItNames) {
    SKIP_UNLESS_RUN_BY_THE_SCRIPT();
    ScopedEnv elevate("RF_ELEVATE", kSudo);
    AsUser u;
    std::string const before = u.outsideState();
    QString const hard = u.spotlight + QStringLiteral("/hard link"); // to root's outside/linked
    u.files.chmod(hard, QStringLiteral("666"));
    u.files.unlockFile(hard);
    u.files.copyPath(hard, u.mine + QStringLiteral("/linked copy"));
    u.asAdmin(FileTool::chmod, u.mine + QStringLiteral("/linked copy"), QStringLiteral("644"));
    EXPECT_EQ(u.outsideState(), before);
    EXPECT_EQ(rf_test::mode_of((u.outside + QStringLiteral("/linked")).toStdString()), 0600);
    EXPECT_FALSE(anyFileHolds(u.mine, "root's linked"));
}

TEST(HelperAttack, ALinkIsMadeOnlyWhereNothingStands) {
    SKIP_UNLESS_RUN_BY_THE_SCRIPT();
    ScopedEnv elevate("RF_ELEVATE", kSudo);
    AsUser u;
    std::string const before = u.outsideState();
    QString const planted = u.mine + QStringLiteral("/planted");
    fs::remove(planted.toStdString());
    fs::create_symlink(u.outside.toStdString(), planted.toStdString());
    u.files.symLink(u.spotlight + QStringLiteral("/target"), planted);
    EXPECT_EQ(u.outsideState(), before);
    EXPECT_EQ(fs::read_symlink(planted.toStdString()), u.outside.toStdString());
}

TEST(HelperAttack, ACopyNeverLandsWhereAFolderWasSwappedForALink) {
    SKIP_UNLESS_RUN_BY_THE_SCRIPT();
    ScopedEnv elevate("RF_ELEVATE", kSudo);
    AsUser u;
    std::string const before = u.outsideState();
    fs::path const destination = (u.mine + QStringLiteral("/destination")).toStdString();
    fs::path const other = (u.root + QStringLiteral("/home/u/other")).toStdString();
    QString const source = u.userFile(QStringLiteral("planted"), QStringLiteral("planted"));
    for (int round = 0; round < 500 && u.outsideState() == before; ++round) {
        folderAndLink(destination, other, u.outside.toStdString());
        whileSwapping(destination, other, [&] {
            u.asAdmin(FileTool::copy, source, QString::fromStdString(destination));
        });
    }
    EXPECT_EQ(u.outsideState(), before);
}

TEST(HelperAttack, TreesAreWalkedByDescriptorNeverByPath) {
    SKIP_UNLESS_RUN_BY_THE_SCRIPT();
    ScopedEnv elevate("RF_ELEVATE", kSudo);
    AsUser u;
    std::string const before = u.outsideState();
    // The source's "sub" swaps with a link to root's closed vault, the destination's with a
    // link to root's outside folder.
    fs::path const source = (u.sandbox + QStringLiteral("/log/tree")).toStdString();
    fs::path const spareSource = (u.sandbox + QStringLiteral("/log/spare")).toStdString();
    QString const destination = u.mine + QStringLiteral("/tree");
    fs::path const spareDestination = (u.root + QStringLiteral("/home/u/spare")).toStdString();
    fs::create_directories(source);
    std::ofstream((source / "top").string()) << "the user's";
    std::error_code error;
    for (int round = 0;
         round < 300 && u.outsideState() == before && !anyFileHolds(destination, "vault secret");
         ++round) {
        folderAndLink(source / "sub", spareSource,
                      (u.root + QStringLiteral("/vault")).toStdString());
        fs::create_directories(destination.toStdString(), error);
        folderAndLink(destination.toStdString() + "/sub", spareDestination,
                      u.outside.toStdString());
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

TEST(HelperAttack, NothingIsReadForTheUserThatTheUserMayNotRead) {
    SKIP_UNLESS_RUN_BY_THE_SCRIPT();
    ScopedEnv elevate("RF_ELEVATE", kSudo);
    AsUser u;
    // The user's own process, whose kernel stack only an administrator may read.
    QString const stack = QStringLiteral("/proc/%1/stack").arg(getpid());
    ASSERT_EQ(readable(stack.toStdString()), "");
    QString const stolen = u.mine + QStringLiteral("/stack");
    u.files.copyPath(stack, stolen);
    EXPECT_EQ(readable(stolen.toStdString()), ""); // the user's own attempt may leave it empty
    // A file root keeps in a folder closed to the user.
    u.asAdmin(FileTool::copy, u.root + QStringLiteral("/vault/secret"),
              u.mine + QStringLiteral("/vault"));
    EXPECT_FALSE(anyFileHolds(u.mine, "vault secret"));
}

TEST(HelperAttack, AnotherProcessOfTheUserCannotTakeItsChannel) {
    SKIP_UNLESS_RUN_BY_THE_SCRIPT();
    ScopedEnv elevate("RF_ELEVATE", kSudo);
    AsUser u;
    QString const target = u.spotlight + QStringLiteral("/made by a thief");
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
        std::string const request =
            *HelperProtocol::encodeRequest(1, {FileTool::make_dir, {target.toStdString()}});
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
    u.asAdmin(FileTool::make_dir, u.spotlight + QStringLiteral("/made by the client"));
    EXPECT_FALSE(QFileInfo::exists(target));
}

TEST(HelperAttack, AFailedAdministratorStepIsLoggedAsFailed) {
    SKIP_UNLESS_RUN_BY_THE_SCRIPT();
    ScopedEnv elevate("RF_ELEVATE", kSudo);
    AsUser u;
    QString const folder = u.spotlight + QStringLiteral("/kept"); // "rm -f" removes no folder
    u.asAdmin(FileTool::remove_file, folder);
    u.asAdmin(FileTool::chmod, u.spotlight + QStringLiteral("/target"), QStringLiteral("640"));
    EXPECT_TRUE(QFileInfo::exists(folder));
    QStringList const failures =
        u.messages().filter(QStringLiteral("The administrator run failed"));
    EXPECT_EQ(failures.join(QLatin1Char('\n')).toStdString(),
              QStringLiteral("The administrator run failed: /bin/rm -f -- %1 Exit status: 1")
                  .arg(folder)
                  .toStdString());
}
