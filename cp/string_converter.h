// Text conversion at the library's edges. All text inside the library is wide (UTF-32);
// narrow text in UTF-8, Windows code pages or Mac Roman is converted here through iconv.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace Lumenary::CP {

enum encoding : std::int32_t {
    enc_ansi = 0,      // Windows Latin-1 (code page 1252)
    enc_utf8 = 1,
    enc_mac_roman = 2,
    enc_symbol = 3,    // Mac Symbol: iconv has no table for it, so it fails every translation
    enc_codepage = 4,  // the Windows code page given beside it
    enc_none = 5,      // no encoding: every translation fails
};

// Holds a text in one form and makes the other form on demand. Whichever form was given is
// the source; the other is a cache. A failed translation never raises: the requested form is
// empty, or (wide to narrow with loss byte 0) the prefix that the encoding can hold.
class CStringConverter {
public:
    CStringConverter(std::string const& text, encoding enc, unsigned code_page);
    CStringConverter(std::wstring const& text, encoding enc, unsigned code_page);
    virtual ~CStringConverter();

    CStringConverter(CStringConverter const&) = delete;
    CStringConverter& operator=(CStringConverter const&) = delete;

    // The narrow / wide form. Raise CException (code 0) only when no form object exists.
    operator std::string const&();
    operator std::wstring const&();

    // Re-targets the converter to another narrow encoding: the wide form is kept (made first if
    // needed) and the narrow form is dropped, so the next narrow request translates again.
    // Nothing happens when the encoding is unchanged and the code page is 0 or unchanged.
    void _update_translation(encoding enc, unsigned code_page);

protected:
    void _init(encoding enc, unsigned code_page);
    std::string const& _make_cstr();
    std::wstring const& _make_wstr();

    virtual bool _translate(std::string const& from, std::wstring& to);
    virtual bool _translate(std::wstring const& from, std::string& to);

private:
    std::int32_t m_loss_byte = 0;  // 0: stop at the first character the encoding cannot hold
    unsigned m_code_page = 0;      // used only with enc_codepage
    std::unique_ptr<std::string> m_narrow;
    std::unique_ptr<std::wstring> m_wide;
    encoding m_encoding = enc_none;
};

} // namespace Lumenary::CP

namespace Common {

// Wide text to UTF-8; a null source is empty text.
class ToUTF8 : public Lumenary::CP::CStringConverter {
public:
    explicit ToUTF8(wchar_t const* text);
    operator char const*();
};

// UTF-8 to wide text; a null source, like invalid UTF-8, gives empty text.
class UTF8ToWide : public Lumenary::CP::CStringConverter {
public:
    explicit UTF8ToWide(char const* text);
    operator wchar_t const*();
};

// folder + "/" + the UTF-8 relative path. No check for a trailing "/" on the folder: "dir/"
// and "a" give "dir//a".
class MakePlatformPath {
public:
    MakePlatformPath(char const* relative_utf8, wchar_t const* folder);
    operator wchar_t const*() const { return m_path.c_str(); }

private:
    std::wstring m_path;
};

} // namespace Common
