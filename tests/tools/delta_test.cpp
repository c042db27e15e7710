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

std::string applied(std::string const& old, std::string const& delta) {
    std::FILE* file = std::tmpfile();
    std::fwrite(delta.data(), 1, delta.size(), file);
    std::fflush(file);
    std::string out;
    bool const ok = applyDelta(old, fileno(file), 0, delta.size(), [&out](void const* data, std::size_t size) {
        out.append(static_cast<char const*>(data), size);
        return true;
    });
    std::fclose(file);
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
        EXPECT_EQ(applied(old, delta), next) << parts << " pieces";
        EXPECT_LT(delta.size(), next.size() / 10) << parts << " pieces";  // the matches were found
    }
}
