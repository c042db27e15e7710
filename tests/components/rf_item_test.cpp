#include <gtest/gtest.h>

#include <QAbstractItemModelTester>

#include "components/component_model.h"
#include "tests/fixtures/scratch.h"

using namespace Refloom;
using rf_test::Scratch;

namespace {

// Two categories: "A" with three members, "B" with none.
struct Tree {
    Scratch scratch;
    rfRules rules{QString::fromStdString(scratch.write("rules.txt", "A|0|cat a|inst_Category|x\n"
                                                                    "a1|1|one|inst_File\n"
                                                                    "a2|1|two|inst_File\n"
                                                                    "a3|1|three|inst_File\n"
                                                                    "B|0|cat b|inst_Dir|y\n"))};
    rfItem root{rules, -1, nullptr};
    rfItem& a() { return *root.childAtIndex(0); }
    rfItem& member(int i) { return *a().childAtIndex(i); }
    void states(std::initializer_list<int> list) {
        int rule = 0;
        for (int state : list) rules.setInitialItemState(rule++, state);
    }
};

} // namespace

TEST(rfItem, ClicksKeepCategoryAndMembersConsistent) {
    Tree t;
    t.states({1, 1, 0, 0});
    t.member(0).click(false);  // the last ticked member: the category turns off
    EXPECT_EQ(t.a().getItemState(), 0);
    t.member(1).click(true);  // one of several: mixed
    EXPECT_EQ(t.a().getItemState(), item_mixed);
    t.a().click(true);  // a mixed category ticked: all on
    for (int i = 0; i < 3; ++i) EXPECT_EQ(t.member(i).getItemState(), 1);

    t.states({0, 0, -1, 0});
    EXPECT_FALSE(t.member(1).click(true));  // unavailable: ignored
    EXPECT_EQ(t.member(1).getItemState(), -1);
    t.a().click(true);  // but its category overrides it
    EXPECT_EQ(t.member(1).getItemState(), 1);
}

TEST(ComponentModel, ShowsTheTreeWithTriStateBoxes) {
    Tree t;
    t.states({-2, 1, -1, 0, 0});
    ComponentModel model(t.root);
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    QModelIndex const a = model.index(0, ComponentModel::installed);
    EXPECT_EQ(model.data(a, Qt::EditRole).toString(), QString("1"));  // mixed counts as installed
    EXPECT_EQ(model.data(a, Qt::CheckStateRole).toInt(), int(Qt::PartiallyChecked));
    EXPECT_EQ(model.data(model.index(0, ComponentModel::info)).toString(), QString("cat a"));
    QModelIndex const unavailable = model.index(1, ComponentModel::installed, model.index(0, 0));
    EXPECT_FALSE(model.flags(unavailable) & Qt::ItemIsEnabled);
    EXPECT_FALSE(model.setData(unavailable, Qt::Checked, Qt::CheckStateRole));
    EXPECT_EQ(model.data(model.index(0, ComponentModel::info), Qt::ToolTipRole).toString(), QString("A: cat a"));

    EXPECT_TRUE(model.setData(a, Qt::Checked, Qt::CheckStateRole));
    EXPECT_EQ(model.data(unavailable, Qt::CheckStateRole).toInt(), int(Qt::Checked));
    EXPECT_FALSE(model.flags(model.index(0, ComponentModel::component)) & Qt::ItemIsUserCheckable);
}
