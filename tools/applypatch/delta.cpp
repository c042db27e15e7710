#include "tools/applypatch/delta.h"

#include <divsufsort.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <future>
#include <limits>
#include <thread>
#include <vector>

#include "tools/applypatch/delta_layout.h"
#include "tools/applypatch/format.h"
#include "tools/applypatch/zstd_stream.h"

namespace Refloom::Patch {
namespace {

using namespace DeltaLayout;

using u8 = std::uint8_t;

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

// The longest match of `target` among the old file's suffixes, by binary search. Each step
// compares only past the prefix both bounds already share with the target.
std::int64_t search(std::vector<saidx_t> const& suffixes, u8 const* old, std::int64_t oldSize, u8 const* target,
                    std::int64_t targetSize, std::int64_t& position) {
    std::int64_t low = 0, high = oldSize - 1;
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

struct Streams {
    std::string control, diff, extra;
    std::int64_t oldEnd = 0;  // where the old file's position ends up after the last control
};

// The streams for new bytes [begin, end), starting at the old file's position 0.
Streams diffRange(u8 const* old, std::int64_t oldSize, std::vector<saidx_t> const& suffixes, u8 const* next,
                  std::int64_t begin, std::int64_t end) {
    Streams s;
    s.diff.reserve(std::size_t(end - begin));
    auto emit = [&s](std::int64_t copy, std::int64_t fresh, std::int64_t seek) {
        putNumber(s.control, copy);
        putNumber(s.control, fresh);
        putNumber(s.control, seek);
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
            if ((length == oldScore && length != 0) || length > oldScore + 8) break;
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

// The new file is searched in pieces of at least 1 MiB, one per core, each from the old file's
// position 0; the pieces join by moving the old position back to 0 where the next one begins.
Streams diffFiles(u8 const* old, std::int64_t oldSize, u8 const* next, std::int64_t newSize, int parts) {
    std::vector<saidx_t> suffixes(static_cast<std::size_t>(oldSize));
    if (oldSize > 0 && divsufsort(old, suffixes.data(), saidx_t(oldSize)) != 0)
        throw PatchError(Refusal::failed, "suffix sort failed");
    std::int64_t const pieces = std::max<std::int64_t>(1, std::min<std::int64_t>(parts, newSize >> 20));
    std::vector<std::future<Streams>> later;
    for (std::int64_t k = 1; k < pieces; ++k)
        later.push_back(std::async(std::launch::async, diffRange, old, oldSize, std::cref(suffixes), next,
                                   newSize * k / pieces, newSize * (k + 1) / pieces));
    Streams joined = diffRange(old, oldSize, suffixes, next, 0, newSize / pieces);
    for (std::future<Streams>& piece : later) {
        Streams part = piece.get();
        std::size_t const lastSeek = joined.control.size() - 8;
        std::int64_t const seek = getNumber(reinterpret_cast<u8 const*>(joined.control.data() + lastSeek)) - joined.oldEnd;
        joined.control.resize(lastSeek);
        putNumber(joined.control, seek);
        joined.control += part.control;
        joined.diff += part.diff;
        joined.extra += part.extra;
        joined.oldEnd = part.oldEnd;
    }
    return joined;
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
    int const cores = parts > 0 ? parts : int(std::max(1u, std::thread::hardware_concurrency()));
    Streams s = diffFiles(reinterpret_cast<u8 const*>(oldData.data()), std::int64_t(oldData.size()),
                          reinterpret_cast<u8 const*>(newData.data()), std::int64_t(newData.size()), cores);
    // The difference stream is the large one, as long as the new file: zstd compresses it on
    // every core (at the same size; on a 69 MB library, 10 s on two cores where one took 30 s).
    int const workers = cores > 1 && s.diff.size() >= (4u << 20) ? cores : 0;
    auto diff = std::async(std::launch::async, [&] { return compress(s.diff, level, workers); });
    std::string const control = compress(s.control, level);
    std::string const extra = compress(s.extra, level);
    std::string const differences = diff.get();
    std::string out;
    putNumber(out, std::int64_t(newData.size()));
    putNumber(out, std::int64_t(control.size()));
    putNumber(out, std::int64_t(differences.size()));
    putNumber(out, std::int64_t(extra.size()));
    return out + control + differences + extra;
}

} // namespace Refloom::Patch
