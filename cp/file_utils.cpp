#include "cp/file_utils.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <cwchar>
#include <vector>

#include "cp/native_files.h"
#include "cp/native_path.h"

namespace Lumenary::CP {
namespace {

using Private::fs_path;

// The Mac's tick count: sixtieths of a second since start-up.
unsigned tick_count() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<unsigned>(now.tv_sec * 60 + now.tv_nsec / (1000000000 / 60));
}

enum class NameState { free, taken, unusable };

NameState probe(CPath const& candidate) {
    std::string native;
    if (!fs_path(candidate, native)) return NameState::unusable;
    struct stat info;
    if (::lstat(native.c_str(), &info) == 0) return NameState::taken;
    return errno == ENOENT ? NameState::free : NameState::unusable;
}

bool _get_temp_name(CPath const& folder, std::wstring const& prefix, unsigned seed, CPath& out) {
    if (seed == 0) seed = tick_count();
    std::vector<wchar_t> buffer(prefix.size() + 9);
    for (unsigned i = 0; i < 1000; ++i) {
        std::swprintf(buffer.data(), buffer.size(), L"%ls%08lx", prefix.c_str(),
                      static_cast<unsigned long>(seed - i));
        CPath candidate = folder;
        candidate.append(buffer.data());
        switch (probe(candidate)) {
        case NameState::taken: continue;
        case NameState::free: out = candidate; return true;
        case NameState::unusable: return false;
        }
    }
    return false;
}

} // namespace

bool CFileUtils::copy(CPath const& from, CPath const& to, bool replace) {
    if (from == to) return false;
    std::string source, target;
    if (!fs_path(from, source) || !fs_path(to, target)) return false;
    if (replace) ::unlink(target.c_str());
    if (to.exists() || from.is_directory()) return false;
    return Private::_CNativeFiles::copy(source, target, false);
}

bool CFileUtils::remove(CPath const& path) {
    std::string native;
    return fs_path(path, native) && ::unlink(native.c_str()) == 0;
}

bool CFileUtils::rename(CPath const& from, CPath const& to) {
    if (from == to) return false;
    CPath parent = to;
    parent.as_item(CPath::item_parent);
    std::string source, target;
    struct stat info;
    if (!fs_path(from, source) || !fs_path(to, target) || ::lstat(source.c_str(), &info) != 0 ||
        !parent.is_directory())
        return false;
    return ::renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0;
}

bool CFileUtils::size(CPath const& path, long long& out) {
    out = 0;
    struct stat info;
    if (!Private::fs_stat(path, info) || S_ISDIR(info.st_mode)) return false;
    out = static_cast<long long>(info.st_size);
    return out >= 0;
}

bool CFileUtils::temp_file(CPath& inout, wchar_t const* prefix, unsigned seed) {
    CPath folder = inout.empty() ? CPath(CSystemPath(CSystemPath::user_temporary)) : inout;
    if (folder.exists()) {
        CPath found;
        if (_get_temp_name(folder, prefix ? prefix : L"", seed, found)) inout = found;
    }
    return !inout.empty();
}

bool CFileUtils::temp_file(CPath& inout, char const* prefix, unsigned seed) {
    std::wstring wide = CStringConverter(std::string(prefix ? prefix : ""), enc_ansi, 1252);
    return temp_file(inout, wide.c_str(), seed);
}

bool CFileUtils::get_permissions(CPath const& path, int& mode) {
    struct stat info;
    if (!Private::fs_stat(path, info)) return false;
    mode = static_cast<int>(info.st_mode & 0777);
    return true;
}

bool CFileUtils::set_permissions(CPath const& path, int mode) {
    struct stat info;
    std::string native;
    if (!Private::fs_stat(path, info) || !fs_path(path, native)) return false;
    return ::chmod(native.c_str(), (info.st_mode & 07000) | (static_cast<mode_t>(mode) & 0777)) == 0;
}

bool CFileUtils::is_locked(CPath const& path) {
    std::string native;
    return fs_path(path, native) && Private::_CNativeFiles::is_locked(native);
}

bool CFileUtils::lock(CPath const& path, bool lock_it) {
    std::string native;
    return path.exists() && fs_path(path, native) && Private::_CNativeFiles::lock(native, lock_it);
}

} // namespace Lumenary::CP
