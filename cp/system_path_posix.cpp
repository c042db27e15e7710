// System folders on a POSIX system, laid out as on the Mac so the whole program agrees on
// where things live.
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>

#include "cp/dir.h"
#include "cp/iconv_codec.h"
#include "cp/native_path.h"

namespace Lumenary::CP::Private {
namespace {

std::wstring home_folder() {
    char const* home = std::getenv("HOME");
    if (!home || !*home) {
        passwd const* entry = getpwuid(getuid());
        home = entry ? entry->pw_dir : nullptr;
    }
    std::wstring text;
    return home && utf8_decode(home, text) ? text : std::wstring();
}

// The running executable; an executable inside "X.app/Contents/MacOS" belongs to bundle X.app,
// a bare one is its own bundle.
bool application(CPath& out, bool bundle) {
    char buffer[PATH_MAX];
    ssize_t length = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    if (length <= 0) return false;
    buffer[length] = '\0';
    CPath executable(buffer);
    CPath macos = executable, contents, app;
    macos.as_item(CPath::item_parent);
    macos.get_item(CPath::item_parent, contents);
    contents.get_item(CPath::item_parent, app);
    std::wstring macos_name, contents_name, app_extension;
    macos.copy_unicode_item(CPath::item_name, macos_name);
    contents.copy_unicode_item(CPath::item_name, contents_name);
    app.copy_unicode_item(CPath::item_extension_bare, app_extension);
    CPath found = macos_name == L"MacOS" && contents_name == L"Contents" && app_extension == L"app"
                      ? app
                      : executable;
    if (!bundle) found.as_item(CPath::item_parent);
    out = found;
    return true;
}

// A user folder is created when missing; a system-wide one is the administrator's business and
// is answered only when it is there.
bool folder(std::wstring const& path, bool create, CPath& out) {
    if (path.empty()) return false;
    CPath folder_path(path);
    if (!folder_path.is_directory() && !(create && CDir::create(folder_path, true))) return false;
    out = folder_path;
    return true;
}

} // namespace

bool _CNativePath::get_system_path(CSystemPath::pathType type, CPath& out) {
    std::wstring const home = home_folder();
    auto in_home = [&](wchar_t const* relative) {
        return home.empty() ? std::wstring() : home + relative;
    };
    switch (type) {
    case CSystemPath::app_folder: return application(out, false);
    case CSystemPath::app_bundle: return application(out, true);
    case CSystemPath::user_preferences: return folder(in_home(L"/Library/Preferences"), true, out);
    case CSystemPath::user_app_support:
        return folder(in_home(L"/Library/Application Support"), true, out);
    case CSystemPath::user_documents:
    case CSystemPath::user_documents2: return folder(in_home(L"/Documents"), true, out);
    case CSystemPath::user_temporary: {
        std::wstring temporary;
        char const* tmpdir = std::getenv("TMPDIR");
        if (!tmpdir || !*tmpdir || !utf8_decode(tmpdir, temporary)) temporary = L"/tmp";
        return folder(temporary, true, out);
    }
    case CSystemPath::local_applications: return folder(L"/Applications", false, out);
    case CSystemPath::local_app_support:
        return folder(L"/Library/Application Support", false, out);
    case CSystemPath::user_shared_data: return folder(L"/Users/Shared", false, out);
    case CSystemPath::user_desktop: return folder(in_home(L"/Desktop"), true, out);
    }
    return false;
}

} // namespace Lumenary::CP::Private
