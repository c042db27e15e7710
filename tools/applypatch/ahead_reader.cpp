#include "tools/applypatch/ahead_reader.h"

#include <algorithm>
#include <cstring>

namespace Refloom::Patch {

AheadReader::AheadReader(std::unique_ptr<StreamReader> inner) : m_inner(std::move(inner)) {
    for (std::vector<char>& piece : m_pieces) piece.resize(kPieceSize);
    m_thread = std::thread([this] { decode(); });
}

AheadReader::~AheadReader() {
    {
        std::lock_guard const lock(m_mutex);
        m_stop = true;
    }
    m_changed.notify_all();
    m_thread.join();
}

// Fills the pieces in turn, each once the reader has handed it back. A piece filled short is the
// last: the stream ended there, whole or not.
void AheadReader::decode() {
    for (;;) {
        std::size_t slot;
        {
            std::unique_lock lock(m_mutex);
            m_changed.wait(lock, [this] { return m_stop || m_decoded - m_taken < kPieces; });
            if (m_stop) return;
            slot = m_decoded % kPieces;
        }
        std::vector<char>& piece = m_pieces[slot];
        std::size_t filled = 0;
        for (std::size_t got; filled < kPieceSize && (got = m_inner->readSome(piece.data() + filled, kPieceSize - filled)) > 0;)
            filled += got;
        bool const last = filled < kPieceSize;
        bool const complete = last && m_inner->finished();
        {
            std::lock_guard const lock(m_mutex);
            m_filled[slot] = filled;
            ++m_decoded;
            m_ended = last;
            m_complete = complete;
        }
        m_changed.notify_all();
        if (last) return;
    }
}

std::size_t AheadReader::readSome(void* out, std::size_t size) {
    if (size == 0) return 0;
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_decoded > m_taken || m_ended; });
        if (m_decoded == m_taken) return 0;
        std::size_t const slot = m_taken % kPieces;
        if (m_at < m_filled[slot]) {
            // The decoding thread leaves a piece alone until it is handed back.
            lock.unlock();
            std::size_t const n = std::min(size, m_filled[slot] - m_at);
            std::memcpy(out, m_pieces[slot].data() + m_at, n);
            m_at += n;
            return n;
        }
        ++m_taken;
        m_at = 0;
        m_changed.notify_all();
    }
}

bool AheadReader::finished() {
    char probe;
    if (readSome(&probe, 1) != 0) return false;
    std::lock_guard const lock(m_mutex);
    return m_complete;
}

} // namespace Refloom::Patch
