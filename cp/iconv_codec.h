// iconv behind the string converter: one codec per narrow charset, opened once per thread and
// kept, because opening a conversion costs far more than running a short one.
#pragma once

#include <iconv.h>

#include <string>
#include <string_view>

#include "cp/string_converter.h"

namespace Lumenary::CP::Private {

class IconvCodec {
public:
    // The codec for an encoding (the code page counts only for enc_codepage), or null when the
    // encoding is none, unknown, or has no iconv table. Owned by the calling thread.
    static IconvCodec const* find(encoding enc, unsigned code_page);

    // Narrow to wide. Any byte sequence that is not valid in the charset fails the whole
    // translation and leaves `to` empty.
    bool decode(std::string_view from, std::wstring& to) const;
    // Wide to narrow. Text holding a value that is no Unicode scalar fails and leaves `to` empty.
    // A character the charset cannot hold ends the text there when `loss` is 0, else is
    // written as `loss`.
    bool encode(std::wstring_view from, char loss, std::string& to) const;

    IconvCodec(iconv_t decoder, iconv_t encoder) : m_decoder(decoder), m_encoder(encoder) {}
    ~IconvCodec();
    IconvCodec(IconvCodec const&) = delete;
    IconvCodec& operator=(IconvCodec const&) = delete;

private:
    iconv_t m_decoder;
    iconv_t m_encoder;
};

// The iconv name of an encoding's charset; empty for enc_none and unknown values.
std::string charset_name(encoding enc, unsigned code_page);

// UTF-8, the file system's form of a path, to and from wide text. False on invalid input.
bool utf8_decode(std::string_view from, std::wstring& to);
bool utf8_encode(std::wstring_view from, std::string& to);

} // namespace Lumenary::CP::Private
