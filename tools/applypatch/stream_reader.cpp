#include "tools/applypatch/stream_reader.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tools/applypatch/xz_stream.h"
#include "tools/applypatch/zstd_stream.h"

namespace Refloom::Patch {

StreamReader::StreamReader(int fd, std::uint64_t offset, std::uint64_t size)
    : m_in(std::size_t(std::min<std::uint64_t>(size, 1 << 17)), '\0'), m_fd(fd), m_offset(offset), m_left(size) {}

std::size_t StreamReader::readInput() {
    if (m_left == 0) return 0;
    std::size_t const want = std::size_t(std::min<std::uint64_t>(m_left, m_in.size()));
    ssize_t got;
    do got = pread(m_fd, m_in.data(), want, off_t(m_offset));
    while (got < 0 && errno == EINTR);
    if (got <= 0) return 0;
    m_offset += std::uint64_t(got);
    m_left -= std::uint64_t(got);
    return std::size_t(got);
}

bool StreamReader::read(void* out, std::size_t size) {
    for (std::size_t done = 0; done < size;) {
        std::size_t const got = readSome(static_cast<char*>(out) + done, size - done);
        if (got == 0) return false;
        done += got;
    }
    return true;
}

std::unique_ptr<StreamReader> openStream(int fd, std::uint64_t offset, std::uint64_t size) {
    static constexpr unsigned char kXzMagic[6] = {0xFD, '7', 'z', 'X', 'Z', 0x00};
    unsigned char start[sizeof kXzMagic] = {};
    bool const xz = size >= sizeof start && pread(fd, start, sizeof start, off_t(offset)) == ssize_t(sizeof start) &&
                    std::memcmp(start, kXzMagic, sizeof start) == 0;
    if (xz) return std::make_unique<XzFileReader>(fd, offset, size);
    return std::make_unique<ZstdFileReader>(fd, offset, size);
}

} // namespace Refloom::Patch
