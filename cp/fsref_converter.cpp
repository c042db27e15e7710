#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <cstdlib>

#include "cp/exception.h"
#include "cp/native_path.h"

namespace Lumenary::CP::inline v20 {
namespace {

constexpr std::int32_t kNoPath = -620;
constexpr std::int32_t kConversionFailed = -8764;
constexpr std::int32_t kNotFound = -43;
constexpr std::int32_t kAccessDenied = -5000;
constexpr std::int32_t kIOError = -36;

std::int32_t status_of(int error) {
    switch (error) {
    case ENOENT:
    case ENOTDIR:
    case ELOOP: return kNotFound;
    case EACCES:
    case EPERM: return kAccessDenied;
    default: return kIOError;
    }
}

} // namespace

CFSRefConverter::CFSRefConverter(CPath const& path) : m_path(std::make_unique<CPath>(path)) {}

CFSRefConverter::CFSRefConverter(FSRef const& ref) : m_ref(std::make_unique<FSRef>(ref)) {}

CFSRefConverter::~CFSRefConverter() = default;

FSRef const* CFSRefConverter::_make_FSRef() {
    if (m_ref) return m_ref.get();
    if (!m_path) {
        m_status = kNoPath;
        return nullptr;
    }
    std::string native;
    if (!Private::fs_path(*m_path, native)) {
        m_status = kConversionFailed;
        return nullptr;
    }
    char resolved[PATH_MAX];
    struct stat info;
    if (native.empty()) errno = ENOENT;
    if (native.empty() || !realpath(native.c_str(), resolved) || ::stat(resolved, &info) != 0) {
        m_status = status_of(errno);
        return nullptr;
    }
    m_status = 0;
    m_ref = std::make_unique<FSRef>(FSRef{resolved, info.st_dev, info.st_ino});
    return m_ref.get();
}

CPath const* CFSRefConverter::_make_path() {
    if (m_path || !m_ref) return m_path.get();
    // The reference still names its item only while the same file lives at its path.
    struct stat info;
    if (::stat(m_ref->path.c_str(), &info) != 0) {
        m_status = status_of(errno);
    } else if (info.st_dev != m_ref->device || info.st_ino != m_ref->inode) {
        m_status = kNotFound;
    } else {
        m_status = 0;
        m_path = std::make_unique<CPath>(m_ref->path);
    }
    return m_path.get();
}

CFSRefConverter::operator FSRef const&() {
    FSRef const* ref = _make_FSRef();
    if (!ref) throw CException(CException::null_pointer);
    return *ref;
}

CFSRefConverter::operator CPath const&() {
    CPath const* path = _make_path();
    if (!path) throw CException(CException::null_pointer);
    return *path;
}

bool CFSRefConverter::get_fsspec(FSSpec& out) {
    FSRef const* ref = _make_FSRef();
    if (!ref) return false;
    CPath parent(ref->path);
    parent.as_item(CPath::item_parent);
    std::string parent_native;
    struct stat info;
    if (!Private::fs_path(parent, parent_native) || ::stat(parent_native.c_str(), &info) != 0) {
        m_status = status_of(errno);
        return false;
    }
    std::wstring name;
    CPath(ref->path).copy_unicode_item(CPath::item_name, name);
    std::string narrow;
    Private::fs_path(CPath(name), narrow);
    out = FSSpec{ref->device, info.st_ino, narrow};
    return true;
}

} // namespace Lumenary::CP::inline v20
