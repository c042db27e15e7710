#include <gtest/gtest.h>

#include <map>

#include "components/install_driver.h"
#include "tests/fixtures/log_lines.h"
#include "tests/fixtures/recording_view.h"
#include "tests/fixtures/scratch.h"
#include "wizard/state_tables.h"

using namespace Refloom;
using rf_test::Scratch;

namespace {

// Every method once, a rule without a method, one with an unknown method, and the empty rule
// after the last newline.
constexpr char kRules[] = "Word|0|the add-in|inst_Word\n"
                          "Tips|0|a file|inst_File|Tips.txt\n"
                          "Library|0|a folder|inst_Dir|~/Lib\n"
                          "Services|0|the helper|inst_Services\n"
                          "Spotlight|0|the importer|inst_Spotlight\n"
                          "Extension|0|the extension|inst_Fernwick\n"
                          "Uninstall|0|remove all|inst_Uninst\n"
                          "Styles|0|styles|inst_Category|Styles\n"
                          "Content|0|content|inst_allCategories\n"
                          "Heading|0|no method\n"
                          "Odd|0|unknown|inst_Nothing\n";

// The driver with recording handlers: each answers the state or result it is given.
struct Driver {
    Scratch scratch;
    rfRules rules{QString::fromStdString(scratch.write("rules.txt", kRules))};
    InstallerLog log{SystemRoot(QString::fromStdString(scratch / "root"), QStringLiteral("/home/u"))};
    rf_test::RecordingView view;
    NavigationEngine engine{view, [](QString const&) { return QVariant(); }};
    std::map<QString, int> answers;  // selector -> what it answers; absent: not registered
    QStringList calls;
    InstallDriver driver{rules, log, view, engine,
                         [this](QString const& selector, int mode, int item, QString const& source, QString const& dest)
                             -> std::optional<int> {
                             auto found = answers.find(selector);
                             if (found == answers.end()) return std::nullopt;
                             calls.append(QStringLiteral("%1 %2 %3 %4 %5").arg(selector.section(QLatin1Char(':'), 0, 0)).arg(mode).arg(item).arg(source.isNull() ? "nil" : source, dest.isNull() ? "nil" : dest));
                             return found->second;
                         },
                         QStringLiteral("/inst/Up.app/../")};

    Driver() {
        char const* const registered[] = {"installWordMode", "installFileMode", "installDirMode", "installUninstMode",
                                          "installCategoryMode", "installAllCategoriesMode"};
        for (char const* name : registered) answers[QString::fromLatin1(name) + ":itemNum:source:dest:"] = 1;
        engine.startState(flow_custom);
    }
    QStringList messages() const { return rf_test::logMessages(log.path()); }
    QString calledName(int i) const { return calls.value(i).section(QLatin1Char(' '), 0, 0); }
};

} // namespace

TEST(InstallDriver, CheckSeedsEveryRuleWithAMethodFromItsHandler) {
    Driver d;
    d.answers["installDirMode:itemNum:source:dest:"] = -1;
    d.answers["installUninstMode:itemNum:source:dest:"] = 0;
    d.rules.setItemState(9, 7);  // no method: left as it was
    d.driver.installCheck();
    // Services, Spotlight and the extension have no handler yet, like the unknown method.
    QList<int> states;
    for (int rule = 0; rule < 11; ++rule) states.append(d.rules.getItemInitialState(rule));
    EXPECT_EQ(states, (QList<int>{1, 1, -1, -1, -1, -1, 0, 1, 1, 0, -1}));
    EXPECT_EQ(d.rules.getItemState(9), 7);
    EXPECT_EQ(d.calls[1], QString("installFileMode 1 1 nil /inst/Up.app/../"));  // the file rule's destination
    EXPECT_EQ(d.calls[2], QString("installDirMode 1 2 nil nil"));
}

TEST(InstallDriver, ChangeActsOnEveryDefiniteStateAndCarriesTheResultOver) {
    Driver d;
    d.answers["installFileMode:itemNum:source:dest:"] = 0;
    int const states[] = {1, 0, 1, 1, 0, 1, 0, -2, -1, 1, 1};
    for (int rule = 0; rule < 11; ++rule) d.rules.setInitialItemState(rule, states[rule]);
    d.driver.makeChange();
    QStringList const lines = d.messages();
    EXPECT_TRUE(lines.contains("Customize install"));
    // A rule this pass has no handler for is noted, and shows the last result all the same.
    EXPECT_EQ(lines.filter("No step of this pass handles").size(), 5);
    EXPECT_EQ(lines.filter(" Result: "), (QStringList{"Installing: the add-in Result: Succeeded", "Uninstalling: a file Result: Failed",
                                                      "Installing: a folder Result: Succeeded", "Installing: the helper Result: Succeeded",
                                                      "Uninstalling: the importer Result: Succeeded", "Installing: the extension Result: Succeeded",
                                                      "Uninstalling: remove all Result: Succeeded", "Installing: unknown Result: Succeeded"}));
    EXPECT_TRUE(d.driver.outcomeLines().isEmpty()) << "nothing was asked to change: every step was a repair";
    // The add-in is removed before it is installed; mixed and unavailable rules are passed over.
    EXPECT_EQ(d.calls.mid(0, 2), (QStringList{"installWordMode 3 0 nil nil", "installWordMode 2 0 nil nil"}));
    EXPECT_FALSE(d.calls.join(' ').contains("installCategoryMode"));
    EXPECT_FALSE(d.calls.join(' ').contains("installUninstMode"));
}

TEST(InstallDriver, TheChangesAskedForAreListedAsTheyHappened) {
    Driver d;
    d.answers["installFileMode:itemNum:source:dest:"] = 0;      // the file handler removes nothing
    d.answers["installCategoryMode:itemNum:source:dest:"] = 0;  // a category's copy status: 0 is done
    int const found[] = {1, 1, 0, 0, 0, 0, 0, 0, -1, 0, 0};
    int const asked[] = {1, 0, 1, 1, 0, 0, 0, 1, -1, 0, 0};
    for (int rule = 0; rule < 11; ++rule) {
        d.rules.setInitialItemState(rule, found[rule]);
        d.rules.setItemState(rule, asked[rule]);
    }
    d.driver.makeChange();
    EXPECT_EQ(d.driver.outcomeLines(), (QStringList{"Not removed: Tips (the log says why)", "Installed: Library",
                                                    "Not installed: Services (nothing in this program installs it)",
                                                    "Installed: Styles"}));
    EXPECT_TRUE(d.driver.anyFailed());
    EXPECT_TRUE(d.messages().contains("Styles: the step succeeded (its handler answers the file operation's own status, 0)"));
    EXPECT_EQ(d.view.texts.value("changeText"), d.driver.outcomeLines().join('\n'));
}

TEST(InstallDriver, ForcedWordInstallAndUninstallOfEverything) {
    Driver d;
    for (int rule = 0; rule < 11; ++rule) d.rules.setInitialItemState(rule, rule == 7 ? -2 : 0);
    d.driver.m_bMRGN_path_added = true;
    d.driver.makeChange();
    EXPECT_TRUE(d.messages().contains("MRGN & Templates has been forced to install because the paths have been updated"));
    EXPECT_TRUE(d.messages().contains("Installing: the add-in Result: Succeeded"));

    Driver u;
    for (int rule = 0; rule < 11; ++rule) u.rules.setInitialItemState(rule, rule == 7 ? -2 : -1);
    u.engine.skipToState(QStringLiteral("Go"));
    int const go = u.engine.state();
    u.driver.m_bUninstall = true;
    u.driver.m_bMRGN_path_added = true;  // an uninstall removes the add-in all the same
    u.driver.makeChange();
    EXPECT_TRUE(u.messages().contains("Customize un-install"));
    EXPECT_TRUE(u.messages().contains("Uninstalling: styles Result: Succeeded"));  // mixed, removed
    EXPECT_TRUE(u.messages().contains("Uninstalling: the add-in Result: Succeeded"));
    EXPECT_EQ(u.calls.count("installWordMode 3 0 nil nil"), 1);
    EXPECT_EQ(u.engine.state(), go + 2);  // the step after the change step is passed over
}

TEST(InstallDriver, UninstallAsksAndGoesOnlyOnYes) {
    for (int answer : {sheet_default, sheet_alternate, sheet_other}) {
        Driver d;
        d.view.answers.enqueue(answer);
        int const before = d.engine.state();
        d.driver.doUninstall();
        bool const yes = answer == sheet_alternate;
        EXPECT_EQ(d.driver.m_bUninstall, yes);
        EXPECT_EQ(d.view.enabled.value("uninstallBtn", true), !yes);
        EXPECT_EQ(d.engine.state() != before, yes);
        ASSERT_EQ(d.view.questions.size(), 1);
        EXPECT_TRUE(d.view.questions[0].contains("Are you sure you want to do this?"));
    }
}

TEST(InstallDriver, InitialInstallReplacesTheAddInAndTheExtension) {
    Driver d;
    d.answers["installFernwickMode:itemNum:source:dest:"] = 0;
    int const before = d.engine.state();
    d.driver.initialInstall();
    EXPECT_EQ(d.calls, (QStringList{"installWordMode 3 0 nil nil", "installWordMode 2 0 nil nil",
                                    "installFernwickMode 3 0 nil nil", "installFernwickMode 2 0 nil nil"}));
    EXPECT_EQ(d.engine.state(), before + 1);
}
