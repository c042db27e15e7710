// CDir lists one folder through a forward iterator and offers folder-level operations:
// copy, recursive removal, creation with missing parents, and (recursive) locking.
#pragma once

#include <cstdint>
#include <deque>
#include <iterator>

#include "cp/path.h"

namespace Lumenary::CP {

class CDir {
public:
    // Walks the entries of the folder ("." and ".." excepted) in the file system's order.
    // Entries whose names are not valid UTF-8 cannot be named by a CPath and are passed over.
    class iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = CPath;
        using difference_type = std::ptrdiff_t;
        using pointer = CPath const*;
        using reference = CPath const&;

        iterator& operator++() {
            _get_next(1);
            return *this;
        }
        CPath const& operator*() const { return m_current; }
        CPath const* operator->() const { return &m_current; }
        // Iterators are equal when their current paths are.
        bool operator==(iterator const& other) const { return m_current == other.m_current; }

        // Reads n entries; the iterator becomes end() when one cannot be read.
        void _get_next(long n);

    private:
        friend class CDir;
        iterator() = default;
        iterator(std::intptr_t handle, CPath current, CPath const* folder)
            : m_handle(handle), m_current(std::move(current)), m_folder(folder) {}

        std::intptr_t m_handle = 0;
        CPath m_current;
        CPath const* m_folder = nullptr;
    };

    explicit CDir(CPath const& folder) : m_folder(folder) {}
    ~CDir();  // closes every listing its iterators opened
    CDir(CDir const&) = delete;
    CDir& operator=(CDir const&) = delete;

    iterator begin();
    iterator end() const;

    // Copies a file or a whole tree with modes and times. With `replace` an existing `to` is
    // removed first. False for equal paths, a missing `from` or a `to` that (still) exists.
    static bool copy(CPath const& from, CPath const& to, bool replace);
    // Removes a folder and everything in it. Not transactional: what was removed before a
    // failure (a locked item, say) stays removed. A link is never followed.
    static bool remove(CPath const& folder);
    // Creates the folder; with `with_parents` every missing folder above it too. Without them,
    // a missing parent raises CException (code 0).
    static bool create(CPath const& folder, bool with_parents);
    // Sets or clears the lock flag of one item, or of a whole tree (links are passed over).
    static bool lock(CPath const& path, bool lock_it, bool recursive);

private:
    static bool _create(CPath const& folder);

    CPath m_folder;
    std::deque<std::intptr_t> m_iterators;
};

} // namespace Lumenary::CP
