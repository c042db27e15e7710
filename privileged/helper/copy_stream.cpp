#include "privileged/helper/copy_stream.h"

#include "privileged/helper/tree_walk.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <limits.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Refloom::Helper {
namespace {


// The writing side, buffered; a write that fails ends the reader.
class StreamOut {
public:
    explicit StreamOut(int fd) : m_fd(fd) {}
    ~StreamOut() { flush(); }
    void put(void const* bytes, size_t size) {
        if (m_buffer.size() + size > 65536) flush();
        m_buffer.append(static_cast<char const*>(bytes), size);
    }
    template <typename Number> void put(Number value) { put(&value, sizeof value); }
    void text(std::string const& value) {
        put(std::uint16_t(value.size()));
        put(value.data(), value.size());
    }
    void flush() {
        for (size_t at = 0; at < m_buffer.size();) {
            ssize_t const n = write(m_fd, m_buffer.data() + at, m_buffer.size() - at);
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) _exit(1); // the helper has stopped reading
            at += size_t(n);
        }
        m_buffer.clear();
    }

private:
    int m_fd;
    std::string m_buffer;
};

[[noreturn]] void fail(StreamOut& out, std::string message) {
    if (!message.empty() && message.back() == '\n') message.pop_back();
    out.put('!');
    out.text(message.substr(0, 4000));
    out.flush();
    _exit(1);
}

void header(StreamOut& out, char kind, std::string const& name, struct stat const& info) {
    out.put(kind);
    out.text(name);
    out.put(std::uint32_t(info.st_mode & 07777));
    for (timespec const& time : {info.st_atim, info.st_mtim}) {
        out.put(std::int64_t(time.tv_sec));
        out.put(std::int64_t(time.tv_nsec));
    }
}

// The copy's own staging folder: never part of what is copied.
struct stat gStaging;

void send(StreamOut& out, int parent, std::string const& name, std::string const& shown,
          int depth) {
    if (depth > kMaxTreeDepth) fail(out, shown + ": folders nested too deep");
    struct stat info;
    if (fstatat(parent, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0)
        fail(out, failure(shown, "cannot look at it"));
    if (S_ISLNK(info.st_mode)) {
        char target[PATH_MAX];
        ssize_t const length = readlinkat(parent, name.c_str(), target, sizeof target);
        if (length <= 0 || size_t(length) >= sizeof target)
            fail(out, failure(shown, "cannot read the link"));
        header(out, 'L', name, info);
        out.text(std::string(target, size_t(length)));
    } else if (S_ISDIR(info.st_mode)) {
        Fd const folder = openFolder(parent, name);
        if (!folder || fstat(folder.get(), &info) != 0) fail(out, failure(shown, "cannot open it"));
        header(out, 'D', name, info);
        for (std::string const& entry : namesIn(folder.get())) {
            struct stat inner;
            bool const staging =
                fstatat(folder.get(), entry.c_str(), &inner, AT_SYMLINK_NOFOLLOW) == 0 &&
                inner.st_dev == gStaging.st_dev && inner.st_ino == gStaging.st_ino;
            if (!staging) send(out, folder.get(), entry, shown + "/" + entry, depth + 1);
        }
        out.put('E');
    } else if (S_ISREG(info.st_mode)) {
        Fd const file(openat(parent, name.c_str(),
                             O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
        if (!file || fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode))
            fail(out, failure(shown, "cannot open it"));
        // Another name of the same file may lie anywhere: a copy never stands in for it.
        if (info.st_nlink != 1)
            fail(out, shown + ": a file with more than one name (a hard link) is not copied");
        header(out, 'F', name, info);
        char buffer[65536];
        for (ssize_t n; (n = read(file.get(), buffer, sizeof buffer)) != 0;) {
            if (n < 0 && errno == EINTR) continue;
            if (n < 0) fail(out, failure(shown, "cannot read it"));
            out.put(std::uint32_t(n));
            out.put(buffer, size_t(n));
        }
        out.put(std::uint32_t(0));
    } else {
        fail(out, shown + ": neither a file, a folder nor a link; not copied");
    }
}

[[noreturn]] void readSource(std::string const& source, int fd) {
    StreamOut out(fd);
    size_t const slash = source.rfind('/');
    std::string const parent = slash == 0 ? "/" : source.substr(0, slash);
    // As the user, a link on the way leads only where the user may go anyway.
    Fd const folder(open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder) fail(out, failure(parent, "cannot open it"));
    send(out, folder.get(), source.substr(slash + 1), source, 0);
    out.put('.');
    out.flush();
    _exit(0);
}

} // namespace

pid_t startSourceReader(std::string const& source, UserIds const& user, struct stat const& staging,
                        int& stream) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return -1;
    pid_t const child = fork();
    if (child == 0) {
        // Nothing of the helper's stays open in the reader but the pipe's writing end.
        if (dup2(ends[1], 3) != 3) _exit(1);
        int const nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
        if (nothing < 0 || dup2(nothing, 0) != 0 || dup2(nothing, 1) != 1 || dup2(nothing, 2) != 2)
            _exit(1);
        close_range(4, ~0U, 0);
        if (!becomeUser(user)) _exit(1);
        gStaging = staging;
        readSource(source, 3);
    }
    close(ends[1]);
    if (child < 0) {
        close(ends[0]);
        return -1;
    }
    stream = ends[0];
    return child;
}

bool StreamIn::get(void* bytes, size_t size) {
    auto* out = static_cast<char*>(bytes);
    while (size > 0) {
        if (m_at == m_size) {
            ssize_t const n = read(m_fd, m_buffer, sizeof m_buffer);
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) return false;
            m_at = 0;
            m_size = size_t(n);
        }
        size_t const take = std::min(size, m_size - m_at);
        std::memcpy(out, m_buffer + m_at, take);
        m_at += take;
        out += take;
        size -= take;
    }
    return true;
}

bool StreamIn::text(std::string& value, size_t limit) {
    std::uint16_t length = 0;
    if (!get(length) || length > limit) return false;
    value.resize(length);
    return get(value.data(), length) && value.find('\0') == std::string::npos;
}

bool readHeader(StreamIn& in, EntryHeader& header) {
    if (!in.text(header.name, NAME_MAX) || header.name.empty() || header.name == "." ||
        header.name == ".." || header.name.find('/') != std::string::npos || !in.get(header.mode))
        return false;
    for (timespec& time : header.times) {
        std::int64_t seconds = 0, nanoseconds = 0;
        if (!in.get(seconds) || !in.get(nanoseconds) || nanoseconds < 0 ||
            nanoseconds >= 1000000000)
            return false;
        time = {time_t(seconds), long(nanoseconds)};
    }
    return true;
}

} // namespace Refloom::Helper
