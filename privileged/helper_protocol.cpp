#include "privileged/helper_protocol.h"

#include <unistd.h>

#include <cerrno>

namespace Refloom::HelperProtocol {
namespace {

bool writeAll(int fd, void const* data, size_t size) {
    auto const* bytes = static_cast<char const*>(data);
    while (size > 0) {
        ssize_t n = ::write(fd, bytes, size);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        bytes += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

bool readAll(int fd, void* data, size_t size) {
    auto* bytes = static_cast<char*>(data);
    while (size > 0) {
        ssize_t n = ::read(fd, bytes, size);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        bytes += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

bool writeString(int fd, std::string const& text) {
    auto length = static_cast<std::uint32_t>(text.size());
    return writeAll(fd, &length, sizeof length) && writeAll(fd, text.data(), text.size());
}

bool readString(int fd, std::string& text, std::uint32_t limit) {
    std::uint32_t length = 0;
    if (!readAll(fd, &length, sizeof length) || length > limit) return false;
    text.resize(length);
    return readAll(fd, text.data(), length);
}

} // namespace

bool writeRequest(int fd, std::vector<std::string> const& argv) {
    if (argv.empty() || argv.size() > kMaxArguments) return false;
    auto count = static_cast<std::uint32_t>(argv.size());
    if (!writeAll(fd, &count, sizeof count)) return false;
    for (std::string const& item : argv)
        if (item.size() > kMaxString || !writeString(fd, item)) return false;
    return true;
}

bool readRequest(int fd, std::vector<std::string>& argv) {
    std::uint32_t count = 0;
    if (!readAll(fd, &count, sizeof count) || count == 0 || count > kMaxArguments) return false;
    argv.assign(count, std::string());
    for (std::string& item : argv)
        if (!readString(fd, item, kMaxString)) return false;
    return true;
}

bool writeReply(int fd, std::int32_t status, std::string const& output) {
    return output.size() <= kMaxOutput && writeAll(fd, &status, sizeof status) && writeString(fd, output);
}

bool readReply(int fd, std::int32_t& status, std::string& output) {
    return readAll(fd, &status, sizeof status) && readString(fd, output, kMaxOutput);
}

} // namespace Refloom::HelperProtocol
