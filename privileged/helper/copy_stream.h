// A copy's source, read with the requesting user's own rights: a child process that has
// dropped to the user's ids walks the source by descriptor and writes what it finds to a
// pipe, and the helper builds the copy from that stream alone. So root never opens a byte of
// the source, and nothing reaches the copy that the user could not have read.
//
// The stream is a sequence of entries, each a kind byte and its fields (numbers in the
// machine's byte order, both ends being one machine):
//   'F' file    name, mode, times, then chunks (u32 length, bytes) up to an empty one
//   'D' folder  name, mode, times, then its entries, then 'E'
//   'L' link    name, mode, times, target
//   '!' failure message; the copy fails
//   '.' the end of a source read whole
// where a name or a target is a u16 length and its bytes, a mode a u32, and the times four
// i64: access seconds and nanoseconds, modification seconds and nanoseconds.
#pragma once

#include "privileged/helper/user_ids.h"

#include <cstdint>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>

namespace Refloom::Helper {

// Starts the reader of `source` (a clean absolute path) as `user`, writing to a new pipe whose
// reading end is answered in `stream`. It passes over the folder `staging` (the copy's own, which
// may lie inside the source). The child, or -1 when it could not be started.
pid_t startSourceReader(std::string const& source, UserIds const& user, struct stat const& staging,
                        int& stream);

// The stream's reading side: buffered, and false on any read past its end.
class StreamIn {
public:
    explicit StreamIn(int fd) : m_fd(fd) {}
    bool get(void* bytes, size_t size);
    template <typename Number> bool get(Number& value) { return get(&value, sizeof value); }
    // A u16-counted text of at most `limit` bytes with no NUL in it.
    bool text(std::string& value, size_t limit);

private:
    int m_fd;
    char m_buffer[65536];
    size_t m_at = 0, m_size = 0;
};

struct EntryHeader {
    std::string name;
    std::uint32_t mode;
    timespec times[2]; // access, modification
};

// Reads an entry's name, mode and times; false when any is malformed: a name that is empty,
// ".", "..", holds a slash, or times out of range.
bool readHeader(StreamIn& in, EntryHeader& header);

} // namespace Refloom::Helper
