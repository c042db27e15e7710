#include <gtest/gtest.h>

#include "cp/exception.h"
#include "cp/file_type.h"

using namespace Lumenary::CP;

TEST(FileType, ExtensionsMapToTheFirstRegisteredType) {
    EXPECT_EQ(CFileType(".JPG").get_type(), fourcc("JPEG"));
    EXPECT_EQ(CFileType("doc").get_type(), fourcc("W8BN"));
    EXPECT_EQ(CFileType(L".PDF").get_type(), fourcc("PDF "));
    EXPECT_EQ(CFileType("xyz").get_type(), fourcc("????"));
    EXPECT_TRUE(CFileType(static_cast<char const*>(nullptr)).is_unknown_type());
    EXPECT_TRUE(CFileType().is_unknown_type());
}

TEST(FileType, ExtensionListsFallBackToTheUnknownOne) {
    auto unknown = CFileType::_get_extensions(fourcc("NONE"));
    EXPECT_EQ(std::vector<std::wstring>(unknown.begin(), unknown.end()), std::vector<std::wstring>{L"???"});
    std::string main;
    ASSERT_TRUE(CFileType(fourcc("TIFF")).copy_main_extension(main));
    EXPECT_EQ(main, "tif");
}

TEST(FileType, RegistrationAppendsAndRefusesNull) {
    EXPECT_TRUE(CFileType::register_type(fourcc("RFLM"), ".RFLib"));
    EXPECT_TRUE(CFileType::register_type(fourcc("RFL2"), L"rflib"));
    EXPECT_EQ(CFileType("rflib").get_type(), fourcc("RFLM"));  // the first one stays main
    EXPECT_THROW(CFileType::register_type(fourcc("ABCD"), static_cast<char const*>(nullptr)), CException);
}
