#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <memory>
#include <vector>

#include "tools/applypatch/ahead_reader.h"
#include "tools/applypatch/delta.h"
#include "tools/applypatch/delta_layout.h"
#include "tools/applypatch/stream_reader.h"

namespace Refloom::Patch {
namespace {

using namespace DeltaLayout;
using u8 = std::uint8_t;

// The old file read through a cache of page-sized blocks, so memory stays the same whatever the
// file's size. Copies jump about the old file: across all of it in a JDK's modules image or a
// browser library rebuilt after a year (4.4 million copies of 12 bytes each in libxul.so, nearly
// all far apart), back and forth within a few hundred KiB in bitcode. A miss reads one block, or
// sixteen where the last read ended, as copies that move forwards through the file do.
class OldBlocks {
public:
    OldBlocks(int fd, std::int64_t size, OldView view) : m_fd(fd), m_size(size), m_copies(int(view)) {}

    // Adds the old file's view [position, position + count) to out; positions before or past it
    // add nothing. False when the file cannot be read as long as it was said to be.
    bool addTo(u8* out, std::int64_t position, std::size_t count) {
        if (m_size == 0) return true;
        std::int64_t const end = m_size * m_copies;
        std::size_t i = 0;
        if (position < 0) i = std::size_t(std::min<std::int64_t>(std::int64_t(count), -position));
        while (i < count && position + std::int64_t(i) < end) {
            std::int64_t const at = position + std::int64_t(i);
            int const shift = int(at / m_size);
            std::int64_t const byte = at % m_size;
            std::int64_t const block = byte / kBlock;
            u8 const* bytes = blockBytes(block);
            if (!bytes) return false;
            std::int64_t const blockEnd = std::min((block + 1) * kBlock, m_size);
            std::size_t const n = std::size_t(std::min<std::int64_t>(std::int64_t(count - i), blockEnd - byte));
            // A block holds the byte after it too, which a shifted byte takes bits from.
            u8 const* from = bytes + (byte - block * kBlock);
            if (shift == 0) {
                for (std::size_t k = 0; k < n; ++k) out[i + k] = u8(out[i + k] + from[k]);
            } else {
                for (std::size_t k = 0; k < n; ++k) {
                    u8 const next = byte + std::int64_t(k) + 1 < m_size ? from[k + 1] : 0;
                    out[i + k] = u8(out[i + k] + shiftedByte(from[k], next, shift));
                }
            }
            i += n;
        }
        return true;
    }

private:
    static constexpr std::int64_t kBlock = 1 << 12;
    static constexpr std::size_t kSlots = 512;  // 2 MiB, each block in the slot its number picks
    static constexpr std::int64_t kRun = 16;
    static constexpr std::size_t kStride = std::size_t(kBlock) + 1;

    u8* slot(std::int64_t block) { return m_bytes.get() + std::size_t(block) % m_slots * kStride; }

    u8 const* blockBytes(std::int64_t block) {
        if (!m_bytes) {
            // No more slots than the file has blocks: most old files are small, and a cache of
            // their size comes from the heap, where taking and giving back 2 MiB for each of a
            // thousand small deltas cost more than applying them.
            m_slots = std::size_t(std::min<std::int64_t>(std::int64_t(kSlots), m_size / kBlock + 1));
            m_bytes.reset(new u8[m_slots * kStride]);
            m_held.assign(m_slots, -1);
        }
        if (m_held[std::size_t(block) % m_slots] == block) return slot(block);
        bool const forwards = block == m_nextRead;
        std::int64_t const blocks = std::min(forwards ? kRun : 1, (m_size - block * kBlock + kBlock - 1) / kBlock);
        std::int64_t const start = block * kBlock;
        std::size_t const want = std::size_t(std::min(blocks * kBlock + 1, m_size - start));
        if (m_run.size() < want) m_run.resize(std::size_t(kRun * kBlock + 1));
        for (std::size_t got = 0; got < want;) {
            ssize_t const n = pread(m_fd, m_run.data() + got, want - got, off_t(start + std::int64_t(got)));
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) return nullptr;
            got += std::size_t(n);
        }
        for (std::int64_t k = 0; k < blocks; ++k) {
            std::size_t const from = std::size_t(k * kBlock);
            std::copy_n(m_run.data() + from, std::min(kStride, want - from), slot(block + k));
            m_held[std::size_t(block + k) % m_slots] = block + k;
        }
        m_nextRead = block + blocks;
        return slot(block);
    }

    int m_fd;
    std::int64_t m_size;
    int m_copies;
    std::unique_ptr<u8[]> m_bytes;     // allocated at the first read
    std::size_t m_slots = 0;
    std::vector<std::int64_t> m_held;  // which block each slot holds, -1 for none
    std::vector<u8> m_run;
    std::int64_t m_nextRead = 0;       // the block after the last ones read: a miss there reads on
};

// The stream at [at, at + size), decoded on a thread of its own when `ahead` and the stream is
// large: libxul.so's 39 MB of new bytes took 3 of its 5 s on the thread that applies, its controls
// another 0.4 s. Below 256 KiB a thread costs more than it saves.
std::unique_ptr<StreamReader> openReader(int fd, std::uint64_t at, std::uint64_t size, bool ahead) {
    std::unique_ptr<StreamReader> stream = openStream(fd, at, size);
    if (!ahead || size < (256u << 10)) return stream;
    return std::make_unique<AheadReader>(std::move(stream));
}

// A stream read through a buffer, for the packed layout's many small reads: each varint, each
// run of a few non-zero bytes.
class BufferedStream {
public:
    BufferedStream(int fd, std::uint64_t at, std::uint64_t size, bool ahead) : m_stream(openReader(fd, at, size, ahead)) {}

    bool read(u8* out, std::size_t count) {
        while (count > 0) {
            if (m_at == m_size && !refill()) return false;
            std::size_t const n = std::min(count, m_size - m_at);
            std::copy_n(m_bytes + m_at, n, out);
            m_at += n;
            out += n;
            count -= n;
        }
        return true;
    }

    bool varint(std::uint64_t& value) {
        value = 0;
        for (int shift = 0; shift < 64; shift += 7) {
            if (m_at == m_size && !refill()) return false;
            u8 const byte = m_bytes[m_at++];
            value |= std::uint64_t(byte & 0x7F) << shift;
            if ((byte & 0x80) == 0) return shift < 63 || byte <= 1;
        }
        return false;
    }

    // Read to its end, with nothing left over.
    bool finished() { return m_at == m_size && m_stream->finished(); }

private:
    bool refill() {
        m_size = m_stream->readSome(m_bytes, sizeof m_bytes);
        m_at = 0;
        return m_size > 0;
    }

    std::unique_ptr<StreamReader> m_stream;
    u8 m_bytes[1 << 14];
    std::size_t m_at = 0, m_size = 0;
};

// A delta payload's streams, read in order, in either layout.
class DeltaStreams {
public:
    DeltaStreams(Layout layout, int fd, std::uint64_t at, std::int64_t const* sizes, bool ahead) : m_layout(layout) {
        std::uint64_t starts[4];
        for (std::size_t k = 0; k < streamCount(layout); ++k) {
            starts[k] = at;
            at += std::uint64_t(sizes[k]);
        }
        std::size_t const last = streamCount(layout) - 1;
        m_extra = openReader(fd, starts[last], std::uint64_t(sizes[last]), ahead);
        if (layout == Layout::fixed) {
            m_fixedControls = openStream(fd, starts[0], std::uint64_t(sizes[0]));
            m_fixedDifferences = openStream(fd, starts[1], std::uint64_t(sizes[1]));
        } else {
            // Every stream ahead: in a library's delta the runs and the non-zero differences are
            // the large ones (libmergedlo.so: 6.0 and 5.5 MB, 80 ms each to decode), in a
            // browser's its new bytes (3 s for libxul.so).
            m_controls = std::make_unique<BufferedStream>(fd, starts[0], std::uint64_t(sizes[0]), ahead);
            m_runs = std::make_unique<BufferedStream>(fd, starts[1], std::uint64_t(sizes[1]), ahead);
            m_nonZero = std::make_unique<BufferedStream>(fd, starts[2], std::uint64_t(sizes[2]), ahead);
        }
    }

    // The next control: bytes from the old file, bytes from the extra stream, the move after.
    bool control(std::int64_t& copy, std::int64_t& fresh, std::int64_t& seek) {
        if (m_layout == Layout::fixed) {
            u8 triple[24];
            if (!m_fixedControls->read(triple, sizeof triple)) return false;
            copy = getNumber(triple), fresh = getNumber(triple + 8), seek = getNumber(triple + 16);
            return true;
        }
        std::uint64_t values[3];
        for (std::uint64_t& value : values)
            if (!m_controls->varint(value)) return false;
        if (values[0] > kLargest || values[1] > kLargest) return false;
        copy = std::int64_t(values[0]), fresh = std::int64_t(values[1]), seek = unzigzag(values[2]);
        return true;
    }

    // The next `count` differences: the bytes to add to the old file's.
    bool differences(u8* out, std::size_t count) {
        if (m_layout == Layout::fixed) return m_fixedDifferences->read(out, count);
        while (count > 0) {
            if (m_zerosLeft == 0 && m_nonZeroLeft == 0) {
                if (!m_runs->varint(m_zerosLeft) || !m_runs->varint(m_nonZeroLeft)) return false;
                if (m_zerosLeft == 0 && m_nonZeroLeft == 0) return false;  // a run of nothing would never end
            }
            std::size_t const zeros = std::size_t(std::min<std::uint64_t>(m_zerosLeft, count));
            std::fill_n(out, zeros, u8(0));
            std::size_t const nonZero = std::size_t(std::min<std::uint64_t>(m_nonZeroLeft, count - zeros));
            if (nonZero > 0 && !m_nonZero->read(out + zeros, nonZero)) return false;
            m_zerosLeft -= zeros;
            m_nonZeroLeft -= nonZero;
            out += zeros + nonZero;
            count -= zeros + nonZero;
        }
        return true;
    }

    bool extra(u8* out, std::size_t count) { return m_extra->read(out, count); }

    // Every stream read to its end, and no run left over.
    bool finished() {
        if (m_layout == Layout::fixed) return m_fixedControls->finished() && m_fixedDifferences->finished() && m_extra->finished();
        return m_zerosLeft == 0 && m_nonZeroLeft == 0 && m_controls->finished() && m_runs->finished() &&
               m_nonZero->finished() && m_extra->finished();
    }

private:
    static constexpr std::uint64_t kLargest = std::uint64_t(std::numeric_limits<std::int64_t>::max());

    Layout m_layout;
    std::unique_ptr<StreamReader> m_fixedControls, m_fixedDifferences, m_extra;
    std::unique_ptr<BufferedStream> m_controls, m_runs, m_nonZero;
    std::uint64_t m_zerosLeft = 0, m_nonZeroLeft = 0;
};

} // namespace

bool applyDelta(int oldFd, std::uint64_t oldSize, OldView view, Layout layout, int patchFd, std::uint64_t offset,
                std::uint64_t size, Sink const& sink, bool ahead) {
    std::size_t const header = headerSize(layout);
    u8 numbers[8 * 5];
    if (size < header || pread(patchFd, numbers, header, off_t(offset)) != ssize_t(header)) return false;
    std::int64_t const newSize = getNumber(numbers);
    std::int64_t sizes[4];
    std::uint64_t left = size - header;
    for (std::size_t k = 0; k < streamCount(layout); ++k) {
        sizes[k] = getNumber(numbers + 8 * (k + 1));
        if (sizes[k] < 0 || std::uint64_t(sizes[k]) > left) return false;
        left -= std::uint64_t(sizes[k]);
    }
    if (left != 0 || newSize < 0 || oldSize > std::uint64_t(std::numeric_limits<std::int64_t>::max() / 8)) return false;
    DeltaStreams streams(layout, patchFd, offset + header, sizes, ahead);

    OldBlocks old(oldFd, std::int64_t(oldSize), view);
    std::vector<u8> buffer(1 << 16);
    auto emit = [&](std::size_t count) { return sink(buffer.data(), count); };
    std::int64_t newPosition = 0, oldPosition = 0;
    while (newPosition < newSize) {
        std::int64_t copy, fresh, seek;
        if (!streams.control(copy, fresh, seek)) return false;
        if (copy < 0 || fresh < 0 || copy > newSize - newPosition || fresh > newSize - newPosition - copy) return false;
        for (std::int64_t done = 0; done < copy;) {
            std::size_t chunk = std::size_t(std::min<std::int64_t>(copy - done, std::int64_t(buffer.size())));
            if (!streams.differences(buffer.data(), chunk) || !old.addTo(buffer.data(), oldPosition + done, chunk) || !emit(chunk))
                return false;
            done += std::int64_t(chunk);
        }
        newPosition += copy;
        oldPosition += copy;
        for (std::int64_t done = 0; done < fresh;) {
            std::size_t chunk = std::size_t(std::min<std::int64_t>(fresh - done, std::int64_t(buffer.size())));
            if (!streams.extra(buffer.data(), chunk) || !emit(chunk)) return false;
            done += std::int64_t(chunk);
        }
        newPosition += fresh;
        if (seek > std::numeric_limits<std::int64_t>::max() / 2 || seek < std::numeric_limits<std::int64_t>::min() / 2 ||
            oldPosition > std::numeric_limits<std::int64_t>::max() / 2 || oldPosition < std::numeric_limits<std::int64_t>::min() / 2)
            return false;
        oldPosition += seek;
    }
    return streams.finished();
}

} // namespace Refloom::Patch
