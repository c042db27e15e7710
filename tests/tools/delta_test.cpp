#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <random>

#include "tests/fixtures/scratch.h"
#include "tools/applypatch/delta.h"

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

// `oldSize`: what the applier was told the old file holds.
std::string applied(std::string const& old, std::string const& delta, std::size_t oldSize) {
    std::FILE* oldFile = fileHolding(old);
    std::FILE* deltaFile = fileHolding(delta);
    std::string out;
    bool const ok = applyDelta(fileno(oldFile), oldSize, fileno(deltaFile), 0, delta.size(), [&out](void const* data, std::size_t size) {
        out.append(static_cast<char const*>(data), size);
        return true;
    });
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
    next += noise(100000, 3);
    for (int parts : {1, 2, 3, 5}) {
        std::string const delta = makeDelta(old, next, 3, parts);
        EXPECT_EQ(applied(old, delta, old.size()), next) << parts << " pieces";
        EXPECT_LT(delta.size(), next.size() / 10) << parts << " pieces";  // the matches were found
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
