#include "tools/applypatch/format.h"

#include <cstring>
#include <string_view>

namespace Refloom::Patch {
namespace {

constexpr std::uint32_t kMaxString = 1 << 16;
constexpr std::uint32_t kMaxEntries = 1 << 24;

[[noreturn]] void corrupt(std::string const& what) { throw PatchError(Refusal::unreadable, "corrupt patch: " + what); }

class Writer {
public:
    template <typename T>
    void number(T value) {
        for (std::size_t i = 0; i < sizeof(T); ++i) m_out.push_back(char((std::uint64_t(value) >> (8 * i)) & 0xFF));
    }
    void text(std::string const& value) {
        number(std::uint32_t(value.size()));
        m_out += value;
    }
    void digest(Digest const& value) { m_out.append(reinterpret_cast<char const*>(value.data()), value.size()); }
    void node(Node const& value) {
        number(std::uint8_t(value.kind));
        number(value.mode);
        number(value.size);
        digest(value.sha256);
        text(value.link);
    }
    std::string take() { return std::move(m_out); }

private:
    std::string m_out;
};

// Every read is checked against what is left, so no input can read past the end.
class Reader {
public:
    explicit Reader(std::string_view bytes) : m_bytes(bytes) {}
    template <typename T>
    T number() {
        need(sizeof(T));
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < sizeof(T); ++i) value |= std::uint64_t(std::uint8_t(m_bytes[m_at + i])) << (8 * i);
        m_at += sizeof(T);
        return T(value);
    }
    std::string text() {
        auto length = number<std::uint32_t>();
        if (length > kMaxString) corrupt("string too long");
        need(length);
        std::string value(m_bytes.substr(m_at, length));
        m_at += length;
        return value;
    }
    Digest digest() {
        need(32);
        Digest value;
        std::memcpy(value.data(), m_bytes.data() + m_at, 32);
        m_at += 32;
        return value;
    }
    Node node() {
        Node value;
        auto kind = number<std::uint8_t>();
        if (kind > std::uint8_t(Kind::link)) corrupt("unknown node kind");
        value.kind = Kind(kind);
        value.mode = number<std::uint32_t>();
        value.size = number<std::uint64_t>();
        value.sha256 = digest();
        value.link = text();
        return value;
    }
    bool done() const { return m_at == m_bytes.size(); }

private:
    void need(std::size_t count) {
        if (m_bytes.size() - m_at < count) corrupt("manifest ends early");
    }
    std::string_view m_bytes;
    std::size_t m_at = 0;
};

// An operation's nodes and payload must agree with what it does.
bool consistent(Entry const& e, std::uint64_t payloadTotal) {
    if (e.payloadOffset > payloadTotal || e.payloadSize > payloadTotal - e.payloadOffset) return false;
    bool const hasPayload = e.payload != PayloadKind::none;
    switch (e.op) {
    case Op::add: return e.source.kind == Kind::none && e.target.kind != Kind::none && hasPayload == (e.target.kind == Kind::file) && !isDelta(e.payload);
    case Op::remove: return e.source.kind != Kind::none && e.target.kind == Kind::none && !hasPayload;
    case Op::replace: return e.source.kind != Kind::none && e.target.kind != Kind::none && hasPayload == (e.target.kind == Kind::file) && !isDelta(e.payload);
    case Op::delta: return e.source.kind == Kind::file && e.target.kind == Kind::file && isDelta(e.payload);
    case Op::mode: return e.source.kind != Kind::none && e.source.kind == e.target.kind && !hasPayload;
    }
    return false;
}

} // namespace

bool isSafePath(std::string const& path) {
    if (path.empty() || path.front() == '/' || path.find('\0') != std::string::npos) return false;
    std::size_t start = 0;
    while (start <= path.size()) {
        std::size_t end = path.find('/', start);
        if (end == std::string::npos) end = path.size();
        std::string_view part(path.data() + start, end - start);
        if (part.empty() || part == "." || part == "..") return false;
        start = end + 1;
    }
    return true;
}

std::string serialize(Manifest const& manifest) {
    Writer out;
    out.number(std::uint32_t(manifest.content.size()));
    for (auto const& [value, key] : manifest.content) {
        out.text(value);
        out.text(key);
    }
    out.number(std::uint32_t(manifest.entries.size()));
    for (Entry const& e : manifest.entries) {
        out.text(e.path);
        out.number(std::uint8_t(e.op));
        out.node(e.source);
        out.node(e.target);
        out.number(e.mtimeSeconds);
        out.number(e.mtimeNanoseconds);
        out.number(std::uint8_t(e.payload));
        out.number(e.payloadOffset);
        out.number(e.payloadSize);
        out.digest(e.payloadSha256);
    }
    out.number(manifest.payloadTotal);
    return out.take();
}

Manifest parse(std::string const& bytes) {
    Reader in(bytes);
    Manifest manifest;
    auto contentCount = in.number<std::uint32_t>();
    if (contentCount > kMaxEntries) corrupt("too many content entries");
    for (std::uint32_t i = 0; i < contentCount; ++i) {
        std::string value = in.text();
        manifest.content.emplace_back(std::move(value), in.text());
    }
    auto entryCount = in.number<std::uint32_t>();
    if (entryCount > kMaxEntries) corrupt("too many entries");
    for (std::uint32_t i = 0; i < entryCount; ++i) {
        Entry e;
        e.path = in.text();
        auto op = in.number<std::uint8_t>();
        if (op < std::uint8_t(Op::add) || op > std::uint8_t(Op::mode)) corrupt("unknown operation");
        e.op = Op(op);
        e.source = in.node();
        e.target = in.node();
        e.mtimeSeconds = in.number<std::int64_t>();
        e.mtimeNanoseconds = in.number<std::uint32_t>();
        auto payload = in.number<std::uint8_t>();
        if (payload > std::uint8_t(PayloadKind::bit_delta)) corrupt("unknown payload kind");
        e.payload = PayloadKind(payload);
        e.payloadOffset = in.number<std::uint64_t>();
        e.payloadSize = in.number<std::uint64_t>();
        e.payloadSha256 = in.digest();
        manifest.entries.push_back(std::move(e));
    }
    manifest.payloadTotal = in.number<std::uint64_t>();
    if (!in.done()) corrupt("trailing bytes after the manifest");

    for (std::size_t i = 0; i < manifest.entries.size(); ++i) {
        Entry const& e = manifest.entries[i];
        if (!isSafePath(e.path)) throw PatchError(Refusal::unsafe_path, "unsafe path in patch: \"" + e.path + "\"");
        if (i > 0 && !(manifest.entries[i - 1].path < e.path)) corrupt("entries out of order at \"" + e.path + "\"");
        if (!consistent(e, manifest.payloadTotal)) corrupt("inconsistent entry \"" + e.path + "\"");
    }
    return manifest;
}

std::string signedHeader(std::uint64_t manifestSize) {
    std::string header(kMagic, sizeof kMagic);
    Writer out;
    out.number(kMajorVersion);
    out.number(kMinorVersion);
    out.number(std::uint32_t(0));
    out.number(manifestSize);
    return header + out.take();
}

Header parseHeader(std::string const& bytes) {
    if (bytes.size() < kSignedHeaderSize || std::memcmp(bytes.data(), kMagic, sizeof kMagic) != 0)
        throw PatchError(Refusal::unreadable, "not a patch file");
    Reader in(std::string_view(bytes).substr(sizeof kMagic, kSignedHeaderSize - sizeof kMagic));
    Header header;
    header.major = in.number<std::uint16_t>();
    header.minor = in.number<std::uint16_t>();
    in.number<std::uint32_t>();
    header.manifestSize = in.number<std::uint64_t>();
    if (header.major != kMajorVersion || header.minor > kMinorVersion)
        throw PatchError(Refusal::unknown_version, "patch format " + std::to_string(header.major) + "." +
                                                       std::to_string(header.minor) + " is not one this tool applies");
    return header;
}

} // namespace Refloom::Patch
