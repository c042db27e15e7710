#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <vector>

#include "tools/applypatch/delta.h"
#include "tools/applypatch/delta_layout.h"
#include "tools/applypatch/zstd_stream.h"

namespace Refloom::Patch {
namespace {

using namespace DeltaLayout;
using u8 = std::uint8_t;

// The old file read through a window of fixed size, so memory stays the same whatever the file's
// size. The window is small on purpose: in files such as a JDK's modules image the copies jump
// about, and a miss that reads 1 MiB made applying three times slower than one of 64 KiB.
class OldWindow {
public:
    OldWindow(int fd, std::int64_t size, OldView view) : m_fd(fd), m_size(size), m_copies(int(view)), m_bytes(kWindow) {}

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
            // A shifted byte takes bits from the byte after it too.
            bool const needsNext = shift > 0 && byte + 1 < m_size;
            if ((byte < m_start || byte + needsNext >= m_start + m_length) && !fill(byte)) return false;
            std::int64_t const usable = m_start + m_length - (shift > 0 && m_start + m_length < m_size ? 1 : 0) - byte;
            std::size_t const n = std::size_t(std::min<std::int64_t>(std::int64_t(count - i), usable));
            u8 const* from = m_bytes.data() + (byte - m_start);
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
    static constexpr std::size_t kWindow = 1 << 16;

    bool fill(std::int64_t at) {
        std::size_t const want = std::size_t(std::min<std::int64_t>(std::int64_t(kWindow), m_size - at));
        std::size_t got = 0;
        while (got < want) {
            ssize_t const n = pread(m_fd, m_bytes.data() + got, want - got, off_t(at + std::int64_t(got)));
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) return false;
            got += std::size_t(n);
        }
        m_start = at;
        m_length = std::int64_t(got);
        return true;
    }

    int m_fd;
    std::int64_t m_size;
    int m_copies;
    std::vector<u8> m_bytes;
    std::int64_t m_start = 0;
    std::int64_t m_length = 0;
};

} // namespace

bool applyDelta(int oldFd, std::uint64_t oldSize, OldView view, int patchFd, std::uint64_t offset, std::uint64_t size,
                Sink const& sink) {
    u8 header[kHeader];
    if (size < kHeader || pread(patchFd, header, kHeader, off_t(offset)) != ssize_t(kHeader)) return false;
    std::int64_t const newSize = getNumber(header);
    std::int64_t const sizes[3] = {getNumber(header + 8), getNumber(header + 16), getNumber(header + 24)};
    std::uint64_t at = offset + kHeader, left = size - kHeader;
    for (std::int64_t part : sizes) {
        if (part < 0 || std::uint64_t(part) > left) return false;
        left -= std::uint64_t(part);
    }
    if (left != 0 || newSize < 0 || oldSize > std::uint64_t(std::numeric_limits<std::int64_t>::max() / 8)) return false;
    ZstdFileReader control(patchFd, at, std::uint64_t(sizes[0]));
    ZstdFileReader diff(patchFd, at + std::uint64_t(sizes[0]), std::uint64_t(sizes[1]));
    ZstdFileReader extra(patchFd, at + std::uint64_t(sizes[0] + sizes[1]), std::uint64_t(sizes[2]));

    OldWindow old(oldFd, std::int64_t(oldSize), view);
    std::vector<u8> buffer(1 << 16);
    auto emit = [&](std::size_t count) { return sink(buffer.data(), count); };
    std::int64_t newPosition = 0, oldPosition = 0;
    while (newPosition < newSize) {
        u8 triple[24];
        if (!control.read(triple, sizeof triple)) return false;
        std::int64_t const copy = getNumber(triple), fresh = getNumber(triple + 8), seek = getNumber(triple + 16);
        if (copy < 0 || fresh < 0 || copy > newSize - newPosition || fresh > newSize - newPosition - copy) return false;
        for (std::int64_t done = 0; done < copy;) {
            std::size_t chunk = std::size_t(std::min<std::int64_t>(copy - done, std::int64_t(buffer.size())));
            if (!diff.read(buffer.data(), chunk) || !old.addTo(buffer.data(), oldPosition + done, chunk) || !emit(chunk))
                return false;
            done += std::int64_t(chunk);
        }
        newPosition += copy;
        oldPosition += copy;
        for (std::int64_t done = 0; done < fresh;) {
            std::size_t chunk = std::size_t(std::min<std::int64_t>(fresh - done, std::int64_t(buffer.size())));
            if (!extra.read(buffer.data(), chunk) || !emit(chunk)) return false;
            done += std::int64_t(chunk);
        }
        newPosition += fresh;
        if (seek > std::numeric_limits<std::int64_t>::max() / 2 || seek < std::numeric_limits<std::int64_t>::min() / 2 ||
            oldPosition > std::numeric_limits<std::int64_t>::max() / 2 || oldPosition < std::numeric_limits<std::int64_t>::min() / 2)
            return false;
        oldPosition += seek;
    }
    return control.finished() && diff.finished() && extra.finished();
}

} // namespace Refloom::Patch
