#include <gtest/gtest.h>

#include "cp/exception.h"
#include "cp/string_converter.h"
#include "cp/unichar.h"

using namespace Lumenary::CP;

namespace {

std::string narrow(std::wstring const& text, encoding enc, unsigned code_page = 1252) {
    return CStringConverter(text, enc, code_page);
}

std::wstring wide(std::string const& text, encoding enc, unsigned code_page = 1252) {
    return CStringConverter(text, enc, code_page);
}

} // namespace

TEST(StringConverter, ConvertsEachEncodingBothWays) {
    struct Case {
        encoding enc;
        unsigned code_page;
        std::wstring text;
        std::string bytes;
    };
    Case const cases[] = {
        {enc_utf8, 1252, L"Gr\u00fc\u00dfe \u20ac \U0001F600", "Gr\xC3\xBC\xC3\x9F" "e \xE2\x82\xAC \xF0\x9F\x98\x80"},
        {enc_ansi, 1252, L"caf\u00e9 \u20ac", "caf\xE9 \x80"},
        {enc_mac_roman, 0, L"caf\u00e9", "caf\x8E"},
        {enc_codepage, 437, L"\u00e9", "\x82"},
    };
    for (Case const& c : cases) {
        EXPECT_EQ(narrow(c.text, c.enc, c.code_page), c.bytes) << c.enc << "/" << c.code_page;
        EXPECT_EQ(wide(c.bytes, c.enc, c.code_page), c.text) << c.enc << "/" << c.code_page;
    }
}

TEST(StringConverter, WhatCannotBeTranslatedGivesEmptyOrCutText) {
    EXPECT_EQ(narrow(L"", enc_none), "");
    EXPECT_EQ(wide("", enc_none), L"");
    // An unrepresentable character ends the narrow text.
    EXPECT_EQ(narrow(L"abc\u2192def", enc_ansi), "abc");
    // An encoding iconv lacks, or none at all, fails every translation.
    EXPECT_EQ(narrow(L"abc", enc_symbol), "");
    EXPECT_EQ(wide("abc", enc_none), L"");
    // Invalid input.
    EXPECT_EQ(wide("ab\xFF", enc_utf8), L"");
    EXPECT_EQ(wide("\xED\xA0\x80", enc_utf8), L"");  // an encoded surrogate
    EXPECT_EQ(narrow(std::wstring(1, wchar_t(0xD800)), enc_utf8), "");
}

TEST(StringConverter, UpdateTranslationKeepsCacheForSameEncodingAndRetargetsOtherwise) {
    // "\xFF" is no UTF-8: only the kept text can give it back.
    CStringConverter same(std::string("\xFF"), enc_utf8, 1252);
    same._update_translation(enc_utf8, 0);
    EXPECT_EQ(static_cast<std::string const&>(same), "\xFF");

    CStringConverter retarget(std::string("caf\xC3\xA9"), enc_utf8, 1252);
    retarget._update_translation(enc_ansi, 0);
    EXPECT_EQ(static_cast<std::string const&>(retarget), "caf\xE9");
    retarget._update_translation(enc_codepage, 437);
    EXPECT_EQ(static_cast<std::string const&>(retarget), "caf\x82");
}

TEST(StringConverter, UtfShorthandsAndPlatformPath) {
    EXPECT_STREQ(static_cast<char const*>(Common::ToUTF8(L"\u00e9")), "\xC3\xA9");
    EXPECT_STREQ(static_cast<char const*>(Common::ToUTF8(nullptr)), "");
    EXPECT_STREQ(static_cast<wchar_t const*>(Common::UTF8ToWide("\xC3\xA9")), L"\u00e9");
    EXPECT_STREQ(static_cast<wchar_t const*>(Common::UTF8ToWide(nullptr)), L"");
    EXPECT_STREQ(Common::MakePlatformPath("a/\xC3\xA9", L"/dest"), L"/dest/a/\u00e9");
}

TEST(CLibraryUtf8, ConvertsBothWaysAndRejectsInvalidInput) {
    std::string const bytes = "\xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80";
    std::wstring text;
    ASSERT_TRUE(utf8_to_wchar_wrapper(bytes.data(), bytes.size(), text));
    EXPECT_EQ(text, L"\u00fc\u20ac\U0001F600");
    std::string back;
    ASSERT_TRUE(wchar_to_utf8_wrapper(text.data(), text.size(), back));
    EXPECT_EQ(back, bytes);
    EXPECT_FALSE(utf8_to_wchar_wrapper("a\xFF", 2, text));
}

TEST(UniCharConverter, ReadsUtf16NamesAndCutsWideTextToItsLength) {
    HFSUniStr255 name{3, {0x0041, 0xD83D, 0xDE00}};
    std::wstring out;
    Private::_UniCharConverter(name).get_wstring(out);
    EXPECT_EQ(out, L"A\U0001F600");

    // Two wide characters give two UTF-16 units, so the emoji loses its second half.
    Private::_UniCharConverter units(std::wstring(L"A\U0001F600"));
    ASSERT_EQ(units.count(), 2u);
    EXPECT_EQ(units.units()[1], 0xD83D);

    std::wstring untouched = L"keep";
    Private::_UniCharConverter(static_cast<std::uint16_t const*>(nullptr), 0).get_wstring(untouched);
    EXPECT_EQ(untouched, L"keep");
}
