#include "tools/applypatch/xz_stream.h"

#include <algorithm>

#include "tools/applypatch/format.h"

namespace Refloom::Patch {
namespace {

// A reader holds the dictionary: four streams of a large file at once stay within 16 MiB.
constexpr std::uint32_t kLargestDictionary = 4u << 20;
constexpr std::uint64_t kMemoryLimit = 64u << 20;  // refuse streams that would need more to decode

[[noreturn]] void failed(char const* what) { throw PatchError(Refusal::failed, std::string("xz compression failed: ") + what); }

} // namespace

std::string compressXz(std::string_view data, int workers) {
    lzma_options_lzma options;
    if (lzma_lzma_preset(&options, 6 | LZMA_PRESET_EXTREME)) failed("no preset");
    options.dict_size = LZMA_DICT_SIZE_MIN;
    while (options.dict_size < data.size() && options.dict_size < kLargestDictionary) options.dict_size *= 2;
    lzma_filter filters[] = {{LZMA_FILTER_LZMA2, &options}, {LZMA_VLI_UNKNOWN, nullptr}};
    lzma_stream stream = LZMA_STREAM_INIT;
    lzma_ret started;
    if (workers > 1) {
        lzma_mt mt{};
        mt.threads = std::uint32_t(workers);
        mt.filters = filters;
        mt.check = LZMA_CHECK_NONE;
        started = lzma_stream_encoder_mt(&stream, &mt);
    } else {
        started = lzma_stream_encoder(&stream, filters, LZMA_CHECK_NONE);
    }
    if (started != LZMA_OK) failed("cannot start");
    // The bound is the single-threaded encoder's; the threaded one frames its blocks and may need
    // more on data that does not compress, so the output grows until the stream ends.
    std::string out(lzma_stream_buffer_bound(data.size()), '\0');
    stream.next_in = reinterpret_cast<std::uint8_t const*>(data.data());
    stream.avail_in = data.size();
    stream.next_out = reinterpret_cast<std::uint8_t*>(out.data());
    stream.avail_out = out.size();
    lzma_ret result;
    while ((result = lzma_code(&stream, LZMA_FINISH)) == LZMA_OK || (result == LZMA_BUF_ERROR && stream.avail_out == 0)) {
        if (stream.avail_out > 0) continue;
        std::size_t const used = out.size();
        out.resize(used + used / 4 + 4096);
        stream.next_out = reinterpret_cast<std::uint8_t*>(out.data() + used);
        stream.avail_out = out.size() - used;
    }
    std::size_t const size = out.size() - stream.avail_out;
    lzma_end(&stream);
    if (result != LZMA_STREAM_END) failed("the encoder stopped before the end");
    out.resize(size);
    return out;
}

XzFileReader::XzFileReader(int fd, std::uint64_t offset, std::uint64_t size)
    : StreamReader(fd, offset, size) {
    m_ok = lzma_stream_decoder(&m_stream, kMemoryLimit, 0) == LZMA_OK;
}

XzFileReader::~XzFileReader() { lzma_end(&m_stream); }

bool XzFileReader::refill() {
    std::size_t const got = readInput();
    m_stream.next_in = reinterpret_cast<std::uint8_t const*>(m_in.data());
    m_stream.avail_in = got;
    return got > 0;
}

std::size_t XzFileReader::readSome(void* out, std::size_t size) {
    if (!m_ok || m_ended || size == 0) return 0;
    m_stream.next_out = static_cast<std::uint8_t*>(out);
    m_stream.avail_out = size;
    while (m_stream.avail_out == size) {
        if (m_stream.avail_in == 0 && inputLeft() > 0 && !refill()) return m_ok = false, 0;
        lzma_ret const result = lzma_code(&m_stream, inputLeft() == 0 && m_stream.avail_in == 0 ? LZMA_FINISH : LZMA_RUN);
        if (result == LZMA_STREAM_END) {
            m_ended = true;
            break;
        }
        if (result != LZMA_OK) return m_ok = false, 0;
        if (m_stream.avail_out == size && m_stream.avail_in == 0 && inputLeft() == 0) return m_ok = false, 0;
    }
    return size - m_stream.avail_out;
}

bool XzFileReader::finished() {
    char probe;
    // A stream whose last bytes were not asked for yet ends with this read.
    if (!m_ended && readSome(&probe, 1) != 0) return false;
    return m_ok && m_ended && m_stream.avail_in == 0 && inputLeft() == 0;
}

} // namespace Refloom::Patch
