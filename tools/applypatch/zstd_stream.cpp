#include "tools/applypatch/zstd_stream.h"

#include <algorithm>
#include <vector>

#include "tools/applypatch/format.h"

namespace Refloom::Patch {

std::string compress(std::string_view data, int level, int workers) {
    ZSTD_CCtx* context = ZSTD_createCCtx();
    ZSTD_CCtx_setParameter(context, ZSTD_c_compressionLevel, level);
    ZSTD_CCtx_setParameter(context, ZSTD_c_checksumFlag, 1);
    if (workers > 0) ZSTD_CCtx_setParameter(context, ZSTD_c_nbWorkers, workers);
    std::string out(ZSTD_compressBound(data.size()), '\0');
    std::size_t size = ZSTD_compress2(context, out.data(), out.size(), data.data(), data.size());
    ZSTD_freeCCtx(context);
    if (ZSTD_isError(size)) throw PatchError(Refusal::failed, std::string("compression failed: ") + ZSTD_getErrorName(size));
    out.resize(size);
    return out;
}

bool startBarelyShrinks(std::string_view data, int level) {
    std::string_view const start = data.substr(0, 1u << 20);
    return barelyShrinks(compress(start, level).size(), start.size());
}

std::size_t sizeAfter(std::string_view prefix, std::string_view data) {
    ZSTD_CCtx* context = ZSTD_createCCtx();
    int windowLog = 10;
    while (windowLog < 30 && (std::size_t(1) << windowLog) < prefix.size() + data.size()) ++windowLog;
    ZSTD_CCtx_setParameter(context, ZSTD_c_compressionLevel, 1);
    ZSTD_CCtx_setParameter(context, ZSTD_c_windowLog, windowLog);
    ZSTD_CCtx_setParameter(context, ZSTD_c_enableLongDistanceMatching, 1);
    ZSTD_CCtx_refPrefix(context, prefix.data(), prefix.size());
    std::string out(ZSTD_compressBound(data.size()), '\0');
    std::size_t const size = ZSTD_compress2(context, out.data(), out.size(), data.data(), data.size());
    ZSTD_freeCCtx(context);
    return ZSTD_isError(size) ? data.size() : size;
}

namespace {

// Decoders kept for the next reader on the same thread: a tree patch opens four streams for each
// of a thousand small files, and making a decoder each time cost more than decoding.
class SpareDecoders {
public:
    ~SpareDecoders() {
        for (ZSTD_DStream* stream : m_spare) ZSTD_freeDStream(stream);
    }
    ZSTD_DStream* take() {
        if (m_spare.empty()) {
            ZSTD_DStream* stream = ZSTD_createDStream();
            // A window no real payload needs: refuse frames that would make us allocate beyond it.
            ZSTD_DCtx_setParameter(stream, ZSTD_d_windowLogMax, 27);
            return stream;
        }
        ZSTD_DStream* stream = m_spare.back();
        m_spare.pop_back();
        return stream;
    }
    void giveBack(ZSTD_DStream* stream) {
        ZSTD_DCtx_reset(stream, ZSTD_reset_session_only);
        m_spare.push_back(stream);
    }

private:
    std::vector<ZSTD_DStream*> m_spare;
};

thread_local SpareDecoders t_decoders;

} // namespace

ZstdFileReader::ZstdFileReader(int fd, std::uint64_t offset, std::uint64_t size)
    : StreamReader(fd, offset, size), m_stream(t_decoders.take()) {}

ZstdFileReader::~ZstdFileReader() { t_decoders.giveBack(m_stream); }

bool ZstdFileReader::refill() {
    std::size_t const got = readInput();
    m_input = {m_in.data(), got, 0};
    return got > 0;
}

std::size_t ZstdFileReader::readSome(void* out, std::size_t size) {
    // After the frame's end a call would start reading another frame, and finished() would see
    // one begun.
    if (m_lastResult == 0 && m_input.pos == m_input.size && inputLeft() == 0) return 0;
    ZSTD_outBuffer output{out, size, 0};
    while (output.pos == 0 && size > 0) {
        // With the input all read, a call with none still gives out what the decoder holds.
        if (m_input.pos == m_input.size && inputLeft() > 0 && !refill()) return 0;
        m_lastResult = ZSTD_decompressStream(m_stream, &output, &m_input);
        if (ZSTD_isError(m_lastResult)) return 0;
        if (output.pos == 0 && m_input.pos == m_input.size && inputLeft() == 0) return 0;
    }
    return output.pos;
}

bool ZstdFileReader::finished() {
    char probe;
    ZSTD_outBuffer output{&probe, 1, 0};
    // Drain what is left: a complete frame produces nothing more and reports 0.
    while (m_lastResult != 0) {
        if (m_input.pos == m_input.size && !refill()) return false;
        m_lastResult = ZSTD_decompressStream(m_stream, &output, &m_input);
        if (ZSTD_isError(m_lastResult) || output.pos != 0) return false;
    }
    return m_input.pos == m_input.size && inputLeft() == 0;
}

} // namespace Refloom::Patch
