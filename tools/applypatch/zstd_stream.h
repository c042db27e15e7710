// zstd compression of whole buffers, and streaming decompression of a frame stored in a file.
#pragma once

#include <zstd.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "tools/applypatch/stream_reader.h"

namespace Refloom::Patch {

// Compressed with `workers` threads (0: in the calling thread).
std::string compress(std::string_view data, int level, int workers = 0);
// True when `packed` bytes of `size` saved too little for a stronger pass to be worth its time:
// content already compressed, encrypted or random.
inline bool barelyShrinks(std::size_t packed, std::size_t size) { return packed >= size * 98 / 100; }
// barelyShrinks for the first MiB of `data`, compressed at `level`.
bool startBarelyShrinks(std::string_view data, int level);
// The size of `data` compressed quickly with `prefix` before it, long matches found anywhere in
// it: how much of `data` the prefix already holds, measured in a fraction of a delta's time.
std::size_t sizeAfter(std::string_view prefix, std::string_view data);

// Reads the decompressed bytes of the zstd data stored at [offset, offset + size) of a file.
class ZstdFileReader : public StreamReader {
public:
    ZstdFileReader(int fd, std::uint64_t offset, std::uint64_t size);
    ~ZstdFileReader() override;

    std::size_t readSome(void* out, std::size_t size) override;
    bool finished() override;

private:
    bool refill();

    ZSTD_DStream* m_stream;
    ZSTD_inBuffer m_input{nullptr, 0, 0};
    std::size_t m_lastResult = 1;
};

} // namespace Refloom::Patch
