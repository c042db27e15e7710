#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <thread>

#include "tests/tools/patch_fixture.h"

namespace fs = std::filesystem;
using rf_test::PatchFixture;

namespace {

// Starts applyPatch, kills it after `delay`, and waits for it.
void applyAndKill(std::string const& tool, std::string const& folder, std::string const& patch,
                  std::chrono::microseconds delay) {
    char const* argv[] = {tool.c_str(), "-d", folder.c_str(), "-i", patch.c_str(), nullptr};
    pid_t pid;
    ASSERT_EQ(posix_spawn(&pid, tool.c_str(), nullptr, nullptr, const_cast<char**>(argv), nullptr), 0);
    std::this_thread::sleep_for(delay);
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
}

} // namespace

// A run killed at any instant leaves, after the next run recovers, exactly the old tree or
// exactly the new one. RF_CRASH_TRIALS runs more trials (the benchmark target runs 200).
TEST(ApplyPatch, KilledRunsLeaveTheOldTreeOrTheNewOne) {
    PatchFixture f;
    std::string const old = f.scratch / "old", next = f.scratch / "new", work = f.scratch / "work";
    for (int i = 0; i < 600; ++i) {
        std::string const name = "d" + std::to_string(i % 20) + "/f" + std::to_string(i);
        f.scratch.write("old/" + name, std::string(200 + i, char('a' + i % 26)));
        if (i % 3 != 0) f.scratch.write("new/" + name, std::string(300 + i, char('A' + i % 26)));
    }
    f.scratch.write("new/d0/f0/now-a-folder/x", "x");
    std::string const patch = f.make(old, next);

    // How long a whole run takes, to spread the kills over it.
    ASSERT_EQ(rf_test::run("cp -a '" + old + "' '" + work + "'"), 0);
    auto const start = std::chrono::steady_clock::now();
    ASSERT_EQ(f.apply(work, patch), 0);
    auto const span = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start);

    int const trials = std::getenv("RF_CRASH_TRIALS") ? std::atoi(std::getenv("RF_CRASH_TRIALS")) : 8;
    std::mt19937 random(20261122);
    int sawOld = 0, sawNew = 0;
    for (int trial = 0; trial < trials; ++trial) {
        fs::remove_all(work);
        ASSERT_EQ(rf_test::run("cp -a '" + old + "' '" + work + "'"), 0);
        applyAndKill(f.tool, work, patch, std::chrono::microseconds(random() % (span.count() + 1)));
        f.apply(work, patch, "-n");  // any run first completes or undoes the killed one
        bool const isOld = rf_test::sameTree(work, old), isNew = rf_test::sameTree(work, next);
        ASSERT_TRUE(isOld || isNew) << "trial " << trial << ": the folder is neither tree";
        sawOld += isOld;
        sawNew += isNew;
        for (char const* leftover : {".work.rfpatch-stage", ".work.rfpatch-backup", ".work.rfpatch-journal"})
            EXPECT_FALSE(fs::exists(f.scratch / leftover)) << leftover;
    }
    std::printf("%d runs killed: %d left the old tree, %d the new one\n", trials, sawOld, sawNew);
}
