#include "tools/applypatch/journal.h"

#include <fcntl.h>
#include <ftw.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

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

void syncFolder(std::string const& path) {
    int fd = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        fsync(fd);
        close(fd);
    }
}

} // namespace

void flushFileSystem(std::string const& path) {
    int fd = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0 || syncfs(fd) != 0) {
        int const error = errno;
        if (fd >= 0) close(fd);
        throw PatchError(Refusal::failed, "cannot flush the file system of " + path + ": " + std::strerror(error));
    }
    close(fd);
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
    syncFolder(at.journal.substr(0, at.journal.rfind('/')));
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
    for (std::size_t i = 0; i < entries.size(); ++i) {
        Entry const& e = entries[i];
        std::string const path = at.folder + "/" + e.path;
        std::string const saved = at.backup + "/" + std::to_string(i);
        if (movesOut(e) && exists(saved)) rename(saved.c_str(), path.c_str());
        if (e.op == Op::mode && e.source.kind != Kind::link) chmod(path.c_str(), e.source.mode);
    }
}

bool removeTree(std::string const& path) {
    if (!exists(path)) return true;
    nftw(path.c_str(), [](char const* item, struct stat const*, int, struct FTW*) { return remove(item) == 0 ? 0 : 0; },
         64, FTW_DEPTH | FTW_PHYS);
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
