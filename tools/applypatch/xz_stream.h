// xz (LZMA2) compression of whole buffers, and streaming decompression of an xz stream stored in
// a file. The packed delta streams use it where it comes out smaller than zstd.
#pragma once

#include <lzma.h>

#include <string>
#include <string_view>

#include "tools/applypatch/stream_reader.h"

namespace Refloom::Patch {

// xz at preset 6, extreme, with a dictionary no larger than the data needs (4 MiB at most, so
// that a reader needs little memory), without a check of its own (the payload's hash covers it);
// on `workers` threads when more than one.
std::string compressXz(std::string_view data, int workers = 0);

class XzFileReader : public StreamReader {
public:
    XzFileReader(int fd, std::uint64_t offset, std::uint64_t size);
    ~XzFileReader() override;

    std::size_t readSome(void* out, std::size_t size) override;
    bool finished() override;

private:
    bool refill();

    lzma_stream m_stream = LZMA_STREAM_INIT;
    bool m_ok = false;
    bool m_ended = false;
};

} // namespace Refloom::Patch
