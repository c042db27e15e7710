// libFuzzer target for what the privileged helper reads from its channel: request bodies and
// the frames around them. Whatever the bytes, decoding answers or refuses; it never reads
// past the data, and what it accepts encodes back to the same bytes.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "privileged/helper_protocol.h"

using namespace Refloom::HelperProtocol;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, size_t size) {
    std::string const body(reinterpret_cast<char const*>(data), size);
    if (auto request = decodeRequest(body)) {
        std::optional<std::string> again = encodeRequest(request->first, request->second);
        if (!again || *again != body) std::abort();
    }
    decodeReply(body);
    decodeGreeting(body);
    // The same bytes as they would arrive on the channel.
    int ends[2];
    if (pipe(ends) != 0) return 0;
    if (size <= 65536 && write(ends[1], data, size) == ssize_t(size)) {
        close(ends[1]);
        std::string frame;
        while (readFrame(ends[0], frame, kMaxRequest)) decodeRequest(frame);
    } else {
        close(ends[1]);
    }
    close(ends[0]);
    return 0;
}
