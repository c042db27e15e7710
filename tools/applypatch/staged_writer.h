// Takes a new file's bytes as a payload hands them over, in runs of any size (a delta hands over
// many small ones), and hashes and writes them in pieces of 512 KiB: a write call for each run would
// cost more than the whole patch. With `alongside`, another thread hashes and writes each piece
// while the caller makes the next, so that a large file's decoding, hashing and writing share
// two cores instead of taking turns on one.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

#include "tools/applypatch/crypto.h"

namespace Refloom::Patch {

class StagedWriter {
public:
    // `size`: what the file is to hold, which sizes the buffer.
    StagedWriter(int fd, std::uint64_t size, bool alongside);
    ~StagedWriter();
    StagedWriter(StagedWriter const&) = delete;
    StagedWriter& operator=(StagedWriter const&) = delete;

    // False once a write has failed.
    bool add(void const* data, std::size_t count);
    // Writes what is left and waits for the last piece; false when any write failed.
    bool finish();

    std::uint64_t size() const { return m_size; }
    // The hash of every byte added; after finish().
    Digest digest() { return m_hash.finish(); }

private:
    bool handOver();
    bool hashAndWrite(std::vector<char> const& piece);
    void writePieces();  // the writing thread's loop
    // Waits until the piece handed over is written, and takes in whether it was; the lock held.
    std::unique_lock<std::mutex> waitForWriter();

    int m_fd;
    Sha256 m_hash;
    std::uint64_t m_size = 0;
    std::vector<char> m_filling, m_spare;
    std::vector<char>* m_current;
    bool m_ok = true;
    // With `alongside`: the piece handed to the writing thread, null once it is written.
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<char> const* m_handed = nullptr;
    bool m_written = true;  // every piece handed over so far was written
    bool m_stopping = false;
    std::thread m_thread;
};

} // namespace Refloom::Patch
