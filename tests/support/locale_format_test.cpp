#include <gtest/gtest.h>

#include <QLocale>

#include "support/locale_format.h"

class LocaleFormat : public ::testing::Test {
protected:
    void SetUp() override { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }
    void TearDown() override { QLocale::setDefault(QLocale::c()); }
};

TEST_F(LocaleFormat, NumbersGroupAndKeepAtMostTheAskedDigits) {
    EXPECT_EQ(Common::localizedWideStringFromNumber(1234567), L"1,234,567");
    EXPECT_EQ(Common::localizedWideStringFromFloat(1.23456f, 2), L"1.23");
    EXPECT_EQ(Common::localizedWideStringFromFloat(1.5f, 3), L"1.5");
    EXPECT_EQ(Common::localizedWideStringFromFloat(2.0f, 2), L"2");
    EXPECT_EQ(Common::localizedWideStringFromFloat(1234.5f, 0), L"1,235");
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    EXPECT_EQ(Common::localizedWideStringFromFloat(1.23456f, 2), L"1,23");
}

TEST_F(LocaleFormat, TimestampsInShortAndFullStyle) {
    std::wstring brief, full;
    ASSERT_TRUE(Common::GetLocalizedTimestamp(1700000000, Common::date_short, brief));
    ASSERT_TRUE(Common::GetLocalizedTimestamp(1700000000, Common::DateFormat(7), full));
    EXPECT_NE(full.find(L"2023"), std::wstring::npos);
    EXPECT_GT(full.size(), brief.size());
}
