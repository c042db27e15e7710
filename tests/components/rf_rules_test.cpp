#include <gtest/gtest.h>

#include <fstream>

#include "components/rf_rules.h"
#include "tests/fixtures/scratch.h"

using namespace Refloom;
using rf_test::Scratch;

namespace {

QString write(Scratch const& scratch, std::string const& text) {
    return QString::fromStdString(scratch.write("Customizer.rules.txt", text));
}

} // namespace

TEST(rfRules, FieldsAreTakenAsTheyStandAndMissingOnesAreNull) {
    Scratch s;
    rfRules const rules(write(s, "Cat|0|A category|inst_Category|Styles\n"
                                 "Four|1|desc|inst_File\n"
                                 "| |||a||b\n"
                                 "Alone\n"));
    ASSERT_EQ(rules.count(), 5);  // the empty line after the last newline is a rule too
    EXPECT_EQ(rules.getItemFiles(0), QStringList{"Styles"});
    EXPECT_FALSE(rules.getItemFiles(1));  // four fields: no files
    EXPECT_EQ(rules.getItemName(2), QString(""));
    EXPECT_EQ(rules.getItemFlag(2), QString(" "));
    EXPECT_EQ(rules.getItemFiles(2), (QStringList{"a", "", "b"}));
    EXPECT_EQ(rules.getItemName(3), QString("Alone"));
    EXPECT_TRUE(rules.getItemFlag(3).isNull());
    EXPECT_TRUE(rules.getItemMethod(4).isNull());
    EXPECT_EQ(rules.getItemName(4), QString(""));
    EXPECT_TRUE(rules.getItemName(5).isNull());
    EXPECT_TRUE(rules.getItemName(-1).isNull());
}

TEST(rfRules, ChildrenBelongToTheNearestCategoryAbove) {
    Scratch s;
    rfRules const rules(write(s, "Orphan|1|before any category|inst_File\n"
                                 "A|0|a|inst_Category\n"
                                 "a1|1|x|inst_File\n"
                                 "a2|yes|x|inst_File\n"
                                 "B|0|b|inst_Category\n"
                                 "C|0|c|inst_Category\n"
                                 "c1|1|x|inst_File\n"
                                 "NoFlag\n"
                                 "Late|0|after the end|inst_Category\n"));
    EXPECT_EQ(rfRules::unpack(rules.getRootItemChildren()), (QList<int>{1, 4, 5}));
    EXPECT_EQ(rfRules::unpack(rules.getItemChildren(1)), (QList<int>{2, 3}));
    EXPECT_TRUE(rules.getItemChildren(4).isNull());  // a category without members
    EXPECT_EQ(rfRules::unpack(rules.getItemChildren(5)), QList<int>{6});
    EXPECT_TRUE(rules.getItemChildren(2).isNull());  // a member has none
    EXPECT_TRUE(rules.getItemChildren(0).isNull());
}

TEST(rfRules, BadFilesGiveTheEmptyTableOrStillParse) {
    Scratch s;
    EXPECT_EQ(rfRules(QString::fromStdString(s / "missing.txt")).count(), 0);
    rfRules const notUtf8(write(s, "Caf\xe9|0|d|inst_Dir\n"));
    EXPECT_EQ(notUtf8.count(), 0);
    EXPECT_TRUE(notUtf8.getRootItemChildren().isNull());

    {
        std::ofstream big(s / "big.txt");
        std::string const line = "Item|1|a rule of a large file|inst_File|file\n";
        for (size_t written = 0; written < (size_t(50) << 20); written += line.size()) big << line;
    }
    rfRules const large(QString::fromStdString(s / "big.txt"));
    EXPECT_GT(large.count(), 1000000);
    EXPECT_TRUE(large.getRootItemChildren().isNull());  // members only: no category
    EXPECT_EQ(large.getItemMethod(large.count() - 2), QString("inst_File"));
}
