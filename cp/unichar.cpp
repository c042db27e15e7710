#include "cp/unichar.h"

#include <cwchar>
#include <locale.h>

namespace Lumenary::CP {
namespace {

constexpr size_t kError = static_cast<size_t>(-1);

// Switches the calling thread to a UTF-8 character-type locale for its lifetime.
class Utf8Locale {
public:
    Utf8Locale() {
        m_locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        if (!m_locale) m_locale = newlocale(LC_CTYPE_MASK, "UTF-8", nullptr);
        if (m_locale) m_previous = uselocale(m_locale);
    }
    ~Utf8Locale() {
        if (!m_locale) return;
        uselocale(m_previous);
        freelocale(m_locale);
    }
    explicit operator bool() const { return m_locale != nullptr; }

private:
    locale_t m_locale = nullptr;
    locale_t m_previous = nullptr;
};

// UTF-16 code units to wide characters, pairing surrogates; a lone surrogate is kept as is.
void utf16_to_wide(std::uint16_t const* units, std::size_t count, std::wstring& out) {
    out.clear();
    out.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        char32_t c = units[i];
        if (c >= 0xD800 && c < 0xDC00 && i + 1 < count && units[i + 1] >= 0xDC00 &&
            units[i + 1] < 0xE000) {
            c = 0x10000 + ((c - 0xD800) << 10) + (units[i + 1] - 0xDC00);
            ++i;
        }
        out.push_back(static_cast<wchar_t>(c));
    }
}

} // namespace

bool utf8_to_wchar_wrapper(char const* source, std::size_t count, std::wstring& out) {
    Utf8Locale locale;
    if (!locale || !source) return false;
    std::mbstate_t state{};
    char const* cursor = source;
    size_t needed = mbsnrtowcs(nullptr, &cursor, count, 0, &state);
    if (needed == kError) return false;
    out.resize(needed);
    state = {};
    cursor = source;
    return mbsnrtowcs(out.data(), &cursor, count, needed, &state) != kError;
}

bool wchar_to_utf8_wrapper(wchar_t const* source, std::size_t count, std::string& out) {
    Utf8Locale locale;
    if (!locale || !source) return false;
    std::mbstate_t state{};
    wchar_t const* cursor = source;
    size_t needed = wcsnrtombs(nullptr, &cursor, count, 0, &state);
    if (needed == kError) return false;
    out.resize(needed);
    state = {};
    cursor = source;
    return wcsnrtombs(out.data(), &cursor, count, needed, &state) != kError;
}

namespace Private {

_UniCharConverter::_UniCharConverter(std::wstring const& text)
    : _UniCharConverter(text.data(), text.size()) {}

_UniCharConverter::_UniCharConverter(wchar_t const* text, std::size_t length) {
    // Room for length + 17 units, of which `length` are filled: a character beyond the Basic
    // Multilingual Plane takes two units, so such a text is cut short. Intended.
    m_owned = std::make_unique<std::uint16_t[]>(length + 17);
    std::size_t filled = 0;
    for (std::size_t i = 0; i < length && filled < length; ++i) {
        auto c = static_cast<std::uint32_t>(text[i]);
        if (c >= 0x10000 && c < 0x110000) {
            c -= 0x10000;
            m_owned[filled++] = static_cast<std::uint16_t>(0xD800 + (c >> 10));
            if (filled < length) m_owned[filled++] = static_cast<std::uint16_t>(0xDC00 + (c & 0x3FF));
        } else {
            m_owned[filled++] = static_cast<std::uint16_t>(c);
        }
    }
    m_units = m_owned.get();
    m_count = filled;
}

_UniCharConverter::_UniCharConverter(HFSUniStr255 const& name)
    : m_units(name.unicode), m_count(name.length) {}

_UniCharConverter::_UniCharConverter(std::uint16_t const* units, std::size_t count)
    : m_units(units), m_count(count) {}

_UniCharConverter::~_UniCharConverter() = default;

void _UniCharConverter::get_wstring(std::wstring& out) const {
    if (!m_units || m_count == 0) return;
    utf16_to_wide(m_units, m_count, out);
}

} // namespace Private
} // namespace Lumenary::CP
