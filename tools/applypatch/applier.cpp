#include "tools/applypatch/applier.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>
#include <future>
#include <mutex>
#include <set>
#include <vector>

#include "tools/applypatch/cores.h"
#include "tools/applypatch/crypto.h"
#include "tools/applypatch/delta.h"
#include "tools/applypatch/journal.h"
#include "tools/applypatch/staged_writer.h"
#include "tools/applypatch/tree.h"
#include "tools/applypatch/stream_reader.h"

namespace Refloom::Patch {
namespace {

void forEachOnCores(std::size_t count, std::function<void(std::size_t)> const& work) {
    forEachOnThreads(count, machineCores(), work);
}

// From this size a file's delta is staged alone, its hashing and writing get a core of their own,
// and its old file is hashed while the new files are staged.
constexpr std::uint64_t kLargeFile = 4u << 20;

[[noreturn]] void failed(std::string const& what) {
    throw PatchError(Refusal::failed, what + ": " + std::strerror(errno));
}

class Progress {
public:
    Progress(bool on, std::size_t total) : m_on(on), m_total(total) {}
    void step(char const* phase) {
        ++m_done;
        if (m_on && (m_done == m_total || m_done % 64 == 0))
            std::fprintf(stderr, "\rapplyPatch: %s %zu/%zu ", phase, m_done, m_total);
    }
    void reset(std::size_t total) {
        if (m_on) std::fputc('\n', stderr);
        m_done = 0;
        m_total = total;
    }

private:
    bool m_on;
    std::size_t m_total;
    std::size_t m_done = 0;
};

// Holds the folder's lock for one run, so that two runs never interleave: a lock on the folder
// itself, which stays where it is through a run, so that taking it writes nothing anywhere and
// a dry run leaves no trace, not even a changed time on the folder around it.
class FolderLock {
public:
    explicit FolderLock(std::string const& folder) {
        m_fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (m_fd < 0 || flock(m_fd, LOCK_EX) != 0) failed("cannot lock " + folder);
    }
    ~FolderLock() { close(m_fd); }
    FolderLock(FolderLock const&) = delete;
    FolderLock& operator=(FolderLock const&) = delete;

private:
    int m_fd = -1;
};

// Paths whose current link the patch replaces: a new path below one of them is safe, because the
// link is moved out before anything goes in below it.
std::set<std::string> replacedLinks(Manifest const& manifest) {
    std::set<std::string> links;
    for (Entry const& e : manifest.entries)
        if (e.source.kind == Kind::link && e.target.kind != Kind::link) links.insert(e.path);
    return links;
}

// The folders above the patch's paths that are links in the folder now, each looked at once: a
// tree patch has thousands of paths below a few hundred folders.
std::set<std::string> linksAbove(std::string const& folder, Manifest const& manifest) {
    std::set<std::string> parents, links;
    for (Entry const& e : manifest.entries)
        for (std::size_t slash = e.path.find('/'); slash != std::string::npos; slash = e.path.find('/', slash + 1))
            parents.insert(e.path.substr(0, slash));
    // In order, a folder comes before what is in it; nothing below a link is looked at through it.
    for (std::string const& parent : parents) {
        bool belowLink = false;
        for (std::size_t slash = parent.find('/'); slash != std::string::npos && !belowLink; slash = parent.find('/', slash + 1))
            belowLink = links.count(parent.substr(0, slash)) > 0;
        struct stat info;
        if (!belowLink && lstat((folder + "/" + parent).c_str(), &info) == 0 && S_ISLNK(info.st_mode)) links.insert(parent);
    }
    return links;
}

// Refuses a path that would lead out of the folder through a link already in it. Answers
// whether a parent is a replaced link (then nothing can be there yet).
bool checkParents(Entry const& e, std::set<std::string> const& replaced, std::set<std::string> const& links) {
    for (std::size_t slash = e.path.find('/'); slash != std::string::npos; slash = e.path.find('/', slash + 1)) {
        std::string const parent = e.path.substr(0, slash);
        if (replaced.count(parent)) return true;
        if (links.count(parent))
            throw PatchError(Refusal::unsafe_path, "\"" + e.path + "\" would pass through the link \"" + parent + "\"");
    }
    return false;
}

// Kind, content and mode; a link's only content is its target.
bool sameState(Node const& expected, Node const& found) {
    if (expected.kind != found.kind || expected.mode != found.mode) return false;
    switch (expected.kind) {
    case Kind::file: return expected.size == found.size && expected.sha256 == found.sha256;
    case Kind::link: return expected.link == found.link;
    default: return true;
    }
}

[[noreturn]] void notAsExpected(Entry const& e) {
    throw PatchError(Refusal::wrong_state, "\"" + e.path + "\" is not as the patch expects; nothing was changed");
}

// Raises PatchError(wrong_state) naming a path that is not in the given state (the entries'
// source or target), and (unsafe_path) for a path that would lead out through a link. With
// `unhashed`, a large file's content is left unchecked and its entry's index added there.
void checkState(std::string const& folder, Manifest const& manifest, Node Entry::*state,
                std::vector<std::size_t>* unhashed = nullptr) {
    // Below a link the patch replaces nothing can be there before; after, no link is left.
    std::set<std::string> const replaced = state == &Entry::source ? replacedLinks(manifest) : std::set<std::string>{};
    std::set<std::string> const links = linksAbove(folder, manifest);
    std::mutex unhashedLock;
    forEachOnCores(manifest.entries.size(), [&](std::size_t i) {
        Entry const& e = manifest.entries[i];
        bool const belowReplacedLink = checkParents(e, replaced, links);
        bool const later = unhashed && (e.*state).kind == Kind::file && (e.*state).size >= kLargeFile;
        Node found = belowReplacedLink ? Node{} : inspect(folder, e.path, !later);
        if (later && found.kind == Kind::file) found.sha256 = (e.*state).sha256;
        if (!sameState(e.*state, found)) notAsExpected(e);
        if (!later) return;
        std::lock_guard guard(unhashedLock);
        unhashed->push_back(i);
    });
    if (unhashed) std::sort(unhashed->begin(), unhashed->end());
}

// The content of the large old files, hashed on a thread of its own while the new files are
// staged: hashing one holds a core that staging leaves idle (0.12 s of the JDK modules image's
// 0.5 s apply). Its verdict is taken before anything in the folder moves.
class ContentCheck {
public:
    ContentCheck(std::string const& folder, Manifest const& manifest, std::vector<std::size_t> indices) {
        if (indices.empty()) return;
        m_done = std::async(std::launch::async, [&folder, &manifest, indices = std::move(indices)] {
            for (std::size_t i : indices) {
                Entry const& e = manifest.entries[i];
                if (!holds(folder, e.path, e.source.size, e.source.sha256)) notAsExpected(e);
            }
        });
    }
    ~ContentCheck() {
        if (m_done.valid()) m_done.wait();
    }
    ContentCheck(ContentCheck const&) = delete;
    ContentCheck& operator=(ContentCheck const&) = delete;

    // Raises PatchError(wrong_state) for an old file whose content is not the patch's.
    void verdict() {
        if (m_done.valid()) m_done.get();
    }

private:
    std::future<void> m_done;
};

bool isInState(std::string const& folder, Manifest const& manifest, Node Entry::*state) {
    try {
        checkState(folder, manifest, state);
        return true;
    } catch (PatchError const& error) {
        if (error.why() == Refusal::wrong_state || error.why() == Refusal::unsafe_path) return false;
        throw;
    }
}

// Starts writing a file's data to the disk without waiting for it.
bool startWriting(int fd) {
#ifdef __linux__
    return sync_file_range(fd, 0, 0, SYNC_FILE_RANGE_WRITE) == 0;
#else
    (void)fd;
    return true;
#endif
}

// Writes one new file into the stage and checks it against the target hash.
void stageFile(PatchFile const& patch, Locations const& at, Entry const& e, std::size_t index, uid_t owner, gid_t group) {
    // The old file was checked by hash; a link put in its place since is not followed.
    int const old = isDelta(e.payload) ? open((at.folder + "/" + e.path).c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC) : -1;
    if (isDelta(e.payload) && old < 0) failed("cannot read " + e.path);
    std::string const staged = at.stage + "/" + std::to_string(index);
    int fd = open(staged.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd < 0) {
        if (old >= 0) close(old);
        failed("cannot stage " + e.path);
    }
    // A large file is hashed and written on another core while this one decodes it, and its
    // delta's streams are decoded ahead on others: large files are staged one at a time, so those
    // cores would otherwise wait, and only one file's pieces are held at once.
    bool const large = e.target.size >= kLargeFile;
    StagedWriter writer(fd, e.target.size, large);
    auto sink = [&writer](void const* data, std::size_t count) { return writer.add(data, count); };
    bool produced;
    if (isDelta(e.payload)) {
        OldView const view = e.payload == PayloadKind::bit_delta ? OldView::bits : OldView::bytes;
        Layout const layout = patch.minorVersion() == 0 ? Layout::fixed : Layout::packed;
        produced = applyDelta(old, e.source.size, view, layout, patch.fd(), patch.payloadStart(e), e.payloadSize, sink,
                              large && machineCores() > 1);
        close(old);
    } else {
        std::unique_ptr<StreamReader> const reader = openStream(patch.fd(), patch.payloadStart(e), e.payloadSize);
        std::string buffer(1 << 17, '\0');
        produced = true;
        for (std::uint64_t left = e.target.size; produced && left > 0;) {
            std::size_t chunk = std::size_t(std::min<std::uint64_t>(left, buffer.size()));
            produced = reader->read(buffer.data(), chunk) && sink(buffer.data(), chunk);
            left -= chunk;
        }
        produced = produced && reader->finished();
    }
    produced = writer.finish() && produced;
    if (geteuid() == 0 && fchown(fd, owner, group) != 0) produced = false;
    timespec const times[2] = {{e.mtimeSeconds, long(e.mtimeNanoseconds)}, {e.mtimeSeconds, long(e.mtimeNanoseconds)}};
    // The disk starts writing the file now; stage() waits for it, with the other files'.
    bool const finished = produced && fchmod(fd, e.target.mode) == 0 && futimens(fd, times) == 0 && startWriting(fd);
    close(fd);
    if (!finished || writer.size() != e.target.size || writer.digest() != e.target.sha256)
        throw PatchError(Refusal::bad_payload, "the new \"" + e.path + "\" does not come out as the patch says");
}

void stage(PatchFile const& patch, Locations const& at, Progress& progress) {
    if (mkdir(at.stage.c_str(), 0700) != 0 || mkdir(at.backup.c_str(), 0700) != 0) failed("cannot make " + at.stage);
    struct stat folder;
    stat(at.folder.c_str(), &folder);
    auto const& entries = patch.manifest().entries;
    std::mutex progressLock, largeDelta;
    // Every file streams through buffers of a fixed size, so the cores can all stage at once. A
    // large delta's buffers are the largest (four decoders with dictionaries of up to 4 MiB, the
    // old file's block cache), so those go one at a time: a run's memory then stays the same
    // whatever the number of cores.
    forEachOnCores(entries.size(), [&](std::size_t i) {
        Entry const& e = entries[i];
        if (e.op != Op::mode && e.target.kind == Kind::file) {
            std::unique_lock alone(largeDelta, std::defer_lock);
            if (isDelta(e.payload) && e.target.size >= kLargeFile) alone.lock();
            stageFile(patch, at, e, i, folder.st_uid, folder.st_gid);
        }
        if (e.op != Op::mode && e.target.kind == Kind::link) {
            std::string const staged = at.stage + "/" + std::to_string(i);
            timespec const times[2] = {{e.mtimeSeconds, long(e.mtimeNanoseconds)}, {e.mtimeSeconds, long(e.mtimeNanoseconds)}};
            if (symlink(e.target.link.c_str(), staged.c_str()) != 0) failed("cannot stage " + e.path);
            utimensat(AT_FDCWD, staged.c_str(), times, AT_SYMLINK_NOFOLLOW);
            if (geteuid() == 0) lchown(staged.c_str(), folder.st_uid, folder.st_gid);
        }
        std::lock_guard guard(progressLock);
        progress.step("staging");
    });
    // On the disk before the journal says "committing": each staged file's data, mode and time,
    // then the stage's names (the links' times with them). Flushing file by file as each is
    // written would hold a core while the disk works; flushed together, the waits overlap.
    std::vector<std::string> staged;
    for (std::size_t i = 0; i < entries.size(); ++i)
        if (entries[i].op != Op::mode && entries[i].target.kind == Kind::file) staged.push_back(at.stage + "/" + std::to_string(i));
    flushItems(staged);
    flushFolders({at.stage});
}

void setTimes(std::string const& path, Entry const& e) {
    timespec const times[2] = {{e.mtimeSeconds, long(e.mtimeNanoseconds)}, {e.mtimeSeconds, long(e.mtimeNanoseconds)}};
    if (utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW) != 0) failed("cannot set the time of " + path);
}

// Old items out (children first), new items in (parents first), then modes and times. The
// folders each step changed are flushed before the next step relies on them: the old items are
// in the backup on the disk before anything takes their place, and everything is on the disk
// before the journal says "committed".
void commit(Locations const& at, Manifest const& manifest, Progress& progress) {
    auto const& entries = manifest.entries;
    std::set<std::string> changed{at.backup};
    for (std::size_t i = entries.size(); i-- > 0;) {
        Entry const& e = entries[i];
        if (e.op == Op::remove || e.op == Op::replace || e.op == Op::delta) {
            std::string const path = at.folder + "/" + e.path;
            if (rename(path.c_str(), (at.backup + "/" + std::to_string(i)).c_str()) != 0) failed("cannot move out " + e.path);
            changed.insert(parentOf(path));
        }
        progress.step("committing");
    }
    flushFolders(changed);
    changed = {at.stage};
    std::vector<std::string> modeChanged;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        Entry const& e = entries[i];
        std::string const path = at.folder + "/" + e.path;
        if (e.op == Op::mode && e.target.kind != Kind::folder) modeChanged.push_back(path);
        if (e.op == Op::mode || e.op == Op::remove) continue;
        if (e.target.kind == Kind::folder) {
            if (mkdir(path.c_str(), 0700) != 0) failed("cannot make " + e.path);
        } else if (rename((at.stage + "/" + std::to_string(i)).c_str(), path.c_str()) != 0) {
            failed("cannot move in " + e.path);
        }
        changed.insert(parentOf(path));
    }
    for (std::size_t i = entries.size(); i-- > 0;) {
        Entry const& e = entries[i];
        if (e.op == Op::remove || (e.target.kind != Kind::folder && e.op != Op::mode)) continue;
        std::string const path = at.folder + "/" + e.path;
        if (e.target.kind != Kind::link && chmod(path.c_str(), e.target.mode) != 0) failed("cannot set the mode of " + e.path);
        setTimes(path, e);
        if (e.target.kind == Kind::folder) changed.insert(path);
    }
    flushFolders(changed);
    flushItems(modeChanged);
}

} // namespace

Outcome applyPatch(PatchFile const& patch, ApplyOptions const& options) {
    Locations const at = locate(options.folder);
    FolderLock lock(at.folder);
    recover(at);
    Manifest const& manifest = patch.manifest();
    // A copy patched before is what this run would make of it: nothing to do, and no harm in
    // asking twice. Any other state is refused as found.
    auto upToDateOrRefused = [&] {
        try {
            throw;
        } catch (PatchError const& error) {
            if (error.why() == Refusal::wrong_state && isInState(at.folder, manifest, &Entry::target)) return Outcome::up_to_date;
            throw;
        }
    };
    std::vector<std::size_t> unhashed;
    try {
        checkState(at.folder, manifest, &Entry::source, options.dryRun ? nullptr : &unhashed);
    } catch (PatchError const&) {
        return upToDateOrRefused();
    }
    forEachOnCores(manifest.entries.size(), [&](std::size_t i) { patch.checkPayload(manifest.entries[i]); });
    if (options.dryRun) return Outcome::applied;

    Progress progress(options.progress, manifest.entries.size());
    try {
        ContentCheck content(at.folder, manifest, std::move(unhashed));
        try {
            stage(patch, at, progress);
        } catch (...) {
            content.verdict();  // a changed old file fails its staging too: the change is what to report
            throw;
        }
        content.verdict();
    } catch (...) {
        cleanUp(at);  // nothing in the folder has moved yet
        return upToDateOrRefused();
    }
    // "committing" relies on every staged file being whole on the disk, "committed" on every
    // rename, folder, mode and time of the commit. Staging and the commit flush what they wrote
    // before they return, and the backups go only after "committed": a power failure at any
    // moment leaves a journal that tells the truth, and the files it needs to go back.
    Manifest const journal = journalManifest(at, manifest);
    writeJournal(at, JournalState::committing, journal);
    progress.reset(manifest.entries.size());
    try {
        commit(at, manifest, progress);
    } catch (PatchError const&) {
        rollBack(at, journal);
        cleanUp(at);
        throw;
    }
    writeJournal(at, JournalState::committed, journal);
    cleanUp(at);
    if (options.progress) std::fputc('\n', stderr);
    return Outcome::applied;
}

} // namespace Refloom::Patch
