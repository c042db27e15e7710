#include <gtest/gtest.h>

#include <QFile>
#include <QFileInfo>
#include <QSet>

#include "app/rf_controller.h"
#include "support/plist_bridge.h"
#include "tests/fixtures/recording_view.h"
#include "tests/fixtures/scratch.h"
#include "wizard/state_tables.h"

using namespace Refloom;
using rf_test::RecordingView;
using rf_test::Scratch;

namespace {

// What the window's controls run.
char const* const kControls[] = {"next:",         "back:",      "cancel:",    "agreeChangeAgree:", "agreeChangeDisagree:",
                                 "doGoCustom:",   "doUninstall:", "toggleInstalled:", "doACplus:", "doACminus:",
                                 "doACchange:",   "doACReset:", "skipToAltMRGN:", "tableViewSelectionDidChange:", "doPatchNo:"};

struct Controller {
    Scratch scratch;
    RecordingView* view = new RecordingView;
    rfController controller{std::unique_ptr<WizardView>(view),
                            {.root = SystemRoot(QString::fromStdString(scratch / "root"), QStringLiteral("/home/u")),
                             .bundlePath = QStringLiteral(RF_TEST_BUNDLE),
                             .custResourceDir = QString::fromStdString(scratch / "resources"), .mode = 0}};
    int dethenticated = 0, terminated = 0;

    Controller() {
        controller.dethenticate = [this] { ++dethenticated; };
        controller.terminate = [this] { ++terminated; };
    }
    QString log() {
        QFile file(controller.log().path());
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }
    void press(char const* action) { controller.runSelector(QString::fromLatin1(action)); }
};

} // namespace

TEST(rfController, EveryOperationATableAControlOrTheDriverNamesResolves) {
    QSet<QString> used;
    for (char const* control : kControls) used.insert(QString::fromLatin1(control));
    for (auto table : {checkHandlers(), changeHandlers()})
        for (MethodHandler const& handler : table) used.insert(QString::fromLatin1(handler.selector));
    for (Flow const* flow : {flowFor(flow_install, 0), flowFor(flow_install, kAutomaticMode),
                             flowFor(flow_custom, 0), flowFor(flow_patch, 0), flowFor(flow_rfweb, 0)})
        for (InstallState const& row : flow->states)
            for (char const* name : {row.enterAction, row.enterAction2, row.leaveAction, row.leaveAction2})
                if (name) used.insert(QString::fromLatin1(name));

    Controller c;
    for (QString const& name : used) EXPECT_TRUE(c.controller.operations().contains(name)) << name.toStdString() << " does not resolve";
    EXPECT_THROW(c.controller.runSelector(QStringLiteral("noSuchOperation")), UnknownOperation);
}

TEST(rfController, TheAgreementBoxControlsNext) {
    Controller c;
    for (int agreed : {1, 0}) {
        c.view->cells[QStringLiteral("agreeBtns0")] = agreed;
        c.press("doAgreeChange");
        EXPECT_EQ(c.view->buttons[Button::next].enabled, agreed == 1);
    }
}

TEST(rfController, PicturesComeFromTheResourceFolder) {
    Controller c;
    std::string logo = c.scratch.write("resources/Customizer.icns", "icon");
    c.press("installAppLogo");
    EXPECT_EQ(c.view->picture, QString::fromStdString(logo));
}

TEST(rfController, LoggingAnInstallShowsWhatIsProcessed) {
    Controller c;
    c.controller.logInstall(QStringLiteral("Word add-in"), 2);
    EXPECT_TRUE(c.log().endsWith(QStringLiteral(" State: Word add-in Mode: mode_copy\n")));
    EXPECT_EQ(c.view->texts.value(QStringLiteral("processingText")), QStringLiteral("Processing: Word add-in"));
}

TEST(rfController, NextBackAndTheWordQuitPagesOwnControls) {
    Controller c;
    c.controller.startPatchState();
    c.press("next:");
    c.press("back:");
    EXPECT_EQ(c.view->page, 14);

    int quitChecks = 0;
    c.controller.wordQuitHandler = [&] { ++quitChecks; };
    c.view->selectPage(12);  // the Word-quit page moves on by its own controls
    c.press("next:");
    EXPECT_EQ(quitChecks, 1);
    EXPECT_EQ(c.controller.engine().state(), 0);
}

TEST(rfController, ExitsAndCancelEndTheFlow) {
    struct Case {
        char const* action;
        char const* logged;  // the log's last line, if it writes one
        int result, terminated;
    };
    Case const cases[] = {{"doExit", " Updater: Exited Normally\n", rfController::kResultNormal, 0},
                          {"doCustExit", nullptr, 0, 0},
                          {"doUninstallExit", nullptr, 0, 1},
                          {"cancel:", " Updater: User Cancelled\n", 0, 1}};
    for (Case const& e : cases) {
        Controller c;
        c.controller.startPatchState();
        c.press(e.action);
        EXPECT_TRUE(!e.logged || c.log().endsWith(QString::fromLatin1(e.logged))) << e.action;
        EXPECT_EQ(c.controller.resultCode(), e.result) << e.action;
        EXPECT_EQ(c.dethenticated, 1) << e.action;
        EXPECT_EQ(c.view->closes, 1) << e.action;
        EXPECT_EQ(c.terminated, e.terminated) << e.action;
    }
    Controller done;
    done.controller.startPatchState();
    done.press("doExit");
    int const state = done.controller.engine().state();
    done.press("next:");
    EXPECT_EQ(done.controller.engine().state(), state);  // done: Next does nothing more
}

TEST(rfController, FailingOperationIsLoggedAndTheWizardStays) {
    Controller c;
    c.controller.startPatchState();
    c.controller.operations().add(QStringLiteral("installAppLogo"), [](QVariant const&) -> QVariant {
        throw std::runtime_error("no picture today");
    });
    c.press("next:");
    EXPECT_TRUE(c.log().contains(QStringLiteral(" Exception Raised no picture today\n")));
    EXPECT_EQ(c.controller.engine().state(), 1);
}

TEST(rfController, FindsItsBundleAndWhatTheBuildWroteInIt) {
    Controller c;
    EXPECT_EQ(c.controller.installerFolder() + QStringLiteral("/Refloom 2025 Updater.app"), QStringLiteral(RF_TEST_BUNDLE));
    // A test binary lies in no bundle: its own folder stands in for one.
    EXPECT_EQ(rfController::Setup::runningBundle(), QFileInfo(QStringLiteral("/proc/self/exe")).canonicalPath());
    rfController::Setup const setup{.root = SystemRoot(), .bundlePath = QStringLiteral(RF_TEST_BUNDLE), .custResourceDir = QString(), .mode = 0};
    QVariantMap const info = readPlistFile(setup.infoPlistPath()).toMap();
    QVariantMap const data = info.value(QStringLiteral("RFCustomizerData")).toMap();
    EXPECT_FALSE(info.value(QStringLiteral("CFBundleIdentifier")).toString().isEmpty());
    EXPECT_FALSE(data.value(QStringLiteral("Templates")).toStringList().isEmpty());
    EXPECT_FALSE(data.value(QStringLiteral("StartupPaths")).toStringList().isEmpty());
}
