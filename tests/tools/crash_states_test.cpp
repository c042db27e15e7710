#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/tools/crash_states.h"
#include "tests/tools/patch_fixture.h"
#include "tools/applypatch/journal.h"

namespace fs = std::filesystem;
using rf_test::PatchFixture;

namespace {

std::size_t fromEnvironment(char const* name, std::size_t fallback) {
    char const* value = std::getenv(name);
    return value ? std::size_t(std::atol(value)) : fallback;
}

// Two trees that take every kind of step a patch has: files changed, removed and added, a new
// folder, a folder replaced by a link, and a mode changed. RF_CRASH_SCALE makes more of each (the
// benchmark's large tree). Each staged item adds unflushed operations, and every subset of them
// is a state: the suite's tree stays small enough to try them all in seconds.
void makeTrees(PatchFixture& f, std::size_t scale) {
    for (std::size_t i = 0; i < scale; ++i) {
        std::string const n = std::to_string(i);
        f.scratch.write("old/a" + n + ".txt", std::string(4000, 'a') + n);
        f.scratch.write("new/a" + n + ".txt", std::string(3000, 'a') + "changed" + n);
        f.scratch.write("old/sub/gone" + n, "gone");
        f.scratch.write("old/sub/keep" + n, "kept");
        f.scratch.write("new/sub/keep" + n, "kept");
        f.scratch.write("new/added" + n + "/c", "added");
    }
    f.scratch.write("old/was-folder/x", "x");
    fs::create_symlink("sub/keep0", f.scratch / "new/was-folder");
    f.scratch.write("old/private", "p");
    f.scratch.write("new/private", "p");
    fs::permissions(f.scratch / "new/private", fs::perms::owner_read | fs::perms::owner_write);
}

// Copies a tree with its modes, link targets and file times, as cp -a does, without starting a
// process: the test builds thousands of trees.
void copyTree(fs::path const& from, fs::path const& to) {
    fs::copy(from, to, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    for (auto const& entry : fs::recursive_directory_iterator(from)) {
        fs::path const copy = to / entry.path().lexically_relative(from);
        struct stat info;
        lstat(entry.path().c_str(), &info);
        timespec const times[2] = {info.st_mtim, info.st_mtim};
        utimensat(AT_FDCWD, copy.c_str(), times, AT_SYMLINK_NOFOLLOW);
        if (!entry.is_symlink()) chmod(copy.c_str(), info.st_mode & 07777);
    }
}

// The paths whose kind, mode, content, link or time differ, or that only one tree has.
using Snapshot = std::map<std::string, Refloom::Patch::TreeItem>;
std::string differences(std::string const& built, Snapshot const& b) {
    auto const a = rf_test::snapshot(built);
    auto same = [](Refloom::Patch::TreeItem const& x, Refloom::Patch::TreeItem const& y) {
        return x.node == y.node && x.mtimeSeconds == y.mtimeSeconds && x.mtimeNanoseconds == y.mtimeNanoseconds;
    };
    std::string found;
    for (auto const& [path, item] : a)
        if (!b.count(path) || !same(item, b.at(path))) found += " " + path;
    for (auto const& [path, item] : b)
        if (!a.count(path)) found += " " + path + " (missing)";
    return found;
}

// A folder in memory where the system has one: the test builds and removes thousands of small
// trees, several times faster there than on a disk.
class StateFolder {
public:
    StateFolder() {
        std::string pattern = (fs::is_directory("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path()).string() + "/rf-states-XXXXXX";
        if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot make a folder for the states");
        m_path = pattern;
    }
    ~StateFolder() { fs::remove_all(m_path); }
    std::string const& path() const { return m_path; }

private:
    std::string m_path;
};

} // namespace

// A power cut can keep any of a run's file-system operations that were not flushed yet, in any
// combination. For every such state at every moment of a real run, the next run's recovery must
// leave exactly the old tree, or, once the journal's "committed" reached the disk, exactly the
// new one, with nothing left beside the folder.
TEST(ApplyPatch, EveryStateAPowerCutCanLeaveRecoversToTheOldTreeOrTheNewOne) {
    PatchFixture f;
    makeTrees(f, fromEnvironment("RF_CRASH_SCALE", 1));
    std::string const patch = f.make(f.scratch / "old", f.scratch / "new");
    StateFolder const inMemory;
    std::string const root = fs::canonical(inMemory.path()).string() + "/run", work = root + "/work";
    auto startOver = [&] {
        fs::remove_all(root);
        fs::create_directory(root);
        copyTree(f.scratch / "old", work);
    };
    startOver();
    std::string const log = f.scratch / "calls.log";
    ASSERT_EQ(rf_test::run(RF_SHIM_ENVIRONMENT "RF_FS_CALL_LOG='" + log + "' LD_PRELOAD='" RF_FS_CALL_SHIM "' '" + f.tool + "' -d '" + work +
                           "' -i '" + patch + "'"),
              0);
    ASSERT_TRUE(rf_test::sameTree(work, f.scratch / "new"));
    startOver();
    rf_test::CrashStates const states(log, root);
    std::vector<std::size_t> journal;  // "committing", "committed": each a rename of "…journal.new"
    for (std::size_t i = 0; i < states.ops().size(); ++i)
        if (states.ops()[i].kind == rf_test::FsOp::Kind::rename && states.ops()[i].line.find("rfpatch-journal.new\t") != std::string::npos)
            journal.push_back(i);
    ASSERT_EQ(journal.size(), 2u);

    // Every operation kept builds the run's own end: the states are made as the run made them.
    std::vector<bool> const all(states.ops().size(), true);
    states.replay(all);
    ASSERT_TRUE(rf_test::sameTree(work, f.scratch / "new"));
    ASSERT_EQ(std::distance(fs::directory_iterator(root), fs::directory_iterator()), 1);
    startOver();

    Snapshot const oldTree = rf_test::snapshot(f.scratch / "old"), newTree = rf_test::snapshot(f.scratch / "new");
    std::size_t old = 0, next = 0, mixed = 0, bounded = 0;
    std::size_t const checked = states.forEachState(
        [&](std::vector<bool> const& persisted) {
            startOver();
            // "committed" is on the disk when its rename is, and the file it renames.
            bool const committed = states.replay(persisted)[journal[1]];
            std::string problem;
            try {
                Refloom::Patch::recover(Refloom::Patch::locate(work));
                std::string const differs = differences(work, committed ? newTree : oldTree);
                if (!differs.empty())
                    problem = std::string("not the ") + (committed ? "new" : "old") + " tree:" + differs;
                else if (std::distance(fs::directory_iterator(root), fs::directory_iterator()) != 1)
                    problem = "something was left beside the folder";
            } catch (std::exception const& error) {
                problem = error.what();
            }
            ++(problem.empty() ? (committed ? next : old) : mixed);
            if (!problem.empty() && mixed <= 3) {
                std::string lost;
                for (std::size_t i = 0; i < persisted.size(); ++i)
                    if (!persisted[i] && states.ops()[i].kind != rf_test::FsOp::Kind::flushItem) lost += "\n  not kept: " + states.ops()[i].line;
                ADD_FAILURE() << problem << lost;
            }
        },
        fromEnvironment("RF_CRASH_EXHAUSTIVE", 16), &bounded);
    std::printf("%zu crash states of a run of %zu operations checked: %zu old, %zu new, %zu mixed", checked,
                states.ops().size(), old, next, mixed);
    if (bounded) std::printf(" (at %zu moments with more unflushed operations than the limit, only those leaving out or adding two)", bounded);
    std::printf("\n");
    EXPECT_EQ(mixed, 0u);
    EXPECT_GT(old, 0u);
    EXPECT_GT(next, 0u);
}
