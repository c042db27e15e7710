// File types as four-character codes, found from extensions through a registry that starts
// with a fixed table of common types.
#pragma once

#include <cstdint>
#include <list>
#include <string>

namespace Lumenary::CP {

// The four-character code of "ABCD", as the Mac writes type codes.
constexpr std::uint32_t fourcc(char const (&code)[5]) {
    return std::uint32_t(std::uint8_t(code[0])) << 24 | std::uint32_t(std::uint8_t(code[1])) << 16 |
           std::uint32_t(std::uint8_t(code[2])) << 8 | std::uint32_t(std::uint8_t(code[3]));
}

class CFileType {
public:
    static constexpr std::uint32_t kUnknown = fourcc("????");

    CFileType() { _init(); }
    explicit CFileType(std::uint32_t type);
    // From an extension, with or without its leading "."; narrow text is Windows Latin-1.
    // An unregistered extension is the unknown type; a null one leaves it unknown.
    explicit CFileType(char const* extension);
    explicit CFileType(wchar_t const* extension);

    std::uint32_t get_type() const { return m_type; }
    void set_type(std::uint32_t type) { m_type = type; }
    bool is_unknown_type() const { return m_type == kUnknown; }
    bool operator==(CFileType const& other) const { return m_type == other.m_type; }

    // Adds an extension to a type (and the type to the extension), after those already there,
    // so the first registration stays the main one. Raises CException (code 3) for a null
    // extension.
    static bool register_type(std::uint32_t type, wchar_t const* extension);
    static bool register_type(std::uint32_t type, char const* extension);

    // The type's extensions in registration order, or those of '????' for an unknown type.
    static std::list<std::wstring> _get_extensions(std::uint32_t type);
    // The first extension of this type as narrow text; false when it has none.
    bool copy_main_extension(std::string& out) const;

private:
    static void _init();
    void _determine_type(std::wstring ext);

    std::uint32_t m_type = kUnknown;
};

} // namespace Lumenary::CP
