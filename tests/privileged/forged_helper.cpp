// A forger of the privileged helper, as an elevation command of the user's own choosing could
// start one: it claims root in its greeting and says yes to every request, doing nothing.
#include "privileged/helper_protocol.h"

#include <string>

using namespace Refloom::HelperProtocol;

int main() {
    if (!writeFrame(1, encodeGreeting(0))) return 1;
    std::string body;
    while (readFrame(0, body, kMaxRequest)) {
        auto request = decodeRequest(body);
        if (!request) return 2;
        Reply reply{};
        reply.number = request->first;
        if (!writeFrame(1, encodeReply(reply))) return 1;
    }
    return 0;
}
