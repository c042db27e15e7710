// The patch file: a signed header, a manifest of what happens to every path, then the payloads.
// docs/patch-format.md describes the bytes; this is the one place that reads and writes them.
#pragma once

#include <array>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Refloom::Patch {

// A major change breaks applying. A minor one adds what older patches do not use: this tool
// applies every patch of its major version up to its own minor version. Minor 1 added deltas
// against the old file's bit-shifted copies.
inline constexpr std::uint16_t kMajorVersion = 1;
inline constexpr std::uint16_t kMinorVersion = 1;
inline constexpr char kMagic[8] = {'R', 'F', 'P', 'A', 'T', 'C', 'H', '\0'};
inline constexpr std::size_t kSignedHeaderSize = 24;  // magic, versions, reserved, manifest size
inline constexpr std::size_t kSignatureSize = 64;
inline constexpr std::size_t kHeaderSize = kSignedHeaderSize + kSignatureSize;

using Digest = std::array<std::uint8_t, 32>;  // SHA-256

enum class Kind : std::uint8_t { none = 0, file = 1, folder = 2, link = 3 };
enum class Op : std::uint8_t { add = 1, remove = 2, replace = 3, delta = 4, mode = 5 };
// bit_delta: a delta that sees the old file as eight copies read from each bit (OldView::bits).
enum class PayloadKind : std::uint8_t { none = 0, whole = 1, delta = 2, bit_delta = 3 };
inline bool isDelta(PayloadKind kind) { return kind == PayloadKind::delta || kind == PayloadKind::bit_delta; }

// What lies at a path: nothing, a file (mode, size, hash), a folder (mode) or a link (target).
struct Node {
    Kind kind = Kind::none;
    std::uint32_t mode = 0;
    std::uint64_t size = 0;
    Digest sha256{};
    std::string link;
    bool operator==(Node const&) const = default;
};

struct Entry {
    std::string path;  // relative, "/"-separated
    Op op = Op::add;
    Node source;       // what must be there before
    Node target;       // what is there after
    std::int64_t mtimeSeconds = 0;  // the target's modification time
    std::uint32_t mtimeNanoseconds = 0;
    PayloadKind payload = PayloadKind::none;
    std::uint64_t payloadOffset = 0;  // from the start of the payload area
    std::uint64_t payloadSize = 0;
    Digest payloadSha256{};
};

struct Manifest {
    std::vector<std::pair<std::string, std::string>> content;  // (value, key)
    std::vector<Entry> entries;  // in path order, parents before children
    std::uint64_t payloadTotal = 0;
};

// Why a patch is refused; each has its exit status (docs/patch-format.md).
enum class Refusal : int {
    unreadable = 2,      // missing, truncated or corrupt
    bad_signature = 3,
    unknown_version = 4,
    unsafe_path = 5,     // absolute, "..", or through a link
    wrong_state = 6,     // the folder is not what the patch expects
    bad_payload = 7,     // a payload or a result whose hash does not match
    failed = 8,          // could not be applied; the folder was restored
};

// A dry run of a folder already in the patch's target state: nothing to do, and not the source
// state that a dry run otherwise answers 0 for. A real run of such a folder answers 0.
inline constexpr int kDryRunUpToDate = 9;

class PatchError : public std::runtime_error {
public:
    PatchError(Refusal why, std::string const& message) : std::runtime_error(message), m_why(why) {}
    Refusal why() const { return m_why; }
    int status() const { return static_cast<int>(m_why); }

private:
    Refusal m_why;
};

std::string serialize(Manifest const& manifest);
// Raises PatchError(unreadable) for anything malformed, and (unsafe_path) for a bad path.
Manifest parse(std::string const& bytes);
// A relative path with no empty, "." or ".." component and no NUL.
bool isSafePath(std::string const& path);

// The 24 header bytes that are signed with the manifest.
std::string signedHeader(std::uint64_t manifestSize);
struct Header {
    std::uint16_t major = 0;
    std::uint16_t minor = 0;
    std::uint64_t manifestSize = 0;
};
Header parseHeader(std::string const& bytes);  // raises PatchError

} // namespace Refloom::Patch
