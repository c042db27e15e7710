// UTF-16 names (the File Manager's form) and the C library's own UTF-8 conversion.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace Lumenary::CP {

// A file name of up to 255 UTF-16 units, length first, as the File Manager hands them out.
struct HFSUniStr255 {
    std::uint16_t length;
    std::uint16_t unicode[255];
};

// UTF-8 to wide and back with the C library's converter under a "UTF-8" character-type locale:
// one call measures, a second converts. False when either meets an invalid sequence.
bool utf8_to_wchar_wrapper(char const* source, std::size_t count, std::wstring& out);
bool wchar_to_utf8_wrapper(wchar_t const* source, std::size_t count, std::string& out);

namespace Private {

// UTF-16 units for a wide text (owned), or a view of borrowed units (an HFSUniStr255 or a
// pointer and count), and back to wide text.
class _UniCharConverter {
public:
    explicit _UniCharConverter(std::wstring const& text);
    _UniCharConverter(wchar_t const* text, std::size_t length);
    explicit _UniCharConverter(HFSUniStr255 const& name);
    _UniCharConverter(std::uint16_t const* units, std::size_t count);
    virtual ~_UniCharConverter();

    std::uint16_t const* units() const { return m_units; }
    std::size_t count() const { return m_count; }
    // Appends nothing and leaves `out` alone when there are no units.
    void get_wstring(std::wstring& out) const;

private:
    std::unique_ptr<std::uint16_t[]> m_owned;
    std::uint16_t const* m_units = nullptr;
    std::size_t m_count = 0;
};

} // namespace Private
} // namespace Lumenary::CP
