#include "tools/applypatch/delta.h"

#include <divsufsort.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

#include "tools/applypatch/format.h"
#include "tools/applypatch/zstd_stream.h"

namespace Refloom::Patch {
namespace {

using u8 = std::uint8_t;
constexpr std::size_t kHeader = 4 * 8;  // new size, then the compressed size of each stream

std::int64_t matchLength(u8 const* a, std::int64_t aSize, u8 const* b, std::int64_t bSize) {
    std::int64_t i = 0;
    std::int64_t const limit = std::min(aSize, bSize);
    while (i < limit && a[i] == b[i]) ++i;
    return i;
}

// The longest match of `target` among the old file's suffixes, by binary search.
std::int64_t search(std::vector<saidx_t> const& suffixes, u8 const* old, std::int64_t oldSize, u8 const* target,
                    std::int64_t targetSize, std::int64_t start, std::int64_t end, std::int64_t& position) {
    while (end - start >= 2) {
        std::int64_t middle = start + (end - start) / 2;
        std::int64_t at = suffixes[std::size_t(middle)];
        if (std::memcmp(old + at, target, std::size_t(std::min(oldSize - at, targetSize))) < 0)
            start = middle;
        else
            end = middle;
    }
    std::int64_t const a = suffixes[std::size_t(start)], b = suffixes[std::size_t(end)];
    std::int64_t x = matchLength(old + a, oldSize - a, target, targetSize);
    std::int64_t y = matchLength(old + b, oldSize - b, target, targetSize);
    position = x > y ? a : b;
    return std::max(x, y);
}

void putNumber(std::string& out, std::int64_t value) {
    for (int i = 0; i < 8; ++i) out.push_back(char((std::uint64_t(value) >> (8 * i)) & 0xFF));
}

std::int64_t getNumber(u8 const* in) {
    std::uint64_t value = 0;
    for (int i = 0; i < 8; ++i) value |= std::uint64_t(in[i]) << (8 * i);
    return std::int64_t(value);
}

struct Streams {
    std::string control, diff, extra;
};

Streams diffFiles(u8 const* old, std::int64_t oldSize, u8 const* next, std::int64_t newSize) {
    Streams s;
    if (oldSize == 0) {
        putNumber(s.control, 0);
        putNumber(s.control, newSize);
        putNumber(s.control, 0);
        s.extra.assign(reinterpret_cast<char const*>(next), std::size_t(newSize));
        return s;
    }
    std::vector<saidx_t> suffixes(static_cast<std::size_t>(oldSize));
    if (divsufsort(old, suffixes.data(), saidx_t(oldSize)) != 0) throw PatchError(Refusal::failed, "suffix sort failed");
    s.diff.reserve(std::size_t(newSize));

    std::int64_t scan = 0, length = 0, position = 0, lastScan = 0, lastPosition = 0, lastOffset = 0;
    while (scan < newSize) {
        std::int64_t oldScore = 0;
        std::int64_t scoreAt = scan += length;
        for (; scan < newSize; ++scan) {
            length = search(suffixes, old, oldSize, next + scan, newSize - scan, 0, oldSize - 1, position);
            for (; scoreAt < scan + length; ++scoreAt)
                if (scoreAt + lastOffset < oldSize && old[scoreAt + lastOffset] == next[scoreAt]) ++oldScore;
            if ((length == oldScore && length != 0) || length > oldScore + 8) break;
            if (scan + lastOffset < oldSize && old[scan + lastOffset] == next[scan]) --oldScore;
        }
        if (length == oldScore && scan != newSize) continue;

        // Extend the previous match forwards and this one backwards while they mostly agree.
        std::int64_t score = 0, bestForward = 0, forward = 0;
        for (std::int64_t i = 0; lastScan + i < scan && lastPosition + i < oldSize;) {
            if (old[lastPosition + i] == next[lastScan + i]) ++score;
            ++i;
            if (score * 2 - i > bestForward * 2 - forward) {
                bestForward = score;
                forward = i;
            }
        }
        std::int64_t backward = 0;
        if (scan < newSize) {
            std::int64_t bestBackward = 0;
            score = 0;
            for (std::int64_t i = 1; scan >= lastScan + i && position >= i; ++i) {
                if (old[position - i] == next[scan - i]) ++score;
                if (score * 2 - i > bestBackward * 2 - backward) {
                    bestBackward = score;
                    backward = i;
                }
            }
        }
        if (lastScan + forward > scan - backward) {  // the two extensions overlap: split them
            std::int64_t const overlap = (lastScan + forward) - (scan - backward);
            std::int64_t best = 0, split = 0;
            score = 0;
            for (std::int64_t i = 0; i < overlap; ++i) {
                if (next[lastScan + forward - overlap + i] == old[lastPosition + forward - overlap + i]) ++score;
                if (next[scan - backward + i] == old[position - backward + i]) --score;
                if (score > best) {
                    best = score;
                    split = i + 1;
                }
            }
            forward += split - overlap;
            backward -= split;
        }
        for (std::int64_t i = 0; i < forward; ++i) s.diff.push_back(char(next[lastScan + i] - old[lastPosition + i]));
        std::int64_t const fresh = (scan - backward) - (lastScan + forward);
        s.extra.append(reinterpret_cast<char const*>(next + lastScan + forward), std::size_t(fresh));
        putNumber(s.control, forward);
        putNumber(s.control, fresh);
        putNumber(s.control, (position - backward) - (lastPosition + forward));
        lastScan = scan - backward;
        lastPosition = position - backward;
        lastOffset = position - scan;
    }
    return s;
}

} // namespace

std::string makeDelta(std::string_view oldData, std::string_view newData, int level) {
    if (oldData.size() > std::size_t(std::numeric_limits<saidx_t>::max()))
        throw PatchError(Refusal::failed, "file too large for a delta");
    Streams s = diffFiles(reinterpret_cast<u8 const*>(oldData.data()), std::int64_t(oldData.size()),
                          reinterpret_cast<u8 const*>(newData.data()), std::int64_t(newData.size()));
    int const workers = newData.size() > (32u << 20) ? 2 : 0;
    std::string const control = compress(s.control, level, workers);
    std::string const diff = compress(s.diff, level, workers);
    std::string const extra = compress(s.extra, level, workers);
    std::string out;
    putNumber(out, std::int64_t(newData.size()));
    putNumber(out, std::int64_t(control.size()));
    putNumber(out, std::int64_t(diff.size()));
    putNumber(out, std::int64_t(extra.size()));
    return out + control + diff + extra;
}

bool applyDelta(std::string_view oldData, int patchFd, std::uint64_t offset, std::uint64_t size, Sink const& sink) {
    u8 header[kHeader];
    if (size < kHeader || pread(patchFd, header, kHeader, off_t(offset)) != ssize_t(kHeader)) return false;
    std::int64_t const newSize = getNumber(header);
    std::int64_t const sizes[3] = {getNumber(header + 8), getNumber(header + 16), getNumber(header + 24)};
    std::uint64_t at = offset + kHeader, left = size - kHeader;
    for (std::int64_t part : sizes) {
        if (part < 0 || std::uint64_t(part) > left) return false;
        left -= std::uint64_t(part);
    }
    if (left != 0 || newSize < 0) return false;
    ZstdFileReader control(patchFd, at, std::uint64_t(sizes[0]));
    ZstdFileReader diff(patchFd, at + std::uint64_t(sizes[0]), std::uint64_t(sizes[1]));
    ZstdFileReader extra(patchFd, at + std::uint64_t(sizes[0] + sizes[1]), std::uint64_t(sizes[2]));

    auto const* old = reinterpret_cast<u8 const*>(oldData.data());
    std::int64_t const oldSize = std::int64_t(oldData.size());
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
            if (!diff.read(buffer.data(), chunk)) return false;
            for (std::size_t i = 0; i < chunk; ++i) {
                std::int64_t o = oldPosition + done + std::int64_t(i);
                if (o >= 0 && o < oldSize) buffer[i] = u8(buffer[i] + old[o]);
            }
            if (!emit(chunk)) return false;
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
        if (seek > std::numeric_limits<std::int64_t>::max() / 2 || seek < std::numeric_limits<std::int64_t>::min() / 2)
            return false;
        oldPosition += seek;
    }
    return control.finished() && diff.finished() && extra.finished();
}

} // namespace Refloom::Patch
