#include "tools/applypatch/delta.h"

#include <divsufsort.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <future>
#include <limits>
#include <memory>
#include <vector>

#include "tools/applypatch/cores.h"
#include "tools/applypatch/delta_layout.h"
#include "tools/applypatch/format.h"
#include "tools/applypatch/xz_stream.h"
#include "tools/applypatch/zstd_stream.h"

namespace Refloom::Patch {
namespace {

using namespace DeltaLayout;

using u8 = std::uint8_t;

// The shortest match worth jumping to elsewhere in the old file. A shorter one saves fewer bytes
// than its control and the scattered reads of the old file cost: across a year of a browser's
// library, allowing 9-byte jumps made 4.4 million copies of 12 bytes each, a patch of 56.0 MB that
// took 13 s to apply; from 16 bytes on, 47.8 MB and 5.2 s. Bitcode is the exception: its shifted
// fields match in short pieces, and its files are small, so any jump the score allows is taken.
constexpr std::int64_t kShortestJump = 16;

std::int64_t matchLength(u8 const* a, std::int64_t aSize, u8 const* b, std::int64_t bSize) {
    std::int64_t const limit = std::min(aSize, bSize);
    std::int64_t i = 0;
    // Eight bytes at a time while they agree: matches run long in a new version of a file.
    for (std::uint64_t x, y; i + 8 <= limit; i += 8) {
        std::memcpy(&x, a + i, 8);
        std::memcpy(&y, b + i, 8);
        if (x != y) break;
    }
    while (i < limit && a[i] == b[i]) ++i;
    return i;
}

// The old file's suffixes in order, and where those that begin with each two bytes start among
// them: a search then starts among the few that share the target's first two bytes, and skips
// the steps that would read far apart in memory to find them (libjvm.so's make spent 58% of its
// time searching).
struct SuffixIndex {
    SuffixIndex(u8 const* old, std::int64_t size) : suffixes(new saidx_t[std::size_t(std::max<std::int64_t>(size, 1))]) {
        // Counted while the sort runs, which takes one core.
        auto counted = std::async(std::launch::async, [&] { countPrefixes(old, size); });
        // Not zeroed first: the sort writes every entry, and zeroing half a gigabyte for a large
        // library cost half a second.
        bool const sorted = size == 0 || divsufsort(old, suffixes.get(), saidx_t(size)) == 0;
        counted.get();
        if (!sorted) throw PatchError(Refusal::failed, "suffix sort failed");
    }

    // The suffixes [first, last) that begin with `a` then `b`; the one-byte suffix at the end
    // sorts before every longer one that begins with its byte.
    void range(u8 a, u8 b, std::int64_t& first, std::int64_t& last) const {
        std::size_t const prefix = std::size_t(a) << 8 | b;
        std::int64_t const shortOne = lastByte >= 0 && lastByte <= a ? 1 : 0;
        first = before[prefix] + shortOne;
        last = before[prefix + 1] + shortOne;
    }

    std::unique_ptr<saidx_t[]> suffixes;
    std::vector<std::int64_t> before;  // how many suffixes of two bytes or more sort before each prefix
    int lastByte = -1;

private:
    void countPrefixes(u8 const* old, std::int64_t size) {
        before.assign(65537, 0);
        for (std::int64_t i = 0; i + 1 < size; ++i) ++before[(std::size_t(old[i]) << 8 | old[i + 1]) + 1];
        for (std::size_t p = 1; p < before.size(); ++p) before[p] += before[p - 1];
        if (size > 0) lastByte = old[size - 1];
    }
};

// The longest match of `target` among the old file's suffixes, by binary search among those
// that share its first two bytes when there are any. Each step compares only past the prefix
// both bounds already share with the target.
std::int64_t search(SuffixIndex const& sorted, u8 const* old, std::int64_t oldSize, u8 const* target,
                    std::int64_t targetSize, std::int64_t& position) {
    saidx_t const* suffixes = sorted.suffixes.get();
    std::int64_t low = 0, high = oldSize - 1;
    if (targetSize >= 2) {
        std::int64_t first, last;
        sorted.range(target[0], target[1], first, last);
        if (first < last) low = first, high = last - 1;
    }
    auto common = [&](std::int64_t index, std::int64_t known) {
        std::int64_t const at = suffixes[std::size_t(index)];
        return known + matchLength(old + at + known, oldSize - at - known, target + known, targetSize - known);
    };
    std::int64_t lowLength = common(low, 0), highLength = common(high, 0);
    while (high - low >= 2) {
        std::int64_t const middle = low + (high - low) / 2;
        std::int64_t const at = suffixes[std::size_t(middle)];
        std::int64_t const length = common(middle, std::min(lowLength, highLength));
        // The suffix sorts before the target when it differs lower or ends first.
        bool const before = length < std::min(oldSize - at, targetSize) ? old[at + length] < target[length]
                                                                        : false;
        if (before) {
            low = middle;
            lowLength = length;
        } else {
            high = middle;
            highLength = length;
        }
    }
    position = lowLength > highLength ? suffixes[std::size_t(low)] : suffixes[std::size_t(high)];
    return std::max(lowLength, highLength);
}

struct Control {
    std::int64_t copy, fresh, seek;
};

struct Streams {
    std::vector<Control> controls;
    std::string diff, extra;
    std::int64_t oldEnd = 0;  // where the old file's position ends up after the last control
};

// The streams for new bytes [begin, end), starting at the old file's position 0.
Streams diffRange(u8 const* old, std::int64_t oldSize, SuffixIndex const& suffixes, u8 const* next,
                  std::int64_t begin, std::int64_t end, std::int64_t shortestJump) {
    Streams s;
    s.diff.reserve(std::size_t(end - begin));
    auto emit = [&s](std::int64_t copy, std::int64_t fresh, std::int64_t seek) {
        s.controls.push_back({copy, fresh, seek});
        s.oldEnd += copy + seek;
    };
    if (oldSize == 0) {
        s.extra.assign(reinterpret_cast<char const*>(next + begin), std::size_t(end - begin));
        emit(0, end - begin, 0);
        return s;
    }
    std::int64_t scan = begin, length = 0, position = 0, lastScan = begin, lastPosition = 0, lastOffset = -begin;
    while (scan < end) {
        std::int64_t oldScore = 0;
        std::int64_t scoreAt = scan += length;
        for (; scan < end; ++scan) {
            length = search(suffixes, old, oldSize, next + scan, end - scan, position);
            for (; scoreAt < scan + length; ++scoreAt)
                if (scoreAt + lastOffset < oldSize && scoreAt + lastOffset >= 0 && old[scoreAt + lastOffset] == next[scoreAt])
                    ++oldScore;
            if ((length == oldScore && length != 0) || (length > oldScore + 8 && length >= shortestJump)) break;
            if (scan + lastOffset < oldSize && scan + lastOffset >= 0 && old[scan + lastOffset] == next[scan]) --oldScore;
        }
        if (length == oldScore && scan != end) continue;

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
        if (scan < end) {
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
        emit(forward, fresh, (position - backward) - (lastPosition + forward));
        lastScan = scan - backward;
        lastPosition = position - backward;
        lastOffset = position - scan;
    }
    return s;
}

// The new file is searched in pieces of at least 1 MiB, each from the old file's position 0, four
// per core so that the cores finish together; the pieces join by moving the old position back to
// 0 where the next one begins.
Streams diffFiles(u8 const* old, std::int64_t oldSize, u8 const* next, std::int64_t newSize, int cores,
                  std::int64_t shortestJump) {
    SuffixIndex const suffixes(old, oldSize);
    std::size_t const pieces = std::size_t(std::max<std::int64_t>(1, std::min<std::int64_t>(4 * cores, newSize >> 20)));
    std::vector<Streams> parts(pieces);
    forEachOnThreads(pieces, cores, [&](std::size_t k) {
        parts[k] = diffRange(old, oldSize, suffixes, next, newSize * std::int64_t(k) / std::int64_t(pieces),
                             newSize * std::int64_t(k + 1) / std::int64_t(pieces), shortestJump);
    });
    Streams joined = std::move(parts[0]);
    for (std::size_t k = 1; k < pieces; ++k) {
        joined.controls.back().seek -= joined.oldEnd;
        joined.controls.insert(joined.controls.end(), parts[k].controls.begin(), parts[k].controls.end());
        joined.diff += parts[k].diff;
        joined.extra += parts[k].extra;
        joined.oldEnd = parts[k].oldEnd;
    }
    return joined;
}

// A packed stream, with xz or zstd. xz's LZMA2 came out 3 to 30% smaller on every large stream of
// real libraries (most on new machine code), which a patch of new code needs to stay small; zstd's
// frame is some 50 bytes lighter, and decodes faster. Past 64 KiB a stream is not compressed twice.
std::string compressPacked(std::string const& stream, int level, int workers) {
    // Data that a quick zstd pass over its start cannot shrink (already compressed, encrypted)
    // gains nothing from xz but minutes: zstd stores its blocks raw at a few bytes each.
    if (stream.size() >= (1u << 20) && startBarelyShrinks(stream, 1)) return compress(stream, 1, workers);
    std::string xz = compressXz(stream, workers);
    if (stream.size() >= (64u << 10)) return xz;
    std::string zstd = compress(stream, level);
    // xz decodes several times slower, and its decoder costs more to start: a small stream stays
    // zstd unless zstd's is over 15% larger. On the postgresql-15 tree (4,300 small streams) that
    // made the patch 0.6% larger (4.197 MB against 4.171 MB) and its apply 6% faster.
    return zstd.size() * 100 > xz.size() * 115 ? xz : zstd;
}

// The controls as varints, in the packed layout.
std::string packControls(std::vector<Control> const& controls) {
    std::string out;
    for (Control const& c : controls) {
        putVarint(out, std::uint64_t(c.copy));
        putVarint(out, std::uint64_t(c.fresh));
        putVarint(out, zigzag(c.seek));
    }
    return out;
}

// The differences as runs (zeros, then non-zero bytes) and the non-zero bytes.
std::pair<std::string, std::string> packDifferences(std::string const& diff) {
    std::string runs, bytes;
    for (std::size_t i = 0; i < diff.size();) {
        std::size_t zeros = i;
        while (zeros < diff.size() && diff[zeros] == 0) ++zeros;
        std::size_t end = zeros;
        while (end < diff.size() && diff[end] != 0) ++end;
        putVarint(runs, zeros - i);
        putVarint(runs, end - zeros);
        bytes.append(diff, zeros, end - zeros);
        i = end;
    }
    return {std::move(runs), std::move(bytes)};
}

// The old file as `copies` copies, the kth read from its bit k on.
std::string viewed(std::string_view old, std::size_t copies) {
    std::string out(old.size() * copies, '\0');
    for (std::size_t shift = 0; shift < copies; ++shift)
        for (std::size_t i = 0; i < old.size(); ++i)
            out[shift * old.size() + i] = char(shiftedByte(u8(old[i]), i + 1 < old.size() ? u8(old[i + 1]) : 0, int(shift)));
    return out;
}

} // namespace

std::string makeDelta(std::string_view oldData, std::string_view newData, int level, int parts, OldView view) {
    std::size_t const copies = std::size_t(view);
    if (oldData.size() > std::size_t(std::numeric_limits<saidx_t>::max()) / copies)
        throw PatchError(Refusal::failed, "file too large for a delta");
    std::string const seen = copies == 1 ? std::string() : viewed(oldData, copies);
    if (copies > 1) oldData = seen;
    int const cores = parts > 0 ? parts : machineCores();
    Streams s = diffFiles(reinterpret_cast<u8 const*>(oldData.data()), std::int64_t(oldData.size()),
                          reinterpret_cast<u8 const*>(newData.data()), std::int64_t(newData.size()), cores,
                          view == OldView::bits ? 0 : kShortestJump);
    // Named references, not a structured binding: clang 14 cannot capture one in a lambda.
    auto const packed = packDifferences(s.diff);
    std::string const& runs = packed.first;
    std::string const& differences = packed.second;
    s.diff = std::string();
    // The runs and the non-zero differences are the large streams, as long as the new file can be:
    // each is compressed on every core.
    auto parallel = [cores](std::string const& stream) { return cores > 1 && stream.size() >= (4u << 20) ? cores : 0; };
    auto compressedRuns = std::async(std::launch::async, [&] { return compressPacked(runs, level, parallel(runs)); });
    std::string const packedDifferences = compressPacked(differences, level, parallel(differences));
    std::string const control = compressPacked(packControls(s.controls), level, 0);
    std::string const extra = compressPacked(s.extra, level, parallel(s.extra));
    std::string const packedRuns = compressedRuns.get();
    std::string out;
    putNumber(out, std::int64_t(newData.size()));
    for (std::string const* stream : {&control, &packedRuns, &packedDifferences, &extra}) putNumber(out, std::int64_t(stream->size()));
    return out + control + packedRuns + packedDifferences + extra;
}

} // namespace Refloom::Patch
