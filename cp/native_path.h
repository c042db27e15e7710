// The platform half of CPath. A fresh one serves one path for one operation.
#pragma once

#include <sys/stat.h>

#include <string>

#include "cp/path.h"

namespace Lumenary::CP::Private {

class _CNativePath {
public:
    explicit _CNativePath(CPath const& path) : m_path(&path) {}
    virtual ~_CNativePath() = default;

    // Each answers false, leaving `out` alone, when it yields nothing.
    bool append(std::wstring const& component, std::wstring& out) const;
    bool convert(std::wstring& out) const;  // the served text read as an HFS path, in POSIX form
    bool compare(CPath const& other) const;
    bool exists() const;
    bool is_directory() const;
    bool get_name(std::wstring& out) const;
    bool get_parent(std::wstring& out) const;
    bool get_volume(std::wstring& out) const;
    bool get_extension(std::wstring& out, bool with_dot) const;
    bool get_url(std::wstring& out) const;
    bool get_filetype(char const* extension, CFileType& out) const;
    static bool get_system_path(CSystemPath::pathType type, CPath& out);

private:
    CPath const* m_path;
};

// The UTF-8 form of a path for the C library; false when the text is not Unicode.
bool fs_path(CPath const& path, std::string& out);
// stat() on a path, following links; false on any failure.
bool fs_stat(CPath const& path, struct stat& info);

// An HFS path (colon-separated, volume name first) in POSIX form; see hfs_path.cpp.
bool hfs_to_posix(std::wstring const& hfs, std::wstring& out);
// A file URL for a POSIX path, escaped as URLs are, with a trailing "/" for a folder.
std::wstring file_url(std::wstring const& posix, bool is_directory);

} // namespace Lumenary::CP::Private
