#include "privileged/helper_protocol.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace Refloom::HelperProtocol {
namespace {

template <typename Number>
void put(std::string& out, Number value) {
    out.append(reinterpret_cast<char const*>(&value), sizeof value);
}

// Reads numbers and strings off a body; any read past its end fails the whole decode.
class Cursor {
public:
    explicit Cursor(std::string const& body) : m_body(body) {}
    template <typename Number>
    bool get(Number& value) {
        if (m_body.size() - m_at < sizeof value) return false;
        std::memcpy(&value, m_body.data() + m_at, sizeof value);
        m_at += sizeof value;
        return true;
    }
    bool get(std::string& text, std::uint32_t limit) {
        std::uint32_t length = 0;
        if (!get(length) || length > limit || m_body.size() - m_at < length) return false;
        text.assign(m_body, m_at, length);
        m_at += length;
        return true;
    }
    bool atEnd() const { return m_at == m_body.size(); }

private:
    std::string const& m_body;
    size_t m_at = 0;
};

bool transfer(int fd, char* bytes, size_t size, bool writing) {
    while (size > 0) {
        ssize_t n = writing ? ::write(fd, bytes, size) : ::read(fd, bytes, size);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        bytes += n;
        size -= size_t(n);
    }
    return true;
}

// Reads `size` bytes, each piece of which the kernel says `sender` wrote; the first piece sets
// `sender` when `known` is false. The kernel never joins the writes of two senders in one read.
bool receive(int fd, char* bytes, size_t size, ucred& sender, bool& known) {
    while (size > 0) {
        iovec piece{bytes, size};
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof(ucred))];
        msghdr message{};
        message.msg_iov = &piece;
        message.msg_iovlen = 1;
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        ssize_t const n = ::recvmsg(fd, &message, MSG_CMSG_CLOEXEC);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0 || (message.msg_flags & MSG_CTRUNC) != 0) return false;
        cmsghdr const* header = CMSG_FIRSTHDR(&message);
        if (!header || header->cmsg_level != SOL_SOCKET || header->cmsg_type != SCM_CREDENTIALS ||
            header->cmsg_len != CMSG_LEN(sizeof(ucred)))
            return false;
        ucred from;
        std::memcpy(&from, CMSG_DATA(header), sizeof from);
        if (!known) sender = from, known = true;
        if (from.pid != sender.pid || from.uid != sender.uid || from.gid != sender.gid) return false;
        bytes += n;
        size -= size_t(n);
    }
    return true;
}

} // namespace

std::optional<std::string> encodeRequest(std::uint32_t number, Request const& request) {
    if (int(request.operation) >= kFileToolCount || request.operands.size() > kMaxOperands) return std::nullopt;
    std::string body;
    put(body, number);
    put(body, std::uint8_t(request.operation));
    put(body, std::uint8_t(request.operands.size()));
    for (std::string const& operand : request.operands) {
        // A path cannot hold a NUL byte; one would cut it short where the tool reads it.
        if (operand.size() > kMaxString || operand.find('\0') != std::string::npos) return std::nullopt;
        put(body, std::uint32_t(operand.size()));
        body += operand;
    }
    return body;
}

std::optional<std::pair<std::uint32_t, Request>> decodeRequest(std::string const& body) {
    Cursor in(body);
    std::uint32_t number = 0;
    std::uint8_t operation = 0, count = 0;
    if (!in.get(number) || !in.get(operation) || !in.get(count)) return std::nullopt;
    if (operation >= kFileToolCount || count > kMaxOperands) return std::nullopt;
    Request request{FileTool(operation), std::vector<std::string>(count)};
    for (std::string& operand : request.operands)
        if (!in.get(operand, kMaxString) || operand.find('\0') != std::string::npos) return std::nullopt;
    if (!in.atEnd()) return std::nullopt;
    return std::pair{number, std::move(request)};
}

std::string encodeReply(Reply const& reply) {
    std::string body;
    put(body, reply.number);
    put(body, reply.status);
    put(body, reply.exitStatus);
    std::string const output = reply.output.substr(0, kMaxOutput);
    put(body, std::uint32_t(output.size()));
    return body + output;
}

std::optional<Reply> decodeReply(std::string const& body) {
    Cursor in(body);
    Reply reply{};
    if (!in.get(reply.number) || !in.get(reply.status) || !in.get(reply.exitStatus) || !in.get(reply.output, kMaxOutput) ||
        !in.atEnd())
        return std::nullopt;
    return reply;
}

std::string encodeGreeting(std::uint32_t effectiveUser) {
    std::string body;
    put(body, kVersion);
    put(body, effectiveUser);
    return body;
}

std::optional<std::uint32_t> decodeGreeting(std::string const& body) {
    Cursor in(body);
    std::uint32_t version = 0, user = 0;
    if (!in.get(version) || version != kVersion || !in.get(user) || !in.atEnd()) return std::nullopt;
    return user;
}

bool writeFrame(int fd, std::string const& body) {
    std::string frame;
    put(frame, std::uint32_t(body.size()));
    frame += body;
    return transfer(fd, frame.data(), frame.size(), true);
}

bool readFrame(int fd, std::string& body, std::uint32_t limit, bool* closed, ucred* sender) {
    std::uint32_t length = 0;
    if (closed) {
        char first;
        ssize_t n;
        while ((n = ::recv(fd, &first, 1, MSG_PEEK)) < 0 && errno == EINTR) {
        }
        *closed = n == 0;
    }
    bool known = false;
    auto read = [&](char* bytes, size_t size) {
        return sender ? receive(fd, bytes, size, *sender, known) : transfer(fd, bytes, size, false);
    };
    if (!read(reinterpret_cast<char*>(&length), sizeof length) || length > limit) return false;
    body.resize(length);
    return read(body.data(), length);
}

bool passCredentials(int fd) {
    int const on = 1;
    return setsockopt(fd, SOL_SOCKET, SO_PASSCRED, &on, sizeof on) == 0;
}

} // namespace Refloom::HelperProtocol
