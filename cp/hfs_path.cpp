// HFS paths ("Volume:Folder:File") and file URLs. POSIX has no named volumes, so the startup
// volume stands for any volume that is not mounted under /Volumes, as on the Mac.
#include <sys/stat.h>

#include <vector>

#include "cp/iconv_codec.h"
#include "cp/native_path.h"

namespace Lumenary::CP::Private {
namespace {

std::vector<std::wstring> split(std::wstring_view text, wchar_t separator) {
    std::vector<std::wstring> parts;
    size_t start = 0;
    for (;;) {
        size_t end = text.find(separator, start);
        parts.emplace_back(text.substr(start, end - start));
        if (end == std::wstring_view::npos) return parts;
        start = end + 1;
    }
}

// An HFS name may hold "/", which POSIX shows as ":".
std::wstring posix_name(std::wstring name) {
    for (wchar_t& c : name)
        if (c == L'/') c = L':';
    return name;
}

std::wstring volume_root(std::wstring const& volume) {
    std::wstring mounted = L"/Volumes/" + posix_name(volume);
    struct stat info;
    return fs_stat(CPath(mounted), info) && S_ISDIR(info.st_mode) ? mounted : L"";
}

bool unreserved(unsigned char c) {
    static constexpr std::string_view kKept = "-._~!$&'()*+,;=:@/";
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           kKept.find(static_cast<char>(c)) != std::string_view::npos;
}

} // namespace

bool hfs_to_posix(std::wstring const& hfs, std::wstring& out) {
    if (hfs.empty()) return false;
    if (hfs.find(L':') == std::wstring::npos) {
        out = posix_name(hfs);  // a single relative name
        return true;
    }
    bool relative = hfs.front() == L':';
    std::vector<std::wstring> parts = split(std::wstring_view(hfs).substr(relative ? 1 : 0), L':');
    if (parts.size() > 1 && parts.back().empty()) parts.pop_back();  // "Folder:" names a folder

    std::wstring result;
    size_t first = 0;
    if (!relative) {
        result = volume_root(parts.front());
        first = 1;
    }
    for (size_t i = first; i < parts.size(); ++i) {
        if (!result.empty() || !relative) result += L'/';
        // Inside an HFS path an empty name climbs one folder, as "::" does.
        result += parts[i].empty() ? L".." : posix_name(parts[i]);
    }
    if (result.empty()) result = relative ? L"." : L"/";
    out = std::move(result);
    return true;
}

std::wstring file_url(std::wstring const& posix, bool is_directory) {
    std::string bytes;
    if (!utf8_encode(posix, bytes)) return {};
    std::wstring url = !posix.empty() && posix.front() == L'/' ? L"file://" : L"";
    static constexpr char kHex[] = "0123456789ABCDEF";
    for (unsigned char c : bytes) {
        if (unreserved(c)) {
            url += static_cast<wchar_t>(c);
        } else {
            url += L'%';
            url += static_cast<wchar_t>(kHex[c >> 4]);
            url += static_cast<wchar_t>(kHex[c & 15]);
        }
    }
    if (is_directory && url.back() != L'/') url += L'/';
    return url;
}

} // namespace Lumenary::CP::Private
