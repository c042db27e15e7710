// How a run keeps the folder whole. Beside the folder, on the same file system:
//   .NAME.rfpatch-stage    every new file and link, complete and checked, before anything moves
//   .NAME.rfpatch-backup   every old item the run has moved out of the folder
//   .NAME.rfpatch-journal  the manifest and the run's state: committing, or committed
// Moving is by rename only. A run that ends at any instant leaves a journal that the next run
// reads: committing is rolled back (the old tree), committed is finished (the new tree).
#pragma once

#include <set>
#include <string>
#include <vector>

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

// The manifest as the journal keeps it: a mode entry carries the time found on its item now,
// the one a roll-back puts back (the patch holds only the new time).
Manifest journalManifest(Locations const& at, Manifest manifest);

// Written whole or not at all, and on disk before it answers.
void writeJournal(Locations const& at, JournalState state, Manifest const& manifest);
// Flushes each folder's entries and its own mode and times, several at once; files and folders
// that do not exist (any more) are passed over. Only what the run wrote is flushed, never the
// whole file system: on a user's machine that would also wait for a download or a backup.
void flushFolders(std::set<std::string> const& folders);
// Flushes an item's data, mode and times, or for a link the folder that holds it (a link cannot
// be opened to flush).
void flushItem(std::string const& path);
// flushItem for each, several at once.
void flushItems(std::vector<std::string> const& paths);
// The folder that holds a path.
std::string parentOf(std::string const& path);

// Puts back every old item and takes out every new one, puts back the modes and times changed in
// place (from the journal's manifest), and flushes what it moved; safe to repeat after a crash.
void rollBack(Locations const& at, Manifest const& manifest);
// Removes what a finished or abandoned run left beside the folder, journal last.
void cleanUp(Locations const& at);

// Completes or rolls back a run that was interrupted on this folder; also clears leftovers of a
// run that never reached its commit. Answers what it found: 0 nothing, 1 rolled back, 2 finished.
int recover(Locations const& at);

// Removes a tree without following links; false when something stayed.
bool removeTree(std::string const& path);

} // namespace Refloom::Patch
