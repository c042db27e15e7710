// SHA-256 and Ed25519 through OpenSSL's libcrypto.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "tools/applypatch/format.h"

typedef struct evp_md_ctx_st EVP_MD_CTX;

namespace Refloom::Patch {

class Sha256 {
public:
    Sha256();
    ~Sha256();
    void update(void const* data, std::size_t size);
    void update(std::string_view data) { update(data.data(), data.size()); }
    Digest finish();

private:
    EVP_MD_CTX* m_context;
};

// The digest of a whole file; false when it cannot be read.
bool hashFile(std::string const& path, Digest& out);
Digest hashBytes(std::string_view data);
std::string hex(Digest const& digest);

// A new key pair as PEM files; false (with the reason in `error`) when they cannot be written.
bool generateKeyPair(std::string const& privatePath, std::string const& publicPath, std::string& error);
// The Ed25519 signature of the message with the private key in the PEM file. Raises PatchError.
std::string sign(std::string const& privateKeyPath, std::string_view message);
// True when the signature is the public key's over the message.
bool verify(std::string const& publicKeyPath, std::string_view message, std::string_view signature);

} // namespace Refloom::Patch
