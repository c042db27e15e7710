#include "cp/dir.h"

#include "cp/file_utils.h"
#include "cp/native_dir.h"

namespace Lumenary::CP {
using Private::_CNativeDir;

CDir::~CDir() {
    while (!m_iterators.empty()) {
        _CNativeDir::end_file_iter(m_iterators.back());
        m_iterators.pop_back();
    }
}

CDir::iterator CDir::begin() {
    std::wstring first;
    std::intptr_t handle = _CNativeDir::start_file_iter(m_folder, first);
    if (!_CNativeDir::is_valid(handle)) return end();
    m_iterators.push_back(handle);
    CPath current = m_folder;
    current.append(first);
    return iterator(handle, std::move(current), &m_folder);
}

// The end iterator: no listing, an empty path, no folder.
CDir::iterator CDir::end() const { return iterator(); }

void CDir::iterator::_get_next(long n) {
    if (n < 1) return;
    std::wstring name;
    for (long i = 0; i < n; ++i) {
        if (!m_folder || !_CNativeDir::next_file_iter(m_handle, name)) {
            *this = iterator();
            return;
        }
    }
    m_current = *m_folder;
    m_current.append(name);
}

bool CDir::copy(CPath const& from, CPath const& to, bool replace) {
    if (replace && !(from == to) && to.exists()) remove(to);
    if (from == to || !from.exists() || to.exists()) return false;
    return _CNativeDir::copy(from, to);
}

bool CDir::remove(CPath const& folder) {
    return folder.exists() && _CNativeDir::remove(folder);
}

bool CDir::create(CPath const& folder, bool with_parents) {
    return with_parents ? _create(folder) : _CNativeDir::create(folder);
}

bool CDir::_create(CPath const& folder) {
    if (folder.exists()) return true;
    CPath parent = folder;
    parent.as_item(CPath::item_parent);
    if (parent == folder || !_create(parent)) return false;
    return _CNativeDir::create(folder);
}

bool CDir::lock(CPath const& path, bool lock_it, bool recursive) {
    if (!recursive) return CFileUtils::lock(path, lock_it);
    return _CNativeDir::lock_directory(path, lock_it);
}

} // namespace Lumenary::CP
