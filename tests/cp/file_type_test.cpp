#include <gtest/gtest.h>

#include "cp/exception.h"
#include "cp/file_type.h"

using namespace Lumenary::CP;

TEST(FileType, ExtensionsMapToTheFirstRegisteredType) {
    struct Case {
        char const* extension;
        char type[5];
    };
    Case const cases[] = {
        {".JPG", "JPEG"}, {"jpeg", "JPEG"}, {"mf", "EMFf"}, {"emf", "EMFf"}, {"xyz", "????"}, {"", "????"},
    };
    for (Case const& c : cases) {
        EXPECT_EQ(CFileType(c.extension).get_type(), fourcc(c.type)) << c.extension;
    }
    EXPECT_EQ(CFileType(L".PDF").get_type(), fourcc("PDF "));
    EXPECT_TRUE(CFileType(static_cast<char const*>(nullptr)).is_unknown_type());
    EXPECT_TRUE(CFileType().is_unknown_type());
}

TEST(FileType, ExtensionListsKeepRegistrationOrder) {
    auto jpeg = CFileType::_get_extensions(fourcc("JPEG"));
    EXPECT_EQ(std::vector<std::wstring>(jpeg.begin(), jpeg.end()),
              (std::vector<std::wstring>{L"jpg", L"jpeg"}));
    auto unknown = CFileType::_get_extensions(fourcc("NONE"));
    EXPECT_EQ(std::vector<std::wstring>(unknown.begin(), unknown.end()),
              std::vector<std::wstring>{L"???"});
    std::string main;
    ASSERT_TRUE(CFileType(fourcc("TIFF")).copy_main_extension(main));
    EXPECT_EQ(main, "tif");
}

TEST(FileType, RegistrationAppendsAndRefusesNull) {
    EXPECT_TRUE(CFileType::register_type(fourcc("RFLM"), ".RFLib"));
    EXPECT_TRUE(CFileType::register_type(fourcc("RFL2"), L"rflib"));
    EXPECT_EQ(CFileType("rflib").get_type(), fourcc("RFLM"));  // the first one stays main
    try {
        CFileType::register_type(fourcc("ABCD"), static_cast<char const*>(nullptr));
        FAIL() << "a null extension must raise";
    } catch (CException const& e) {
        EXPECT_EQ(e.code(), 3u);
        EXPECT_STREQ(e.what(), "Bad params were used.");
    }
}
