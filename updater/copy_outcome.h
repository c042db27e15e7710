// What became of one copy of the product in an update run, and how it is said: on the Finish
// page, in the terminal, in the log's closing summary and in the report. Only what happened.
#pragma once

#include <QString>

namespace Refloom {

struct PatchedCopy {
    enum class Outcome {
        updated,     // patched now
        upToDate,    // already at the patch's release: not offered, nothing run
        declined,    // offered, and the answer was No
        unpatchable, // the dry run refused it: changed since installed, or the patch is unusable
        failed,      // Yes, and the update did not happen
        notReached,  // the run ended before the copy was offered
    };

    QString folder;
    QString versionBefore;
    QString versionAfter;
    int dryRun = -1;        // the patch tool's status for the dry run
    bool offered = false;
    bool answered = false;  // the answer was Yes: the real run was tried
    bool patched = false;   // the real run and the patch tool itself succeeded
    bool administrator = false;
    QString failure;        // why the real run did not update the copy

    bool patchable() const { return dryRun == 0; }
    Outcome outcome() const;
    // Why the patch tool refused a copy, by its exit status; empty for 0.
    static QString refusal(int status);
    // "Updated: FOLDER (2025.1 -> 2025.3)", "Not updated: FOLDER: why", ...
    QString line() const;
    // The report's names: "patched", "up to date", "declined", "failed", "not offered".
    char const* reportName() const;
};

} // namespace Refloom
