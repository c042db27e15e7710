#include "privileged/helper/tree_copy.h"

#include "privileged/helper/copy_stream.h"
#include "privileged/helper/tree_walk.h"

#include <cerrno>
#include <fcntl.h>
#include <limits.h>
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Refloom::Helper {
namespace {

constexpr std::uint32_t kMaxChunk = 1 << 20;
constexpr char kStaged[] = "item";

// Modes as they may stand on anything the helper makes.
mode_t plain(std::uint32_t mode) {
    return mode_t(mode & 0777);
}

// Gives the folder `fd` the mode (without set-id and sticky bits) and times of `from`.
bool takeModeAndTimes(int fd, struct stat const& from) {
    timespec const times[2] = {from.st_atim, from.st_mtim};
    return fchmod(fd, from.st_mode & 0777) == 0 && futimens(fd, times) == 0;
}

// Builds the stream's entries in the staging folder. False, with the reason in `errors`, on
// anything malformed or failed; what was made is left for the caller to remove.
class Stager {
public:
    Stager(StreamIn& in, std::string& errors) : m_in(in), m_errors(errors) {}
    // The reader said it could not read part of the source.
    bool unreadable() const { return m_unreadable; }

    bool entry(char kind, int parent, std::string const& name, EntryHeader const& header,
               int depth) {
        if (depth > kMaxTreeDepth) return broken("folders nested too deep");
        switch (kind) {
        case 'F':
            return file(parent, name, header);
        case 'L':
            return link(parent, name, header);
        case 'D':
            return folder(parent, name, header, depth);
        default:
            return broken("an entry of no known kind");
        }
    }
    // The next kind byte; a failure reported by the reader ends the stream.
    bool next(char& kind) {
        if (!m_in.get(kind)) return broken("the source's reader ended early");
        if (kind != '!') return true;
        std::string message;
        if (!m_in.text(message, 4000)) return broken("the source's reader ended early");
        m_errors += message + "\n";
        m_unreadable = true;
        return false;
    }

private:
    bool broken(std::string const& why) {
        m_errors += "the copy's source could not be read whole: " + why + "\n";
        return false;
    }
    bool failed(std::string const& what) {
        m_errors += failure("staging", what);
        return false;
    }

    bool file(int parent, std::string const& name, EntryHeader const& header) {
        Fd const out(openat(parent, name.c_str(),
                            O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (!out) return failed("cannot make " + name);
        std::string chunk;
        for (;;) {
            std::uint32_t length = 0;
            if (!m_in.get(length)) return broken("a file's content is cut short");
            if (length == 0) break;
            chunk.resize(length);
            if (length > kMaxChunk || !m_in.get(chunk.data(), length))
                return broken("a file's content is malformed");
            for (size_t at = 0; at < chunk.size();) {
                ssize_t const n = write(out.get(), chunk.data() + at, chunk.size() - at);
                if (n < 0 && errno == EINTR) continue;
                if (n <= 0) return failed("cannot write " + name);
                at += size_t(n);
            }
        }
        if (fchmod(out.get(), plain(header.mode)) != 0 || futimens(out.get(), header.times) != 0)
            return failed("cannot set the mode and times of " + name);
        return true;
    }

    bool link(int parent, std::string const& name, EntryHeader const& header) {
        std::string target;
        if (!m_in.text(target, PATH_MAX - 1) || target.empty())
            return broken("a link's target is malformed");
        if (symlinkat(target.c_str(), parent, name.c_str()) != 0)
            return failed("cannot make the link " + name);
        utimensat(parent, name.c_str(), header.times, AT_SYMLINK_NOFOLLOW);
        return true;
    }

    bool folder(int parent, std::string const& name, EntryHeader const& header, int depth) {
        if (mkdirat(parent, name.c_str(), 0700) != 0)
            return failed("cannot make the folder " + name);
        Fd const made = openFolder(parent, name);
        if (!made) return failed("cannot open the folder " + name);
        for (char kind; next(kind);) {
            if (kind == 'E') {
                if (fchmod(made.get(), plain(header.mode)) != 0 ||
                    futimens(made.get(), header.times) != 0)
                    return failed("cannot set the mode and times of " + name);
                return true;
            }
            EntryHeader inner;
            if (!readHeader(m_in, inner)) return broken("an entry's header is malformed");
            if (!entry(kind, made.get(), inner.name, inner, depth + 1)) return false;
        }
        return false;
    }

    StreamIn& m_in;
    std::string& m_errors;
    bool m_unreadable = false;
};

// A fresh folder of the helper's own in `parent`, under a name nobody else chose.
std::string makeStaging(int parent, std::string& errors) {
    static unsigned counter = 0;
    for (int attempt = 0; attempt < 100; ++attempt) {
        std::string const name =
            ".rf-staging-" + std::to_string(getpid()) + "-" + std::to_string(++counter);
        if (mkdirat(parent, name.c_str(), 0700) == 0) return name;
        if (errno != EEXIST) break;
    }
    errors += failure("the destination's folder", "cannot make a staging folder in it");
    return {};
}

// Moves everything staged in `from` into `into`, merging folders that stand at the same names.
bool place(int from, int into, dev_t device, std::string const& shown, std::string& errors,
           int depth) {
    bool ok = true;
    for (std::string const& name : namesIn(from)) {
        std::string const path = shown + "/" + name;
        struct stat staged, standing;
        if (fstatat(from, name.c_str(), &staged, AT_SYMLINK_NOFOLLOW) != 0) {
            ok = false, errors += failure(path, "cannot look at the staged copy");
            continue;
        }
        bool const exists = fstatat(into, name.c_str(), &standing, AT_SYMLINK_NOFOLLOW) == 0;
        if (S_ISDIR(staged.st_mode) && exists && S_ISDIR(standing.st_mode)) {
            Fd const source = openFolder(from, name), target = openFolder(into, name);
            struct stat opened;
            if (!source || !target || fstat(target.get(), &opened) != 0 ||
                opened.st_dev != device || depth >= kMaxTreeDepth) {
                ok = false, errors += path + ": cannot merge into this folder\n";
                continue;
            }
            ok = place(source.get(), target.get(), device, path, errors, depth + 1) && ok;
            if (!takeModeAndTimes(target.get(), staged)) ok = false, errors += failure(path, "cannot set its mode and times");
            continue;
        }
        // A folder goes only where nothing stands; anything else replaces what is there, but
        // never a folder.
        unsigned const flags = S_ISDIR(staged.st_mode) ? RENAME_NOREPLACE : 0;
        if (renameat2(from, name.c_str(), into, name.c_str(), flags) != 0)
            ok = false,
            errors += failure(path, exists && S_ISDIR(staged.st_mode) != S_ISDIR(standing.st_mode)
                                        ? "a folder and a file cannot replace each other"
                                        : "cannot put the copy in place");
    }
    return ok;
}

// Empties the staging folder through its own descriptor, then removes it by name.
void removeStaging(int parent, std::string const& name, int staging) {
    std::string ignored;
    walkBelow(
        staging, name,
        [](int folder, std::string const& entry, struct stat const& info, std::string const&) {
            return unlinkat(folder, entry.c_str(), S_ISDIR(info.st_mode) ? AT_REMOVEDIR : 0) == 0;
        },
        ignored);
    unlinkat(parent, name.c_str(), AT_REMOVEDIR);
}

} // namespace

CopyResult copyTree(std::string const& source, Pinned const& destination, UserIds const& user) {
    CopyResult result{false, false, {}};
    std::string& errors = result.errors;
    std::string const sourceName = source.substr(source.rfind('/') + 1);
    // A real folder at the destination receives the copy; else its parent does.
    Fd receiver;
    if (destination.isFolder() &&
        !(receiver = openFolder(destination.parent.get(), destination.name))) {
        errors += failure(destination.path, "cannot open it");
        return result;
    }
    if (receiver && !onSameFileSystem(destination.parent.get(), receiver.get())) {
        errors += destination.path + ": another file system is mounted there; left alone\n";
        return result;
    }
    int const home = receiver ? receiver.get() : destination.parent.get();
    std::string const stagingName = makeStaging(home, errors);
    if (stagingName.empty()) return result;
    Fd const staging = openFolder(home, stagingName);
    struct stat homeInfo, stagingInfo;
    if (!staging || fstat(home, &homeInfo) != 0 || fstat(staging.get(), &stagingInfo) != 0) {
        errors += failure(destination.path, "cannot open the staging folder");
        if (staging)
            removeStaging(home, stagingName, staging.get());
        else
            unlinkat(home, stagingName.c_str(), AT_REMOVEDIR);
        return result;
    }

    int stream = -1;
    pid_t const reader = startSourceReader(source, user, stagingInfo, stream);
    bool staged = reader > 0;
    if (!staged) errors += failure(source, "cannot start reading it");
    char kind = 0;
    char sourceKind = 0;
    if (staged) {
        StreamIn in(stream);
        Stager stager(in, errors);
        EntryHeader header;
        staged = stager.next(kind) && (kind == 'F' || kind == 'D' || kind == 'L') &&
                 readHeader(in, header) &&
                 stager.entry(sourceKind = kind, staging.get(), kStaged, header, 0) &&
                 stager.next(kind) && kind == '.';
        result.unreadable = stager.unreadable();
        close(stream);
        int status = 0;
        while (waitpid(reader, &status, 0) < 0 && errno == EINTR) {
        }
        if (staged && !(WIFEXITED(status) && WEXITSTATUS(status) == 0))
            staged = false, errors += source + ": the reader failed\n";
        if (!staged && errors.empty()) errors += source + ": cannot be read whole\n";
    }

    if (staged) {
        bool const folderSource = sourceKind == 'D';
        if (receiver && folderSource) {
            // Merged into the folder itself, which takes the source's mode and times.
            Fd const top = openFolder(staging.get(), kStaged);
            struct stat info;
            result.done =
                top && fstat(top.get(), &info) == 0 &&
                place(top.get(), receiver.get(), homeInfo.st_dev, destination.path, errors, 0);
            if (result.done && !takeModeAndTimes(receiver.get(), info))
                result.done = false, errors += failure(destination.path, "cannot set its mode and times");
        } else {
            // Renamed in as a whole: into the folder under the source's name, or onto the name.
            int const into = receiver ? receiver.get() : destination.parent.get();
            std::string const name = receiver ? sourceName : destination.name;
            unsigned const flags = folderSource ? RENAME_NOREPLACE : 0;
            result.done = renameat2(staging.get(), kStaged, into, name.c_str(), flags) == 0;
            if (!result.done)
                errors += failure(destination.path,
                                  folderSource ? "something other than a folder stands there"
                                               : "cannot put the copy in place");
        }
    }
    removeStaging(home, stagingName, staging.get());
    return result;
}

} // namespace Refloom::Helper
