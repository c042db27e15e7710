#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <random>
#include <vector>

#include "tests/fixtures/scratch.h"
#include "tools/applypatch/ahead_reader.h"
#include "tools/applypatch/delta.h"
#include "tools/applypatch/xz_stream.h"
#include "tools/applypatch/zstd_stream.h"

using namespace Refloom::Patch;

namespace {

// Deterministic bytes that compress poorly, as machine code does.
std::string noise(std::size_t size, unsigned seed) {
    std::mt19937 random(seed);
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = char(random() & 0xff);
    return bytes;
}

std::FILE* fileHolding(std::string const& bytes) {
    std::FILE* file = std::tmpfile();
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::fflush(file);
    return file;
}

// `bits` with `count` bits inserted at bit `at` (least significant bit first, as bitcode packs).
std::string insertBits(std::string const& bytes, std::size_t at, std::size_t count, unsigned seed) {
    std::vector<bool> bits;
    for (unsigned char byte : bytes)
        for (int k = 0; k < 8; ++k) bits.push_back((byte >> k) & 1);
    std::mt19937 random(seed);
    for (std::size_t i = 0; i < count; ++i) bits.insert(bits.begin() + std::ptrdiff_t(at), random() & 1);
    std::string out((bits.size() + 7) / 8, '\0');
    for (std::size_t i = 0; i < bits.size(); ++i) out[i / 8] = char(out[i / 8] | (bits[i] << (i % 8)));
    return out;
}

// `oldSize`: what the applier was told the old file holds.
// `ahead`: large streams decoded on threads of their own.
std::string applied(std::string const& old, std::string const& delta, std::size_t oldSize,
                    OldView view = OldView::bytes, bool ahead = false) {
    std::FILE* oldFile = fileHolding(old);
    std::FILE* deltaFile = fileHolding(delta);
    std::string out;
    auto const sink = [&out](void const* data, std::size_t size) {
        out.append(static_cast<char const*>(data), size);
        return true;
    };
    bool const ok = applyDelta(fileno(oldFile), oldSize, view, Layout::packed, fileno(deltaFile), 0, delta.size(), sink, ahead);
    std::fclose(oldFile);
    std::fclose(deltaFile);
    return ok ? out : std::string("(failed)");
}

} // namespace

TEST(Delta, EveryNumberOfPiecesGivesBackTheNewFile) {
    std::string const old = noise(5 << 20, 1);
    // Changed bytes, an insertion, a block moved from the end to the front, a new tail.
    std::string next = old.substr(4 << 20, 300000) + old.substr(0, 4 << 20);
    for (std::size_t at = 1000; at < next.size(); at += 777777) next[at] = char(next[at] ^ 0x5a);
    next.insert(2 << 20, noise(50000, 2));
    // New bytes enough to be decoded ahead on another thread: read so for more than one piece.
    std::size_t const fresh = 50000 + 300000;
    next += noise(300000, 3);
    for (int parts : {1, 2, 3, 5}) {
        std::string const delta = makeDelta(old, next, 3, parts);
        EXPECT_EQ(applied(old, delta, old.size(), OldView::bytes, parts > 1), next) << parts << " pieces";
        EXPECT_LT(delta.size(), fresh + next.size() / 20) << parts << " pieces";  // the matches were found
    }
}

TEST(Delta, AnOldFileThatReadsShortFailsInsteadOfGivingWrongBytes) {
    // The old file shrank after it was checked: the applier must not treat the missing tail as zeros.
    std::string const old = noise(3 << 20, 4);
    std::string next = old;
    next[(3 << 20) - 10] = char(next[(3 << 20) - 10] ^ 1);
    std::string const delta = makeDelta(old, next, 3, 1);
    EXPECT_EQ(applied(old.substr(0, 2 << 20), delta, old.size()), "(failed)");
}

TEST(Delta, ABitPackedFileShiftedByAFewBitsMatchesAgainThroughTheBitView) {
    // Fields inserted a few bits long, as in a rebuilt bitcode file: every later byte shifts.
    // 300 KB spans several of the applier's read windows.
    std::string const old = noise(300000, 5);
    std::string next = insertBits(old, 8 * 1000 + 3, 5, 6);
    next = insertBits(next, 8 * 150000 + 1, 2, 7);
    next = insertBits(next, 8 * 299000 + 6, 9, 8);
    std::string const plain = makeDelta(old, next, 3, 1, OldView::bytes);
    std::string const shifted = makeDelta(old, next, 3, 2, OldView::bits);
    EXPECT_EQ(applied(old, plain, old.size()), next);
    EXPECT_EQ(applied(old, shifted, old.size(), OldView::bits), next);
    EXPECT_LT(shifted.size(), plain.size() / 20);
    EXPECT_EQ(applied(old.substr(0, 200000), shifted, old.size(), OldView::bits), "(failed)");
}

TEST(Streams, EitherCodecReadsBackWholeEvenPastItsEndAndATruncatedStreamFails) {
    std::string data = noise(1 << 20, 9);
    data += std::string(3 << 20, 'r') + data.substr(0, 500000);
    for (std::string const& stored : {compress(data, 3), compressXz(data, 1), compressXz(data, 2)}) {
        std::FILE* file = fileHolding(stored);
        // Directly, and decoded ahead on another thread, whose pieces are used several times over.
        for (bool ahead : {false, true}) {
            auto open = [&](std::size_t size) -> std::unique_ptr<StreamReader> {
                std::unique_ptr<StreamReader> stream = openStream(fileno(file), 0, size);
                return ahead ? std::make_unique<AheadReader>(std::move(stream)) : std::move(stream);
            };
            std::unique_ptr<StreamReader> whole = open(stored.size());
            std::string out(data.size(), '\0');
            EXPECT_TRUE(whole->read(out.data(), out.size())) << ahead;
            char past;
            EXPECT_EQ(whole->readSome(&past, 1), 0u);  // a read past the end finds nothing, and spoils nothing
            EXPECT_TRUE(whole->finished()) << ahead;
            EXPECT_TRUE(out == data) << ahead;
            std::unique_ptr<StreamReader> cut = open(stored.size() - 9);
            EXPECT_FALSE(cut->read(out.data(), out.size()) && cut->finished()) << ahead;
            // A reader that stops early, at a bad control say, leaves while the decoding waits.
            std::unique_ptr<StreamReader> dropped = open(stored.size());
            EXPECT_TRUE(dropped->read(out.data(), 1000)) << ahead;
        }
        std::fclose(file);
    }
}
