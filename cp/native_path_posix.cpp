#include "cp/native_path.h"

#include "cp/file_type.h"
#include "cp/iconv_codec.h"

namespace Lumenary::CP::Private {
namespace {

// The path without trailing slashes, the root itself excepted.
std::wstring_view trimmed(std::wstring const& path) {
    std::wstring_view view(path);
    while (view.size() > 1 && view.back() == L'/') view.remove_suffix(1);
    return view;
}

std::wstring_view last_component(std::wstring const& path) {
    std::wstring_view view = trimmed(path);
    if (view == L"/") return view;
    auto slash = view.rfind(L'/');
    return slash == std::wstring_view::npos ? view : view.substr(slash + 1);
}

} // namespace

bool fs_path(CPath const& path, std::string& out) { return utf8_encode(path.str(), out); }

bool fs_stat(CPath const& path, struct stat& info) {
    std::string native;
    return !path.empty() && fs_path(path, native) && ::stat(native.c_str(), &info) == 0;
}

bool _CNativePath::append(std::wstring const& component, std::wstring& out) const {
    std::wstring const& base = m_path->str();
    if (base.empty()) return false;  // an empty path makes no URL to append to
    std::wstring joined = base;
    if (joined.back() != L'/') joined += L'/';
    joined += component;
    out = std::move(joined);
    return true;
}

bool _CNativePath::convert(std::wstring& out) const { return hfs_to_posix(m_path->str(), out); }

bool _CNativePath::compare(CPath const& other) const { return m_path->str() == other.str(); }

bool _CNativePath::exists() const {
    struct stat info;
    return fs_stat(*m_path, info);
}

bool _CNativePath::is_directory() const {
    struct stat info;
    return fs_stat(*m_path, info) && S_ISDIR(info.st_mode);
}

bool _CNativePath::get_name(std::wstring& out) const {
    std::wstring_view name = last_component(m_path->str());
    if (name.empty()) return false;
    out = name;
    return true;
}

bool _CNativePath::get_parent(std::wstring& out) const {
    std::wstring_view view = trimmed(m_path->str());
    if (view == L"/") {
        out = L"/";
        return true;
    }
    auto slash = view.rfind(L'/');
    if (slash == std::wstring_view::npos) {
        out = L".";  // a relative name lives in the current folder
        return true;
    }
    std::wstring parent(view.substr(0, slash == 0 ? 1 : slash));
    out = trimmed(parent);
    return true;
}

bool _CNativePath::get_volume(std::wstring& out) const {
    // POSIX volumes carry no names: the answer is always the text before the first ':' or
    // '/', which is empty for an absolute path and the volume of an HFS path.
    std::wstring const& path = m_path->str();
    out = path.substr(0, path.find_first_of(L":/"));
    return true;
}

bool _CNativePath::get_extension(std::wstring& out, bool with_dot) const {
    std::wstring_view name = last_component(m_path->str());
    auto dot = name.rfind(L'.');
    // A leading dot marks a hidden name, not an extension; a trailing one gives none.
    if (dot == std::wstring_view::npos || dot == 0 || dot + 1 == name.size()) return false;
    out = with_dot ? std::wstring(name.substr(dot)) : std::wstring(name.substr(dot + 1));
    return true;
}

bool _CNativePath::get_url(std::wstring& out) const {
    // The URL is made from the path read in HFS style, not POSIX. Intended: callers depend on it.
    std::wstring posix;
    if (!hfs_to_posix(m_path->str(), posix)) return false;
    out = file_url(posix, is_directory());
    return true;
}

bool _CNativePath::get_filetype(char const* extension, CFileType& out) const {
    if (extension && *extension) {
        CFileType by_extension(extension);
        if (!by_extension.is_unknown_type()) {
            out = by_extension;
            return true;
        }
    }
    // Without type and creator codes the system knows a file only by its extension, and an
    // unregistered one is the unknown type.
    std::wstring bare;
    if (!exists() || !get_extension(bare, false)) return false;
    std::string ascii;
    if (!utf8_encode(bare, ascii)) return false;
    out = CFileType(ascii.c_str());
    return true;
}

} // namespace Lumenary::CP::Private
