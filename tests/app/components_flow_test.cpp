// The shipped rules file carried out by the controller on a sandbox root: a check of an empty
// disk and an install of everything, with real files.
#include <gtest/gtest.h>

#include <QRegularExpression>

#include <filesystem>

#include "app/rf_controller.h"
#include "tests/fixtures/log_lines.h"
#include "tests/fixtures/privileged.h"
#include "tests/fixtures/recording_view.h"
#include "tests/fixtures/scratch.h"

using namespace Refloom;
using rf_test::Scratch;
namespace fs = std::filesystem;

namespace {

// A copy of the installer as it ships (the bundle and the components beside it), so that the
// file rules, which install beside the installer, stay in the sandbox.
struct Installed {
    rf_test::ScopedEnv refuse{"RF_ELEVATE", "/bin/false"};
    Scratch scratch;
    std::string installer = scratch / "installer";
    std::string root = scratch / "root";
    std::string content = root + "/Applications/Refloom 2025/Product-Support/Content.bundle";
    std::string bundle = installer + "/Refloom 2025 Updater.app";
    std::unique_ptr<rfRules> rules;
    rf_test::RecordingView* view = new rf_test::RecordingView;
    std::unique_ptr<rfController> controller;

    Installed() {
        fs::path const built = fs::path(RF_TEST_BUNDLE).parent_path();
        fs::create_directories(installer);
        for (char const* part : {"Refloom 2025 Updater.app", "Margina", "Services", "Product-Support", "Extras"})
            fs::copy(built / part, fs::path(installer) / part, fs::copy_options::recursive);
        fs::create_directories(root + "/home/u/Documents");
        rules = std::make_unique<rfRules>(QString::fromStdString(bundle + "/Contents/Resources/Customizer.rules.txt"));
        rfController::Setup setup{.root = SystemRoot(QString::fromStdString(root), QStringLiteral("/home/u")),
                                  .bundlePath = QString::fromStdString(bundle), .custResourceDir = QString(), .mode = 0,
                                  .rules = rules.get()};
        controller = std::make_unique<rfController>(std::unique_ptr<WizardView>(view), setup);
        controller->terminate = [] {};
        controller->engine().startState(flow_custom);
    }
    QList<int> states() const {
        QList<int> list;
        for (int rule = 0; rule < rules->count() - 1; ++rule) list.append(rules->getItemState(rule));
        return list;
    }
    // Ticks every category in the tree, as a user would.
    void tickEverything() {
        ComponentModel& model = controller->componentModel();
        for (int row = 0; row < model.rowCount(); ++row)
            model.setData(model.index(row, ComponentModel::installed), Qt::Checked, Qt::CheckStateRole);
    }
    QStringList results() const {
        return rf_test::logMessages(controller->log().path()).filter(QRegularExpression("^(Installing|Uninstalling): "));
    }
};

} // namespace

TEST(ComponentsFlow, ACheckOfAnEmptyDiskThenAnInstallOfEverything) {
    Installed i;
    i.controller->runSelector(QStringLiteral("installCheck"));
    // No Word (-1); the importer and the extension absent (0), the Services helper answers 1 as
    // it always does outside a host; content absent (0); a missing file or folder not available
    // (-1); the extras heading has no method; the uninstall entry starts unticked.
    EXPECT_EQ(i.states(), (QList<int>{-1, 0, 1, 0, 0, 0, 0, 0, 0, -1, -1, 0}));

    i.tickEverything();
    i.controller->runSelector(QStringLiteral("startToMakeChange"));
    EXPECT_EQ(rf_test::read_file(i.installer + "/Refloom Tips.txt").substr(0, 12), "Refloom tips");
    EXPECT_TRUE(fs::exists(i.root + "/home/u/Documents/Refloom Sample Library/Sample References.txt"));
    EXPECT_TRUE(fs::exists(i.content + "/Styles/Ashgrove.rfs"));
    EXPECT_TRUE(fs::exists(i.content + "/Most Popular/Filters/Corvale Health Index.rfi"));
    QStringList const acted = i.results();
    EXPECT_EQ(acted.size(), 10) << acted.join('\n').toStdString();  // every rule with a method in a definite state
    EXPECT_TRUE(acted.contains("Installing: A short guide to Refloom, beside the program Result: Succeeded"));

    i.controller->runSelector(QStringLiteral("installCheck"));
    // The extras heading keeps its tick: a rule without a method is never checked.
    EXPECT_EQ(i.states().mid(4, 8), (QList<int>{1, 1, 1, 1, 1, 1, 1, 0}));
}
