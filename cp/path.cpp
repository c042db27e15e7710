#include "cp/path.h"

#include <cstring>

#include "cp/file_type.h"
#include "cp/native_path.h"

namespace Lumenary::CP::inline v20 {
namespace {

// UTF-8 to wide as every narrow path arrives; invalid text gives an empty path.
std::wstring from_utf8(std::string const& text) {
    return CStringConverter(text, enc_utf8, 1252);
}

} // namespace

CPath::CPath(char const* utf8) {
    if (utf8) m_path = from_utf8(utf8);
}

CPath::CPath(std::string const& utf8) : m_path(from_utf8(utf8)) {}

CPath::CPath(wchar_t const* text) {
    if (text) m_path = text;
}

CPath::CPath(std::wstring const& text) : m_path(text) {}

CPath::CPath(unsigned char const* pascal, bool hfs) {
    if (!pascal) return;
    char buffer[256];
    std::memcpy(buffer, pascal + 1, pascal[0]);
    buffer[pascal[0]] = '\0';
    *this = buffer;
    if (!hfs) return;
    std::wstring posix;
    if (!Private::_CNativePath(*this).convert(posix)) posix.clear();
    m_path = std::move(posix);
}

CPath& CPath::operator=(char const* utf8) {
    if (utf8) m_path = from_utf8(utf8);
    return *this;
}

CPath& CPath::operator=(std::string const& utf8) {
    m_path = from_utf8(utf8);
    return *this;
}

CPath& CPath::operator=(wchar_t const* text) {
    if (text) m_path = text;
    return *this;
}

CPath& CPath::operator=(std::wstring const& text) {
    m_path = text;
    return *this;
}

CPath& CPath::append(char const* utf8) { return append(from_utf8(utf8 ? utf8 : "")); }

CPath& CPath::append(std::string const& utf8) { return append(from_utf8(utf8)); }

CPath& CPath::append(wchar_t const* component) {
    return append(std::wstring(component ? component : L""));
}

CPath& CPath::append(CPath const& component) { return append(component.m_path); }

CPath& CPath::append(std::wstring const& component) {
    std::wstring joined;
    if (Private::_CNativePath(*this).append(component, joined) && !joined.empty())
        m_path = std::move(joined);
    return *this;
}

bool CPath::_get_item(pathItem item, std::wstring& out) const {
    if (m_path.empty()) {
        out.clear();
        return true;
    }
    Private::_CNativePath native(*this);
    switch (item) {
    case item_whole: out = m_path; return true;
    case item_name: return native.get_name(out);
    case item_parent: return native.get_parent(out);
    case item_volume: return native.get_volume(out);
    case item_extension: return native.get_extension(out, true);
    case item_extension_bare: return native.get_extension(out, false);
    case item_url: return native.get_url(out);
    }
    return false;
}

CPath& CPath::as_item(pathItem item) {
    if (item != item_whole && item != item_url) _get_item(item, m_path);
    return *this;
}

void CPath::get_item(pathItem item, CPath& out) const {
    if (item != item_url) _get_item(item, out.m_path);
}

void CPath::copy_ansi_item(pathItem item, std::string& out, encoding enc) const {
    std::wstring text;
    if (_get_item(item, text))
        out = static_cast<std::string const&>(CStringConverter(text, enc, 1252));
}

void CPath::copy_unicode_item(pathItem item, std::wstring& out) const { _get_item(item, out); }

bool CPath::exists() const { return !m_path.empty() && Private::_CNativePath(*this).exists(); }

bool CPath::is_directory() const { return Private::_CNativePath(*this).is_directory(); }

void CPath::get_filetype(CFileType& out) const {
    std::string extension;
    copy_ansi_item(item_extension, extension, enc_utf8);
    Private::_CNativePath(*this).get_filetype(extension.c_str(), out);
}

CSystemPath::CSystemPath(pathType type) {
    Private::_CNativePath::get_system_path(type, *this);
}

} // namespace Lumenary::CP::inline v20
