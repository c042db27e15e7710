#include "tools/applypatch/journal.h"

#include <dirent.h>
#include <fcntl.h>
#include <ftw.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "tools/applypatch/cores.h"
#include "tools/applypatch/tree.h"

namespace Refloom::Patch {
namespace {

constexpr char kJournalMagic[] = "RFPATCH-JOURNAL1\n";

bool exists(std::string const& path) {
    struct stat info;
    return lstat(path.c_str(), &info) == 0;
}

bool movesOut(Entry const& e) { return e.op == Op::remove || e.op == Op::replace || e.op == Op::delta; }
bool movesIn(Entry const& e) { return (e.op == Op::add || e.op == Op::replace || e.op == Op::delta) && e.target.kind != Kind::none; }

// Flushes and removals wait on the disk, not on the processor: several in flight let the disk
// take them together.
int diskThreads() { return 4 * machineCores(); }

} // namespace

std::string parentOf(std::string const& path) {
    std::size_t const slash = path.rfind('/');
    return slash == 0 ? "/" : path.substr(0, slash);
}

void flushFolders(std::set<std::string> const& folders) {
    std::vector<std::string> const list(folders.begin(), folders.end());
    forEachOnThreads(list.size(), diskThreads(), [&](std::size_t i) {
        int const fd = open(list[i].c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (fd < 0 && (errno == ENOENT || errno == ENOTDIR)) return;
        int const error = fd < 0 || fsync(fd) != 0 ? errno : 0;
        if (fd >= 0) close(fd);
        if (error != 0) throw PatchError(Refusal::failed, "cannot flush " + list[i] + ": " + std::strerror(error));
    });
}

void flushItems(std::vector<std::string> const& paths) {
    forEachOnThreads(paths.size(), diskThreads(), [&](std::size_t i) { flushItem(paths[i]); });
}

void flushItem(std::string const& path) {
    struct stat info;
    if (lstat(path.c_str(), &info) != 0) return;
    if (S_ISDIR(info.st_mode)) return flushFolders({path});
    if (S_ISLNK(info.st_mode)) return flushFolders({parentOf(path)});
    // A file its owner may not read is still opened by root; an owner without any access to
    // their own file is the one case flushed with its folder alone.
    int fd = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) fd = open(path.c_str(), O_WRONLY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) return flushFolders({parentOf(path)});
    int const error = fsync(fd) != 0 ? errno : 0;
    close(fd);
    if (error != 0) throw PatchError(Refusal::failed, "cannot flush " + path + ": " + std::strerror(error));
}

Locations locate(std::string const& folder) {
    char resolved[PATH_MAX];
    struct stat info;
    if (!realpath(folder.c_str(), resolved) || stat(resolved, &info) != 0 || !S_ISDIR(info.st_mode))
        throw PatchError(Refusal::failed, "not a folder: " + folder);
    std::string const path(resolved);
    if (path == "/") throw PatchError(Refusal::failed, "will not patch the root folder");
    auto slash = path.rfind('/');
    std::string const parent = slash == 0 ? "" : path.substr(0, slash);
    std::string const base = parent + "/." + path.substr(slash + 1) + ".rfpatch-";
    return {path, base + "stage", base + "backup", base + "journal"};
}

Manifest journalManifest(Locations const& at, Manifest manifest) {
    for (Entry& e : manifest.entries) {
        struct stat info;
        if (e.op == Op::mode && lstat((at.folder + "/" + e.path).c_str(), &info) == 0) {
            e.mtimeSeconds = info.st_mtim.tv_sec;
            e.mtimeNanoseconds = std::uint32_t(info.st_mtim.tv_nsec);
        }
    }
    return manifest;
}

void writeJournal(Locations const& at, JournalState state, Manifest const& manifest) {
    std::string const body = serialize(manifest);
    std::string data(kJournalMagic);
    data += char(state);
    data += body;
    std::string const temporary = at.journal + ".new";
    int fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    bool ok = fd >= 0 && write(fd, data.data(), data.size()) == ssize_t(data.size()) && fsync(fd) == 0;
    if (fd >= 0) close(fd);
    ok = ok && rename(temporary.c_str(), at.journal.c_str()) == 0;
    if (!ok) {
        unlink(temporary.c_str());
        throw PatchError(Refusal::failed, "cannot write the journal " + at.journal + ": " + std::strerror(errno));
    }
    flushFolders({parentOf(at.journal)});
}

void rollBack(Locations const& at, Manifest const& manifest) {
    auto const& entries = manifest.entries;
    // New items out, children before parents. A staged item that is no longer in the stage
    // was moved in; a new folder is simply removed (its children went first).
    for (std::size_t i = entries.size(); i-- > 0;) {
        Entry const& e = entries[i];
        if (!movesIn(e)) continue;
        std::string const path = at.folder + "/" + e.path;
        std::string const staged = at.stage + "/" + std::to_string(i);
        if (e.target.kind == Kind::folder)
            rmdir(path.c_str());
        else if (!exists(staged) && exists(path))
            rename(path.c_str(), staged.c_str());
    }
    // Old items back, parents before children; then the modes the run changed in place.
    std::set<std::string> touched{at.stage, at.backup};
    for (std::size_t i = 0; i < entries.size(); ++i) {
        Entry const& e = entries[i];
        std::string const path = at.folder + "/" + e.path;
        std::string const saved = at.backup + "/" + std::to_string(i);
        if (movesOut(e) && exists(saved)) rename(saved.c_str(), path.c_str());
        if (e.op == Op::mode) {
            if (e.source.kind != Kind::link) chmod(path.c_str(), e.source.mode);
            timespec const times[2] = {{e.mtimeSeconds, long(e.mtimeNanoseconds)}, {e.mtimeSeconds, long(e.mtimeNanoseconds)}};
            utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW);
        }
        if (movesOut(e) || movesIn(e)) touched.insert(parentOf(path));
    }
    // On the disk before the journal goes: without it the journal's removal could outlast a
    // power cut that the moves back did not.
    flushFolders(touched);
    for (Entry const& e : entries)
        if (e.op == Op::mode) flushItem(at.folder + "/" + e.path);
}

bool removeTree(std::string const& path) {
    if (!exists(path)) return true;
    // The items at the top go several at once: freeing a file's blocks waits on the disk (and on
    // a file system mounted with discard, on trimming them), not on the processor.
    std::vector<std::string> items;
    if (DIR* folder = opendir(path.c_str())) {
        while (dirent const* entry = readdir(folder))
            if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) items.push_back(path + "/" + entry->d_name);
        closedir(folder);
    }
    forEachOnThreads(items.size(), diskThreads(), [&](std::size_t i) {
        nftw(items[i].c_str(), [](char const* item, struct stat const*, int, struct FTW*) { return remove(item) == 0 ? 0 : 0; }, 64,
             FTW_DEPTH | FTW_PHYS);
    });
    remove(path.c_str());
    return !exists(path);
}

void cleanUp(Locations const& at) {
    removeTree(at.stage);
    removeTree(at.backup);
    unlink((at.journal + ".new").c_str());
    unlink(at.journal.c_str());
}

int recover(Locations const& at) {
    if (!exists(at.journal)) {
        // A run that stopped before its commit touched nothing in the folder.
        removeTree(at.stage);
        removeTree(at.backup);
        unlink((at.journal + ".new").c_str());
        return 0;
    }
    std::string const data = readWholeFile(at.journal);
    std::size_t const magic = sizeof kJournalMagic - 1;
    if (data.size() <= magic || data.compare(0, magic, kJournalMagic) != 0)
        throw PatchError(Refusal::failed, "the journal " + at.journal + " is damaged; the folder needs checking by hand");
    auto const state = JournalState(data[magic]);
    Manifest const manifest = parse(data.substr(magic + 1));
    if (state == JournalState::committed) {
        cleanUp(at);
        return 2;
    }
    rollBack(at, manifest);
    cleanUp(at);
    return 1;
}

} // namespace Refloom::Patch
