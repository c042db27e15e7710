#include <gtest/gtest.h>

#include <QHash>
#include <QStringList>

#include "tests/fixtures/recording_view.h"
#include "wizard/navigation_engine.h"

using namespace Refloom;
using rf_test::RecordingView;

namespace {

// An engine whose operations only record their names, unless a test scripts one.
struct Harness {
    RecordingView view;
    QStringList ran;
    QHash<QString, std::function<QVariant()>> script;
    NavigationEngine engine{view, [this](QString const& name) {
                                ran.append(name);
                                auto found = script.constFind(name);
                                return found == script.constEnd() ? QVariant() : (*found)();
                            }};

    QList<OutlineState> outlineStates() const {
        QList<OutlineState> states;
        for (OutlineLine const& line : view.outline) states.append(line.state);
        return states;
    }
};

constexpr auto D = OutlineState::done, C = OutlineState::current, T = OutlineState::to_come;

// Rows: panel, label, enter, enter2, leave, leave2.
std::array<InstallState, 6> const kTestTable = {{
    {1, "First", nullptr, "enterFirst", "leaveFirst", "leaveFirst2"},
    {23, nullptr, nullptr, nullptr, nullptr, nullptr},
    {2, "Skipped", nullptr, "enterSkipped", nullptr, nullptr},
    {3, "Target", nullptr, "enterTarget", nullptr, nullptr},
    {-1, nullptr, nullptr, nullptr, nullptr, nullptr},
    {-1, nullptr, nullptr, nullptr, nullptr, nullptr},
}};

} // namespace

TEST(NavigationEngine, WalksAFlowToItsTerminatorAndBackOverProgressPages) {
    Harness h;
    h.engine.startState(flow_install, kAutomaticMode);
    EXPECT_FALSE(h.view.buttons[Button::back].enabled);
    EXPECT_FALSE(h.view.buttons[Button::help].shown);  // install flows have no help
    for (int i = 0; i < 3; ++i) h.engine.nextState();
    EXPECT_EQ(h.view.pages, (QList<int>{1, 4, 10, 7}));

    // Onto the terminator: no page, no operation, Back still enabled.
    h.ran.clear();
    h.engine.nextState();
    EXPECT_EQ(h.engine.currentTab(), -1);
    EXPECT_EQ(h.view.pages.size(), 4);
    EXPECT_FALSE(h.ran.contains(QStringLiteral("installAppLogo")));
    EXPECT_TRUE(h.view.buttons[Button::back].enabled);

    h.engine.skipToPrevState();
    h.engine.skipToPrevState();  // over the progress page
    EXPECT_EQ(h.engine.state(), 1);
    h.engine.skipToPrevState();
    EXPECT_EQ(h.view.page, 1);
    EXPECT_FALSE(h.view.buttons[Button::back].enabled);

    // Two progress pages in a row: Back steps over one of them only.
    h.engine.startState(flow_install);
    h.engine.skipToRelativeState(8);
    h.engine.skipToPrevState();
    EXPECT_EQ(h.engine.state(), 6);
    EXPECT_EQ(h.view.page, 10);
}

TEST(NavigationEngine, RunsEnterAndLeaveOperationsInOrder) {
    Harness h;
    h.engine.startState(flow_patch);
    h.engine.skipToState(QStringLiteral("Found"));
    h.ran.clear();
    h.engine.nextState();
    h.engine.nextState();
    EXPECT_EQ(h.ran, (QStringList{"installAppLogo", "patchProgressUI", "installAppLogo", "doPatchYes"}));
    h.ran.clear();
    h.engine.nextState();  // onto "Done"
    h.engine.nextState();  // leaves it through its exit operation
    EXPECT_EQ(h.ran, (QStringList{"installAppLogo", "setDone", "doUninstallExit"}));
}

TEST(NavigationEngine, ALeaveOperationThatAnswersHoldsNextButNeverBack) {
    Harness h;
    h.engine.startTables(kTestTable, {});
    h.script[QStringLiteral("leaveFirst")] = [] { return QVariant(true); };
    QList<int> const pages = h.view.pages;
    h.engine.nextState();
    EXPECT_EQ(h.engine.state(), 0);
    EXPECT_EQ(h.view.pages, pages);
    EXPECT_FALSE(h.ran.contains(QStringLiteral("leaveFirst2")));
    h.ran.clear();
    h.engine.prevState();
    EXPECT_EQ(h.ran.mid(0, 2), (QStringList{"leaveFirst", "leaveFirst2"}));
    EXPECT_EQ(h.engine.state(), -1);
}

TEST(NavigationEngine, LeaveOperationThatJumpsReplacesTheStep) {
    Harness h;
    h.script[QStringLiteral("leaveFirst")] = [&h] {
        h.engine.skipToState(QStringLiteral("Target"));
        return QVariant();
    };
    h.engine.startTables(kTestTable, {});
    h.engine.nextState();
    EXPECT_EQ(h.engine.state(), 3);
    // Entered by the jump, then again because the row changed while leaving.
    EXPECT_EQ(h.ran.count(QStringLiteral("enterTarget")), 2);
    EXPECT_FALSE(h.ran.contains(QStringLiteral("enterSkipped")));
}

TEST(NavigationEngine, RowOnPanel23AlsoStepsOverTheNextRow) {
    Harness h;
    h.engine.startTables(kTestTable, {});
    h.engine.skipToNextState();  // onto panel 23 without leaving
    h.engine.nextState();
    EXPECT_EQ(h.engine.state(), 3);
    EXPECT_FALSE(h.ran.contains(QStringLiteral("enterSkipped")));
}

TEST(NavigationEngine, DoneStateStopsNextAndKeepsBackInPlace) {
    Harness h;
    h.engine.startTables(kTestTable, {});
    h.engine.setDone();
    h.engine.nextState();
    EXPECT_EQ(h.engine.state(), 0);
    h.ran.clear();
    h.engine.prevState();
    EXPECT_EQ(h.engine.state(), 0);
    EXPECT_EQ(h.ran, (QStringList{"leaveFirst", "leaveFirst2"}));
    h.engine.startState(flow_patch);  // a new flow clears it
    EXPECT_TRUE(h.view.buttons[Button::help].shown);
    EXPECT_EQ(h.engine.secretIdentity(), QStringLiteral("Customizer_Patcher"));
    h.engine.nextState();
    EXPECT_EQ(h.engine.state(), 1);
    int const size = h.engine.listSize();
    h.engine.startState(2);  // an unknown flow keeps the tables
    EXPECT_EQ(h.engine.listSize(), size);
}

TEST(NavigationEngine, JumpsByLabelAndByOffset) {
    Harness h;
    h.engine.startState(flow_patch);
    QList<OutlineLine> const outline = h.view.outline;
    h.engine.skipToState(QStringLiteral("Nothing"));  // in the second block
    EXPECT_EQ(h.engine.state(), 9);
    EXPECT_EQ(h.view.page, 18);
    EXPECT_EQ(h.view.outline, outline);  // jumps leave the outline to the caller

    h.engine.skipToState(QStringLiteral("altMRGN"));
    EXPECT_EQ(h.engine.state(), h.engine.listSize());
    EXPECT_EQ(h.view.page, 18);

    h.engine.skipToState(QStringLiteral("Found"));
    h.engine.skipToRelativeState(7);  // 4 + 7 is past the table
    EXPECT_EQ(h.view.beeps, 1);
    EXPECT_EQ(h.engine.state(), 4);
    h.engine.skipToRelativeState(-3);
    EXPECT_EQ(h.engine.state(), 1);
    EXPECT_EQ(h.view.page, 4);
}

TEST(NavigationEngine, OutlineAndTitleFollowThePanel) {
    Harness h;
    h.engine.startState(flow_install);  // row 0 is on panel 0, which no stage lists
    EXPECT_EQ(h.outlineStates(), (QList<OutlineState>{C, T, T, T, T, T, T}));
    EXPECT_EQ(h.view.outline.first().text, QStringLiteral("Welcome"));
    EXPECT_EQ(h.view.title, QString());  // panel 0 has no title

    h.engine.startState(flow_patch);
    EXPECT_EQ(h.view.title, QStringLiteral("Welcome to Refloom 2025.3 Update"));
    h.engine.skipToState(QStringLiteral("Found"));
    h.engine.doNextState();  // panel 10
    EXPECT_EQ(h.outlineStates(), (QList<OutlineState>{D, D, D, D, C, T}));

    h.engine.startState(flow_custom);
    for (int i = 0; i < 5; ++i) h.engine.skipToNextState();  // panel 11 lights "Summary"
    EXPECT_EQ(h.outlineStates(), (QList<OutlineState>{D, D, C}));
}
