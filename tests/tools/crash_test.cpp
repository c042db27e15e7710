#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "tests/tools/patch_fixture.h"

namespace fs = std::filesystem;
using rf_test::PatchFixture;

namespace {

// One line per file-system call of a whole run, in order (see fs_call_shim.c).
std::vector<std::string> callsOfARun(PatchFixture& f, std::string const& folder, std::string const& patch) {
    std::string const log = f.scratch / "calls.log";
    fs::remove(log);
    EXPECT_EQ(rf_test::run(RF_SHIM_ENVIRONMENT "RF_FS_CALL_LOG='" + log + "' LD_PRELOAD='" RF_FS_CALL_SHIM "' '" + f.tool + "' -d '" + folder +
                           "' -i '" + patch + "'"),
              0);
    std::vector<std::string> calls;
    std::istringstream lines(rf_test::read_file(log));
    for (std::string line; std::getline(lines, line);) calls.push_back(line);
    return calls;
}

} // namespace

// A run killed between any two of its file-system calls leaves, after the next run recovers,
// exactly the old tree up to the moment the journal says "committed", and exactly the new one
// after it. The kills are spread evenly over the run's calls, so staging, the commit and the
// clean-up are each tried in proportion to their work; RF_CRASH_TRIALS runs more trials (the
// benchmark target runs 500), and as many trials as calls tries every one.
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

    ASSERT_EQ(rf_test::run("cp -a '" + old + "' '" + work + "'"), 0);
    std::vector<std::string> const calls = callsOfARun(f, work, patch);
    std::vector<long> journal;  // the call numbers of "committing" and "committed"
    for (std::size_t i = 0; i < calls.size(); ++i)
        if (calls[i].starts_with("rename\t") && calls[i].find("rfpatch-journal.new\t") != std::string::npos) journal.push_back(long(i) + 1);
    ASSERT_EQ(journal.size(), 2u);

    long const total = long(calls.size());
    long const trials = std::min(total, std::getenv("RF_CRASH_TRIALS") ? std::atol(std::getenv("RF_CRASH_TRIALS")) : 8);
    long phases[3] = {0, 0, 0};  // staging, committing, cleaning up
    for (long trial = 0; trial < trials; ++trial) {
        long const killAt = 1 + trial * total / trials;
        fs::remove_all(work);
        ASSERT_EQ(rf_test::run("cp -a '" + old + "' '" + work + "'"), 0);
        rf_test::run(RF_SHIM_ENVIRONMENT "RF_FS_KILL_AT=" + std::to_string(killAt) + " LD_PRELOAD='" RF_FS_CALL_SHIM "' '" + f.tool + "' -d '" +
                     work + "' -i '" + patch + "' 2>/dev/null");
        f.apply(work, patch, "-n");  // any run first completes or undoes the killed one
        bool const committed = killAt > journal[1];
        ++phases[killAt <= journal[0] ? 0 : committed ? 2 : 1];
        ASSERT_TRUE(rf_test::sameTree(work, committed ? next : old))
            << "killed before call " << killAt << " (" << calls[std::size_t(killAt - 1)] << "): not the "
            << (committed ? "new" : "old") << " tree";
        for (char const* leftover : {".work.rfpatch-stage", ".work.rfpatch-backup", ".work.rfpatch-journal"})
            EXPECT_FALSE(fs::exists(f.scratch / leftover)) << leftover;
    }
    std::printf("%ld runs killed (of %ld call points): %ld while staging, %ld while committing, %ld while cleaning up\n",
                trials, total, phases[0], phases[1], phases[2]);
}
