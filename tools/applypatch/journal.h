// How a run keeps the folder whole. Beside the folder, on the same file system:
//   .NAME.rfpatch-stage    every new file and link, complete and checked, before anything moves
//   .NAME.rfpatch-backup   every old item the run has moved out of the folder
//   .NAME.rfpatch-journal  the manifest and the run's state: committing, or committed
// Moving is by rename only. A run that ends at any instant leaves a journal that the next run
// reads: committing is rolled back (the old tree), committed is finished (the new tree).
#pragma once

#include <string>

#include "tools/applypatch/format.h"

namespace Refloom::Patch {

struct Locations {
    std::string folder;   // resolved
    std::string stage;
    std::string backup;
    std::string journal;
};

// Raises PatchError(failed) when the folder is not a folder.
Locations locate(std::string const& folder);

enum class JournalState : char { committing = 'C', committed = 'D' };

// Written whole or not at all, and on disk before it answers.
void writeJournal(Locations const& at, JournalState state, Manifest const& manifest);
// Flushes everything written to the file system that holds `path` (file data, folder entries,
// modes and times): what a journal state relies on must be on the disk before it is written.
void flushFileSystem(std::string const& path);

// Puts back every old item and takes out every new one; safe to repeat after a crash.
void rollBack(Locations const& at, Manifest const& manifest);
// Removes what a finished or abandoned run left beside the folder, journal last.
void cleanUp(Locations const& at);

// Completes or rolls back a run that was interrupted on this folder; also clears leftovers of a
// run that never reached its commit. Answers what it found: 0 nothing, 1 rolled back, 2 finished.
int recover(Locations const& at);

// Removes a tree without following links; false when something stayed.
bool removeTree(std::string const& path);

} // namespace Refloom::Patch
