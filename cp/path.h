// CPath: the value in which every path of the portable library travels, one wide (UTF-32)
// string holding a POSIX path, stored exactly as given. CSystemPath names the system folders;
// CFSRefConverter turns a path into a native file reference and back.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <string>

#include "cp/string_converter.h"

namespace Lumenary::CP {

class CFileType;

// The native file reference. POSIX has no File Manager, so a reference is the resolved path
// together with the device and inode it named when it was made.
struct FSRef {
    std::string path;
    dev_t device = 0;
    ino_t inode = 0;
};

// The File Manager's location record: volume, parent folder and name. Here the volume is the
// device and the parent folder its inode.
struct FSSpec {
    dev_t volume = 0;
    ino_t parent = 0;
    std::string name;
};

inline namespace v20 {

class CPath {
public:
    enum pathItem : std::int32_t {
        item_whole = 0,           // the whole path, unchanged
        item_name = 1,            // the last component
        item_parent = 2,          // the folder that holds it
        item_volume = 3,          // the name of the volume that holds it
        item_extension = 4,       // the extension with a leading "."
        item_extension_bare = 5,  // the extension without the dot
        item_url = 6,             // the file URL, as text
    };

    CPath() = default;
    // Narrow text is UTF-8; text that is not valid UTF-8 gives an empty path. A null pointer
    // gives an empty path here and leaves the path unchanged in assignment.
    CPath(char const* utf8);
    CPath(std::string const& utf8);
    CPath(wchar_t const* text);
    CPath(std::wstring const& text);
    // A length-prefixed string; with `hfs` its colon-separated HFS form is turned into POSIX.
    CPath(unsigned char const* pascal, bool hfs);
    CPath(CPath const&) = default;
    CPath(CPath&&) noexcept = default;

    CPath& operator=(char const* utf8);
    CPath& operator=(std::string const& utf8);
    CPath& operator=(wchar_t const* text);
    CPath& operator=(std::wstring const& text);
    CPath& operator=(CPath const&) = default;
    CPath& operator=(CPath&&) noexcept = default;

    // Joins one component with a single "/". A path that cannot be joined (empty) stays as it is.
    CPath& append(char const* utf8);
    CPath& append(std::string const& utf8);
    CPath& append(wchar_t const* component);
    CPath& append(std::wstring const& component);
    CPath& append(CPath const& component);
    CPath& operator+=(char const* utf8) { return append(utf8); }
    CPath& operator+=(std::string const& utf8) { return append(utf8); }
    CPath& operator+=(wchar_t const* component) { return append(component); }
    CPath& operator+=(std::wstring const& component) { return append(component); }
    CPath& operator+=(CPath const& component) { return append(component); }

    // Replaces the path by one of its items; item_whole and item_url change nothing, and an
    // item the path lacks (no extension, say) leaves it as it is.
    CPath& as_item(pathItem item);
    // `out` receives the item, or is left as it was when the path lacks it. item_url never
    // reaches `out`: the URL is only had through copy_unicode_item.
    void get_item(pathItem item, CPath& out) const;
    // The item as narrow text in `enc`; what the encoding cannot hold is cut off. Like get_item,
    // `out` is left as it was when the path lacks the item.
    void copy_ansi_item(pathItem item, std::string& out, encoding enc) const;
    void copy_unicode_item(pathItem item, std::wstring& out) const;

    // True when a native reference can be made: the item exists (links are followed).
    bool exists() const;
    bool is_directory() const;
    // The type by extension, else by what the system knows of the file; `out` is left as it
    // was when neither gives a type.
    void get_filetype(CFileType& out) const;

    operator wchar_t const*() const { return m_path.c_str(); }
    operator std::wstring const&() const { return m_path; }
    operator std::wstring const*() const { return &m_path; }
    std::wstring const& str() const { return m_path; }
    bool empty() const { return m_path.empty(); }

    // Same characters, case included; no normalisation, links and ".." are not resolved.
    bool operator==(CPath const& other) const { return m_path == other.m_path; }

private:
    // False, with `out` untouched, when the path lacks the item; an empty path clears `out`.
    bool _get_item(pathItem item, std::wstring& out) const;

    std::wstring m_path;
};

// A system folder. User folders follow the macOS layout under the home folder
// ("~/Library/Preferences", ...) and are created when missing; system-wide folders are
// answered only when they exist.
class CSystemPath : public CPath {
public:
    enum pathType : std::int32_t {
        app_folder = 0,          // the folder that holds the running application bundle
        app_bundle = 1,          // the running application bundle itself
        user_preferences = 2,    // ~/Library/Preferences
        user_app_support = 3,    // ~/Library/Application Support
        user_documents = 4,      // ~/Documents
        user_temporary = 5,      // $TMPDIR, else /tmp: the nearest twin of the user 'temp' folder
        local_applications = 6,  // /Applications
        local_app_support = 7,   // /Library/Application Support
        user_documents2 = 8,     // ~/Documents again: a separate value kept on purpose
        user_shared_data = 9,    // /Users/Shared
        user_desktop = 10,       // ~/Desktop
    };

    // Any value of 11 or more, or a folder that cannot be had, leaves the path empty.
    explicit CSystemPath(pathType type);
};

// Converts lazily between a path and a native reference, keeping whichever it was made from.
// status() is that of the last conversion: 0, -620 when there was no path, -8764 when the path
// could not be converted to UTF-8, else the file system's own answer (-43: not found).
class CFSRefConverter {
public:
    explicit CFSRefConverter(CPath const& path);
    explicit CFSRefConverter(FSRef const& ref);
    ~CFSRefConverter();

    // Raise CException (code 0) when the conversion yields nothing.
    operator FSRef const&();
    operator CPath const&();
    bool get_fsspec(FSSpec& out);
    std::int32_t status() const { return m_status; }

private:
    FSRef const* _make_FSRef();
    CPath const* _make_path();

    std::int32_t m_status = 0;
    std::unique_ptr<FSRef> m_ref;
    std::unique_ptr<CPath> m_path;
};

} // namespace v20
} // namespace Lumenary::CP
