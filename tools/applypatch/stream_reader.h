// A compressed stream stored in a file, read as it decompresses, so that applying never holds a
// whole payload in memory.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace Refloom::Patch {

class StreamReader {
public:
    virtual ~StreamReader() = default;
    StreamReader(StreamReader const&) = delete;
    StreamReader& operator=(StreamReader const&) = delete;
    // Fills up to `size` bytes, at least one; 0 when the data has ended or is corrupt.
    virtual std::size_t readSome(void* out, std::size_t size) = 0;
    // True when every byte has been read and the stream is complete, with nothing after it.
    virtual bool finished() = 0;
    // Fills `size` bytes; false when the data ends first or is corrupt.
    bool read(void* out, std::size_t size);

protected:
    // The compressed bytes at [offset, offset + size) of the file, read a piece at a time.
    StreamReader(int fd, std::uint64_t offset, std::uint64_t size);
    // A reader of another reader, which reads no file of its own.
    StreamReader() : StreamReader(-1, 0, 0) {}
    // Reads the next piece into m_in; its size, 0 at the end or on an error.
    std::size_t readInput();
    std::uint64_t inputLeft() const { return m_left; }

    std::string m_in;

private:
    int m_fd;
    std::uint64_t m_offset;
    std::uint64_t m_left;
};

// The stream stored at [offset, offset + size) of a file: one zstd frame or one xz stream, told
// apart by their magic numbers.
std::unique_ptr<StreamReader> openStream(int fd, std::uint64_t offset, std::uint64_t size);

} // namespace Refloom::Patch
