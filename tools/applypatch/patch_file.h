// An open patch file whose signature and manifest have been checked.
#pragma once

#include <string>

#include "tools/applypatch/format.h"

namespace Refloom::Patch {

class PatchFile {
public:
    // Reads and checks the header, the size, the signature (with the public key in the PEM file)
    // and the manifest. Raises PatchError: unreadable, unknown_version, bad_signature, unsafe_path.
    PatchFile(std::string const& path, std::string const& publicKey);
    ~PatchFile();
    PatchFile(PatchFile const&) = delete;
    PatchFile& operator=(PatchFile const&) = delete;

    Manifest const& manifest() const { return m_manifest; }
    std::uint16_t minorVersion() const { return m_minor; }
    int fd() const { return m_fd; }
    // Where an entry's payload starts in the file.
    std::uint64_t payloadStart(Entry const& e) const { return m_payloadBase + e.payloadOffset; }
    // Raises PatchError(bad_payload), naming the entry, when its payload hash does not match.
    void checkPayload(Entry const& e) const;

private:
    int m_fd = -1;
    std::uint64_t m_payloadBase = 0;
    std::uint16_t m_minor = 0;
    Manifest m_manifest;
};

} // namespace Refloom::Patch
