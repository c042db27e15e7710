// libFuzzer target for everything that reads a patch before trusting it: the header, the
// manifest, and the delta decoder (which runs on payloads whose hash matched, but should
// survive anything). The first byte chooses which.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <string>

#include "tools/applypatch/delta.h"
#include "tools/applypatch/format.h"

using namespace Refloom::Patch;

namespace {

void decodeDelta(std::string const& payload) {
    int fd = memfd_create("payload", 0);
    int old = memfd_create("old", 0);
    std::string const oldBytes(4096, 'o');
    if (fd >= 0 && old >= 0 && write(fd, payload.data(), payload.size()) == ssize_t(payload.size()) &&
        write(old, oldBytes.data(), oldBytes.size()) == ssize_t(oldBytes.size())) {
        std::size_t produced = 0;
        // A payload may claim an enormous file: stop listening after a few MiB.
        OldView const view = payload.size() % 2 ? OldView::bits : OldView::bytes;
        Layout const layout = payload.size() % 4 < 2 ? Layout::packed : Layout::fixed;
        applyDelta(old, oldBytes.size(), view, layout, fd, 0, payload.size(), [&](void const*, std::size_t size) {
            produced += size;
            return produced < (4u << 20);
        });
    }
    if (fd >= 0) close(fd);
    if (old >= 0) close(old);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size == 0) return 0;
    std::string const bytes(reinterpret_cast<char const*>(data + 1), size - 1);
    try {
        switch (data[0] % 3) {
        case 0: parse(bytes); break;
        case 1: parseHeader(bytes); break;
        default: decodeDelta(bytes); break;
        }
    } catch (PatchError const&) {
    }
    return 0;
}
