// Extracts zip archives into a folder tree with progress, file dates and localised errors.
// Every failure is a std::ios_base::failure; what was extracted before it stays on disk.
#pragma once

#include <unzip.h>

#include <cstdint>
#include <ios>
#include <string>
#include <unordered_set>

#include "archive/progress.h"
#include "cp/path.h"

// Raised, after every other entry was extracted, when entries had paths over the system's limit.
class MaxPathError : public std::ios_base::failure {
public:
    explicit MaxPathError(std::string const& message)
        : std::ios_base::failure(message, std::io_errc::stream) {}
    std::int32_t m_reserved = 0;
};

// Percent of `total` done, by integer steps of total / 100: 0 when total is below 100, and past
// 100 when done passes total.
int ScaleProgressValue(long long done, long long total);

class CZipReader {
public:
    // The sink may be null; with one, extraction reports percent and can be cancelled.
    explicit CZipReader(LMServices::IProgress* sink);
    ~CZipReader();
    CZipReader(CZipReader const&) = delete;
    CZipReader& operator=(CZipReader const&) = delete;

    // False when minizip rejects the file (not a zip archive). A file that cannot be opened at
    // all raises. An archive already open is not closed first.
    bool Open(wchar_t const* path);
    // Raises when minizip fails to close; the archive then stays open.
    void Close();
    // Extracts every entry under `destination`: true when all were done, false when the sink
    // cancelled (the current file is left partial). An entry whose name is absolute or would
    // lead outside `destination` ("..", a link already there) raises, naming the entry.
    bool Unzip(wchar_t const* destination);
    // Extracts the entry at minizip's current position; false when cancelled.
    bool ExtractCurrentFile(wchar_t const* destination);

    // Raises for a negative minizip status.
    void FailZipError_(int status, wchar_t const* archive_path);
    void CreateDirectoryTreeFromFolderPath(wchar_t const* folder);
    void CreateDirectoryTreeFromFilePath(wchar_t const* file);
    // Paths have no length limit this code needs to enforce here: it does nothing.
    void CheckZipMaxPathError(wchar_t const* path, bool is_folder);

private:
    void _refuse_unsafe_entry(std::string const& name, wchar_t const* destination);

    unzFile m_archive = nullptr;
    Lumenary::CP::CPath m_path;
    Lumenary::CBasePtr<LMServices::IProgress> m_progress;
    long long m_total = 0;
    long long m_done = 0;
    // Folders under the destination known to be real folders, not links, in this run.
    std::unordered_set<std::string> m_safe_folders;
};
