#include "cp/string_converter.h"

#include "cp/exception.h"
#include "cp/iconv_codec.h"

namespace Lumenary::CP {

CStringConverter::CStringConverter(std::string const& text, encoding enc, unsigned code_page) {
    _init(enc, code_page);
    m_narrow = std::make_unique<std::string>(text);
}

CStringConverter::CStringConverter(std::wstring const& text, encoding enc, unsigned code_page) {
    _init(enc, code_page);
    m_wide = std::make_unique<std::wstring>(text);
}

CStringConverter::~CStringConverter() = default;

void CStringConverter::_init(encoding enc, unsigned code_page) {
    m_narrow.reset();
    m_wide.reset();
    m_loss_byte = 0;
    m_encoding = enc;
    m_code_page = code_page;
}

CStringConverter::operator std::string const&() { return _make_cstr(); }

CStringConverter::operator std::wstring const&() { return _make_wstr(); }

std::string const& CStringConverter::_make_cstr() {
    if (!m_narrow) {
        m_narrow = std::make_unique<std::string>();
        // The flag is deliberately ignored: a failed translation leaves the form empty.
        if (m_wide) _translate(*m_wide, *m_narrow);
    }
    if (!m_narrow) throw CException(CException::null_pointer);
    return *m_narrow;
}

std::wstring const& CStringConverter::_make_wstr() {
    if (!m_wide) {
        m_wide = std::make_unique<std::wstring>();
        if (m_narrow) _translate(*m_narrow, *m_wide);
    }
    if (!m_wide) throw CException(CException::null_pointer);
    return *m_wide;
}

void CStringConverter::_update_translation(encoding enc, unsigned code_page) {
    if (enc == m_encoding && (code_page == 0 || code_page == m_code_page)) return;
    _make_wstr();
    m_narrow.reset();
    m_encoding = enc;
    if (code_page != 0) m_code_page = code_page;
}

bool CStringConverter::_translate(std::string const& from, std::wstring& to) {
    to.clear();
    if (from.empty()) return true;
    Private::IconvCodec const* codec = Private::IconvCodec::find(m_encoding, m_code_page);
    if (!codec) return false;
    return codec->decode(from, to) && !to.empty();
}

bool CStringConverter::_translate(std::wstring const& from, std::string& to) {
    to.clear();
    if (from.empty()) return true;
    Private::IconvCodec const* codec = Private::IconvCodec::find(m_encoding, m_code_page);
    if (!codec) return false;
    return codec->encode(from, static_cast<char>(m_loss_byte), to);
}

} // namespace Lumenary::CP

namespace Common {

using Lumenary::CP::enc_utf8;

// Every UTF-8 shorthand carries code page 1252, which UTF-8 ignores.
constexpr unsigned kDefaultCodePage = 1252;

ToUTF8::ToUTF8(wchar_t const* text)
    : CStringConverter(std::wstring(text ? text : L""), enc_utf8, kDefaultCodePage) {}

ToUTF8::operator char const*() { return _make_cstr().c_str(); }

UTF8ToWide::UTF8ToWide(char const* text)
    : CStringConverter(std::string(text ? text : ""), enc_utf8, kDefaultCodePage) {}

UTF8ToWide::operator wchar_t const*() { return _make_wstr().c_str(); }

MakePlatformPath::MakePlatformPath(char const* relative_utf8, wchar_t const* folder)
    : m_path(folder ? folder : L"") {
    m_path += L'/';
    m_path += static_cast<wchar_t const*>(UTF8ToWide(relative_utf8));
}

} // namespace Common
