#include "tools/applypatch/crypto.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <openssl/evp.h>
#include <openssl/pem.h>

#include <cstdio>
#include <fstream>
#include <vector>

namespace Refloom::Patch {
namespace {

using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
using File = std::unique_ptr<FILE, decltype(&std::fclose)>;
using SignContext = std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)>;

Key readKey(std::string const& path, bool isPrivate) {
    File file(std::fopen(path.c_str(), "rb"), std::fclose);
    if (!file) return Key(nullptr, EVP_PKEY_free);
    EVP_PKEY* key = isPrivate ? PEM_read_PrivateKey(file.get(), nullptr, nullptr, nullptr)
                              : PEM_read_PUBKEY(file.get(), nullptr, nullptr, nullptr);
    return Key(key, EVP_PKEY_free);
}

} // namespace

Sha256::Sha256() : m_context(EVP_MD_CTX_new()) { EVP_DigestInit_ex(m_context, EVP_sha256(), nullptr); }

Sha256::~Sha256() { EVP_MD_CTX_free(m_context); }

void Sha256::update(void const* data, std::size_t size) { EVP_DigestUpdate(m_context, data, size); }

Digest Sha256::finish() {
    Digest digest{};
    unsigned int length = 0;
    EVP_DigestFinal_ex(m_context, digest.data(), &length);
    return digest;
}

bool hashFile(std::string const& path, Digest& out) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    Sha256 hash;
    std::vector<char> buffer(1 << 17);
    while (in) {
        in.read(buffer.data(), std::streamsize(buffer.size()));
        hash.update(buffer.data(), std::size_t(in.gcount()));
    }
    if (in.bad()) return false;
    out = hash.finish();
    return true;
}

Digest hashBytes(std::string_view data) {
    Sha256 hash;
    hash.update(data);
    return hash.finish();
}

std::string hex(Digest const& digest) {
    static char const kDigits[] = "0123456789abcdef";
    std::string text;
    for (std::uint8_t byte : digest) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

bool generateKeyPair(std::string const& privatePath, std::string const& publicPath, std::string& error) {
    Key key(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519"), EVP_PKEY_free);
    if (!key) {
        error = "cannot make an Ed25519 key";
        return false;
    }
    // The private key is its owner's alone from the moment it exists; neither file is ever
    // written over.
    auto create = [](std::string const& path, mode_t mode) {
        int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        return File(fd >= 0 ? ::fdopen(fd, "wb") : nullptr, std::fclose);
    };
    File privateFile = create(privatePath, 0600);
    File publicFile = privateFile ? create(publicPath, 0644) : File(nullptr, std::fclose);
    if (!privateFile || !publicFile) {
        if (privateFile) ::unlink(privatePath.c_str());
        error = "cannot create " + (privateFile ? publicPath : privatePath) + " (it must not exist yet)";
        return false;
    }
    if (!PEM_write_PrivateKey(privateFile.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr) ||
        !PEM_write_PUBKEY(publicFile.get(), key.get())) {
        error = "cannot write the keys";
        return false;
    }
    return true;
}

std::string sign(std::string const& privateKeyPath, std::string_view message) {
    Key key = readKey(privateKeyPath, true);
    if (!key) throw PatchError(Refusal::failed, "cannot read the private key " + privateKeyPath);
    SignContext context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    std::string signature(kSignatureSize, '\0');
    std::size_t length = signature.size();
    if (!context || EVP_DigestSignInit(context.get(), nullptr, nullptr, nullptr, key.get()) != 1 ||
        EVP_DigestSign(context.get(), reinterpret_cast<unsigned char*>(signature.data()), &length,
                       reinterpret_cast<unsigned char const*>(message.data()), message.size()) != 1 ||
        length != kSignatureSize)
        throw PatchError(Refusal::failed, "cannot sign with " + privateKeyPath + " (not an Ed25519 key?)");
    return signature;
}

bool verify(std::string const& publicKeyPath, std::string_view message, std::string_view signature) {
    Key key = readKey(publicKeyPath, false);
    SignContext context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    return key && context && signature.size() == kSignatureSize &&
           EVP_DigestVerifyInit(context.get(), nullptr, nullptr, nullptr, key.get()) == 1 &&
           EVP_DigestVerify(context.get(), reinterpret_cast<unsigned char const*>(signature.data()), signature.size(),
                            reinterpret_cast<unsigned char const*>(message.data()), message.size()) == 1;
}

} // namespace Refloom::Patch
