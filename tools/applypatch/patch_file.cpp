#include "tools/applypatch/patch_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "tools/applypatch/crypto.h"

namespace Refloom::Patch {
namespace {

// A manifest larger than this is not one we made.
constexpr std::uint64_t kMaxManifest = 1ull << 30;

bool readAt(int fd, void* out, std::size_t size, std::uint64_t offset) {
    auto* bytes = static_cast<char*>(out);
    while (size > 0) {
        ssize_t n = pread(fd, bytes, size, off_t(offset));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        bytes += n;
        size -= std::size_t(n);
        offset += std::uint64_t(n);
    }
    return true;
}

} // namespace

PatchFile::PatchFile(std::string const& path, std::string const& publicKey) {
    m_fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (m_fd < 0) throw PatchError(Refusal::unreadable, "cannot open the patch " + path + ": " + std::strerror(errno));
    struct stat info;
    std::string header(kHeaderSize, '\0');
    if (fstat(m_fd, &info) != 0 || !readAt(m_fd, header.data(), header.size(), 0))
        throw PatchError(Refusal::unreadable, "the patch " + path + " is truncated");
    Header const parsed = parseHeader(header);
    m_minor = parsed.minor;
    std::uint64_t const fileSize = std::uint64_t(info.st_size);
    if (parsed.manifestSize > kMaxManifest || parsed.manifestSize > fileSize - kHeaderSize)
        throw PatchError(Refusal::unreadable, "the patch " + path + " is truncated");
    std::string manifest(parsed.manifestSize, '\0');
    if (!readAt(m_fd, manifest.data(), manifest.size(), kHeaderSize))
        throw PatchError(Refusal::unreadable, "the patch " + path + " is truncated");
    if (!verify(publicKey, header.substr(0, kSignedHeaderSize) + manifest, header.substr(kSignedHeaderSize)))
        throw PatchError(Refusal::bad_signature, "the patch " + path + " is not signed with the key " + publicKey);
    m_manifest = parse(manifest);
    m_payloadBase = kHeaderSize + parsed.manifestSize;
    if (fileSize - m_payloadBase != m_manifest.payloadTotal)
        throw PatchError(Refusal::unreadable, "the patch " + path + " is truncated or has bytes added");
}

PatchFile::~PatchFile() {
    if (m_fd >= 0) close(m_fd);
}

void PatchFile::checkPayload(Entry const& e) const {
    if (e.payload == PayloadKind::none) return;
    std::vector<char> buffer(std::size_t(std::min<std::uint64_t>(e.payloadSize, 1 << 17)));
    Sha256 hash;
    for (std::uint64_t done = 0; done < e.payloadSize;) {
        std::size_t chunk = std::size_t(std::min<std::uint64_t>(e.payloadSize - done, buffer.size()));
        if (!readAt(m_fd, buffer.data(), chunk, payloadStart(e) + done))
            throw PatchError(Refusal::unreadable, "cannot read the payload of \"" + e.path + "\"");
        hash.update(buffer.data(), chunk);
        done += chunk;
    }
    if (hash.finish() != e.payloadSha256)
        throw PatchError(Refusal::bad_payload, "the payload of \"" + e.path + "\" does not match its hash");
}

} // namespace Refloom::Patch
