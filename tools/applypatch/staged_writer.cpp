#include "tools/applypatch/staged_writer.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace Refloom::Patch {
namespace {

// Two of them for a large file, with the other buffers of its apply, stay within 32 MiB.
constexpr std::size_t kPiece = 512 << 10;

} // namespace

// A buffer no larger than the file: a small one comes from the heap, where taking and giving back
// a whole piece for each of a thousand small files cost more than writing them.
StagedWriter::StagedWriter(int fd, std::uint64_t size, bool alongside) : m_fd(fd), m_current(&m_filling) {
    m_filling.reserve(std::size_t(std::min<std::uint64_t>(size, kPiece)));
    if (!alongside) return;
    m_spare.reserve(kPiece);
    // One thread for the whole file: a thread for each piece cost libmergedlo.so's apply 136
    // thread starts, each mapping and unmapping a stack.
    m_thread = std::thread([this] { writePieces(); });
}

StagedWriter::~StagedWriter() {
    if (!m_thread.joinable()) return;
    {
        std::lock_guard const lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    m_thread.join();
}

void StagedWriter::writePieces() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_handed != nullptr || m_stopping; });
        if (!m_handed) return;
        std::vector<char> const* piece = m_handed;
        lock.unlock();
        bool const written = hashAndWrite(*piece);
        lock.lock();
        m_written = m_written && written;
        m_handed = nullptr;
        m_changed.notify_all();
    }
}

bool StagedWriter::add(void const* data, std::size_t count) {
    auto const* bytes = static_cast<char const*>(data);
    m_size += count;
    while (count > 0) {
        std::size_t const n = std::min(count, kPiece - m_current->size());
        m_current->insert(m_current->end(), bytes, bytes + n);
        bytes += n;
        count -= n;
        if (m_current->size() == kPiece && !handOver()) return false;
    }
    return m_ok;
}

bool StagedWriter::finish() {
    if (!m_current->empty()) handOver();
    if (m_thread.joinable()) waitForWriter();
    return m_ok;
}

std::unique_lock<std::mutex> StagedWriter::waitForWriter() {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_handed == nullptr; });
    m_ok = m_ok && m_written;
    return lock;
}

bool StagedWriter::handOver() {
    if (!m_thread.joinable()) {
        m_ok = m_ok && hashAndWrite(*m_current);
        m_current->clear();
        return m_ok;
    }
    // One piece in flight at a time, so the hash sees the pieces in order.
    {
        std::unique_lock const lock = waitForWriter();
        m_handed = m_current;
    }
    m_changed.notify_all();
    m_current = m_current == &m_filling ? &m_spare : &m_filling;
    m_current->clear();
    return m_ok;
}

bool StagedWriter::hashAndWrite(std::vector<char> const& piece) {
    m_hash.update(piece.data(), piece.size());
    char const* bytes = piece.data();
    for (std::size_t count = piece.size(); count > 0;) {
        ssize_t const n = write(m_fd, bytes, count);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        bytes += n;
        count -= std::size_t(n);
    }
    return true;
}

} // namespace Refloom::Patch
