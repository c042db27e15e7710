// A stream decoded on a thread of its own, a few pieces ahead of its reader. One xz stream decodes
// on one core: a large delta's streams decoded ahead leave the applying thread free for the reads
// of the old file, the additions and the copies.
#pragma once

#include <array>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "tools/applypatch/stream_reader.h"

namespace Refloom::Patch {

class AheadReader final : public StreamReader {
public:
    explicit AheadReader(std::unique_ptr<StreamReader> inner);
    // Stops the decoding wherever it is: a reader may stop early, at a bad control say.
    ~AheadReader() override;

    std::size_t readSome(void* out, std::size_t size) override;
    bool finished() override;

private:
    static constexpr std::size_t kPieces = 2;
    static constexpr std::size_t kPieceSize = 64 << 10;

    void decode();

    std::unique_ptr<StreamReader> m_inner;
    std::array<std::vector<char>, kPieces> m_pieces;
    std::array<std::size_t, kPieces> m_filled{};
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::size_t m_decoded = 0;  // pieces filled so far
    std::size_t m_taken = 0;    // pieces read to their end and handed back
    std::size_t m_at = 0;       // where the reader is in piece m_taken
    bool m_ended = false;       // the last piece is filled
    bool m_complete = false;    // and the stream was whole
    bool m_stop = false;
    std::thread m_thread;
};

} // namespace Refloom::Patch
