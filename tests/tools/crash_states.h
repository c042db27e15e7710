// Every disk state a power cut could leave during a recorded run. A run's file-system calls, as
// fs_call_shim.c logs them, are read into operations on items (files, folders, links) that keep
// their identity across renames. A flush makes earlier operations durable: fsync of an item its
// data, mode and times; fsync of a folder the names made, moved or removed in it (a rename once
// both its folders are flushed), and a link's time with it; a file-system flush everything.
// Anything else may or may not have reached the disk, in any combination: no order between
// unflushed operations is assumed, not even between two renames into the same folder; a rename
// reaches the disk whole or not at all.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace rf_test {

struct FsOp {
    enum class Kind { create, write, mode, time, mkdir, symlink, rename, remove, flushItem, flushAll };
    Kind kind;
    int item = -1;      // what it acts on; for create, mkdir and symlink the item it makes
    int folder = -1;    // the folder a new name goes in (create, mkdir, symlink, rename)
    std::string name;   // that name
    std::vector<int> folders;  // the folders whose names it changes; empty for an item's own data
    std::string bytes, target;
    long long offset = 0, seconds = 0;
    long nanoseconds = 0;
    unsigned mode = 0;
    std::string line;  // as logged
};

class CrashStates {
public:
    // `log` records a run that began on the tree under `root` exactly as it is now.
    CrashStates(std::string const& log, std::string const& root);

    std::vector<FsOp> const& ops() const { return m_ops; }

    // Calls `visit` once for every distinct set of operations that a power cut at any moment
    // could leave on the disk (persisted[i] for ops()[i]), and answers how many there were.
    // Past `exhaustiveUpTo` unflushed operations at one moment, only the sets that leave out or
    // add at most two of them are visited (and `bounded` counts such moments).
    std::size_t forEachState(std::function<void(std::vector<bool> const&)> const& visit, std::size_t exhaustiveUpTo,
                             std::size_t* bounded = nullptr) const;

    // Builds a state where the run was recorded: `root` must hold again the tree the run began
    // on. Does the persisted operations in their order, each where its items are in this state,
    // skipping one whose item or folder did not reach the disk. Answers which took effect.
    std::vector<bool> replay(std::vector<bool> const& persisted) const;

private:
    std::vector<FsOp> m_ops;
    std::vector<std::string> m_startPaths;  // for each item there at the start, its path then
};

} // namespace rf_test
