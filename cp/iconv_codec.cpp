#include "cp/iconv_codec.h"

#include <bit>
#include <cerrno>
#include <map>
#include <memory>

namespace Lumenary::CP::Private {
namespace {

static_assert(sizeof(wchar_t) == 4, "the library keeps text as UTF-32 wchar_t");

constexpr char const* kWideCharset =
    std::endian::native == std::endian::little ? "UTF-32LE" : "UTF-32BE";
const iconv_t kNoConversion = reinterpret_cast<iconv_t>(-1);

bool is_scalar(wchar_t c) {
    auto v = static_cast<std::uint32_t>(c);
    return v < 0x110000 && (v < 0xD800 || v > 0xDFFF);
}

// One thread's open codecs by charset; a null entry remembers a charset iconv lacks.
using CodecCache = std::map<std::string, std::unique_ptr<IconvCodec>>;

CodecCache& thread_cache() {
    thread_local CodecCache cache;
    return cache;
}

} // namespace

std::string charset_name(encoding enc, unsigned code_page) {
    switch (enc) {
    case enc_ansi: return "WINDOWS-1252";
    case enc_utf8: return "UTF-8";
    case enc_mac_roman: return "MACINTOSH";
    case enc_symbol: return "MAC-SYMBOL";
    case enc_codepage: return "CP" + std::to_string(code_page);
    default: return {};
    }
}

IconvCodec const* IconvCodec::find(encoding enc, unsigned code_page) {
    std::string name = charset_name(enc, code_page);
    if (name.empty()) return nullptr;
    CodecCache& cache = thread_cache();
    auto found = cache.find(name);
    if (found != cache.end()) return found->second.get();

    iconv_t decoder = iconv_open(kWideCharset, name.c_str());
    iconv_t encoder = iconv_open(name.c_str(), kWideCharset);
    std::unique_ptr<IconvCodec> codec;
    if (decoder != kNoConversion && encoder != kNoConversion) {
        codec = std::make_unique<IconvCodec>(decoder, encoder);
    } else {
        if (decoder != kNoConversion) iconv_close(decoder);
        if (encoder != kNoConversion) iconv_close(encoder);
    }
    return cache.emplace(std::move(name), std::move(codec)).first->second.get();
}

IconvCodec::~IconvCodec() {
    iconv_close(m_decoder);
    iconv_close(m_encoder);
}

bool IconvCodec::decode(std::string_view from, std::wstring& to) const {
    iconv(m_decoder, nullptr, nullptr, nullptr, nullptr);
    // Every input byte yields at most one character.
    to.resize(from.size());
    char* in = const_cast<char*>(from.data());
    size_t in_left = from.size();
    char* out = reinterpret_cast<char*>(to.data());
    size_t out_left = to.size() * sizeof(wchar_t);
    if (iconv(m_decoder, &in, &in_left, &out, &out_left) == static_cast<size_t>(-1) ||
        iconv(m_decoder, nullptr, nullptr, &out, &out_left) == static_cast<size_t>(-1)) {
        to.clear();
        return false;
    }
    to.resize(to.size() - out_left / sizeof(wchar_t));
    return true;
}

bool IconvCodec::encode(std::wstring_view from, char loss, std::string& to) const {
    to.clear();
    for (wchar_t c : from)
        if (!is_scalar(c)) return false;

    iconv(m_encoder, nullptr, nullptr, nullptr, nullptr);
    std::string buffer(from.size() * 4 + 16, '\0');
    char* in = reinterpret_cast<char*>(const_cast<wchar_t*>(from.data()));
    size_t in_left = from.size() * sizeof(wchar_t);
    size_t used = 0;
    while (in_left > 0) {
        char* out = buffer.data() + used;
        size_t out_left = buffer.size() - used;
        size_t rc = iconv(m_encoder, &in, &in_left, &out, &out_left);
        used = buffer.size() - out_left;
        if (rc != static_cast<size_t>(-1)) break;
        if (errno == E2BIG) {
            buffer.resize(buffer.size() * 2);
        } else if (errno == EILSEQ && loss != 0) {
            if (used == buffer.size()) buffer.resize(buffer.size() * 2);
            buffer[used++] = loss;
            in += sizeof(wchar_t);
            in_left -= sizeof(wchar_t);
        } else {
            break;  // a character the charset cannot hold: keep the prefix
        }
    }
    buffer.resize(used);
    to = std::move(buffer);
    return true;
}

bool utf8_decode(std::string_view from, std::wstring& to) {
    to.clear();
    if (from.empty()) return true;
    IconvCodec const* codec = IconvCodec::find(enc_utf8, 0);
    return codec && codec->decode(from, to);
}

bool utf8_encode(std::wstring_view from, std::string& to) {
    to.clear();
    if (from.empty()) return true;
    IconvCodec const* codec = IconvCodec::find(enc_utf8, 0);
    // UTF-8 holds every scalar, so encode only stops early on text that is no Unicode at all.
    return codec && codec->encode(from, 0, to) && !to.empty();
}

} // namespace Lumenary::CP::Private
