// The window, offscreen: its file holds every outlet the code uses, its sheet keeps its button
// rules, and a flow walks to its end by clicking.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QDirIterator>
#include <QDomDocument>
#include <QRegularExpression>
#include <QTimer>
#include <QtTest/QTest>

#include <functional>

#include "app/window_session.h"
#include "tests/fixtures/privileged.h"
#include "tests/fixtures/scratch.h"
#include "tests/ui/offscreen_app.h"

using namespace Refloom;

namespace {

QString resources() { return rf_test::bundleResources(); }

QSet<QString> objectNames(QString const& file) {
    QFile ui(file);
    ui.open(QIODevice::ReadOnly);
    QDomDocument document;
    document.setContent(&ui);
    QSet<QString> names;
    QDomNodeList const widgets = document.elementsByTagName(QStringLiteral("widget"));
    for (int i = 0; i < widgets.size(); ++i) names.insert(widgets.at(i).toElement().attribute(QStringLiteral("name")));
    return names;
}

// Clicks the sheet's button of that name as soon as the sheet shows, after `look` saw it.
void answerSheetWith(char const* button, std::function<void(QWidget*)> look = {}) {
    QTimer::singleShot(0, [button, look] {
        for (QWidget* top : QApplication::topLevelWidgets())
            if (auto* choice = top->findChild<QAbstractButton*>(QString::fromLatin1(button)); choice && top->isVisible()) {
                if (look) look(top);
                choice->click();
                return;
            }
    });
}

// Presses a key on the sheet as soon as it shows, as a person at the keyboard would.
void pressOnSheet(Qt::Key key) {
    auto* poll = new QTimer;
    QObject::connect(poll, &QTimer::timeout, [poll, key] {
        QWidget* sheet = QApplication::activeModalWidget();
        if (!sheet || !sheet->findChild<QAbstractButton*>("defBtn")) return;
        poll->stop();
        poll->deleteLater();
        QTest::keyClick(sheet->focusWidget() ? sheet->focusWidget() : sheet, key);
    });
    poll->start(5);
}

} // namespace

TEST(Window, ItsFileHoldsEveryOutletTheCodeNames) {
    QSet<QString> const names = objectNames(resources() + "/Customizer.ui");
    QRegularExpression const use(R"re((?:setText|setEnabled|setHidden|startSpinner|stopSpinner|cellState|selectedRow|reload|attachModel)\(QStringLiteral\("(\w+)"\))re");
    QSet<QString> used{"acTbl", "patchFound", "processingText", "rfTabView", "outlineText", "titleText", "rfImage",
                       "backBtn", "nextBtn", "cancelBtn", "helpBtn"};
    for (char const* folder : {"app", "components", "integrations", "updater", "ui"}) {
        QDirIterator files(QStringLiteral(RF_SOURCE_DIR "/") + folder, {"*.cpp"}, QDir::Files);
        while (files.hasNext()) {
            QFile source(files.next());
            source.open(QIODevice::ReadOnly);
            for (auto match = use.globalMatch(QString::fromUtf8(source.readAll())); match.hasNext();) used.insert(match.next().captured(1));
        }
    }
    for (QString const& name : used) EXPECT_TRUE(names.contains(name)) << name.toStdString() << " is not in Customizer.ui";
    EXPECT_EQ(QSet<QString>(names).intersect({"msgText", "msgIcon", "defBtn", "altBtn", "othBtn"}).size(), 0);
    EXPECT_EQ(objectNames(resources() + "/rfPanel.ui").intersect({"msgText", "msgIcon", "defBtn", "altBtn", "othBtn"}).size(), 5);
}

TEST(Window, MissingWindowFilesAreReportedNotFatal) {
    rf_test::offscreenApplication();
    rf_test::Scratch scratch;
    EXPECT_FALSE(loadCustomizerWindow(QString::fromStdString(scratch / "nothing here")));
    rfPanelController missing(QString::fromStdString(scratch / "rfPanel.ui"));
    EXPECT_EQ(missing.showSheetOnWindow(nullptr, "Updater", "?", "No", "Yes", QString()), 1);
}

TEST(Window, TheSheetShowsTheButtonsItIsGivenAndAnswersByButton) {
    rf_test::offscreenApplication();
    rfPanelController sheet(resources() + "/rfPanel.ui");
    struct Case {
        char const* press;
        int answer;
    };
    for (Case const c : {Case{"defBtn", 1}, Case{"altBtn", 0}, Case{"othBtn", -1}}) {
        answerSheetWith(c.press);
        EXPECT_EQ(sheet.showSheetOnWindow(nullptr, "Updater", "Sure?", "No", "Yes", "Later"), c.answer) << c.press;
    }
    // No texts: one button, "OK".
    bool onlyOk = false;
    answerSheetWith("defBtn", [&onlyOk](QWidget* top) {
        auto shown = [top](char const* name) { return top->findChild<QAbstractButton*>(name)->isVisible(); };
        onlyOk = top->findChild<QAbstractButton*>("defBtn")->text() == "OK" && !shown("altBtn") && !shown("othBtn");
    });
    EXPECT_EQ(sheet.showSheetOnWindow(nullptr, "Updater", "Note", QString(), QString(), QString()), 1);
    EXPECT_TRUE(onlyOk);
}

// The window over an empty sandbox root, set up as the program sets it up.
struct Shown {
    rf_test::Scratch scratch;
    rfController::Setup setup{.root = SystemRoot(QString::fromStdString(scratch / "root"), "/home/u"),
                              .bundlePath = QStringLiteral(RF_TEST_BUNDLE), .custResourceDir = QString(), .mode = 0};
    QtWizardView* view = nullptr;
    std::unique_ptr<rfController> controller;

    Shown() {
        rf_test::offscreenApplication();
        std::unique_ptr<QtWizardView> loaded = loadCustomizerWindow(setup.resourceDir());
        view = loaded.get();
        controller = std::make_unique<rfController>(std::move(loaded), setup);
        controller->terminate = [] {};
        setUpWindow(*controller, *view);
    }
    QAbstractButton* button(char const* name) const { return view->window()->findChild<QAbstractButton*>(name); }
    void click(char const* name) const { QTest::mouseClick(button(name), Qt::LeftButton); }
    // The web edition's second choice: uninstall.
    void chooseUninstall() const { view->window()->findChild<QWidget*>("matRFWInstall")->findChildren<QAbstractButton*>().at(1)->click(); }
};

TEST(Window, TheWebEditionsChoicesAndItsQuestion) {
    Shown uninstall;
    uninstall.controller->startRFWebInstallState();
    ASSERT_EQ(uninstall.view->selectedPage(), 26);
    uninstall.chooseUninstall();
    answerSheetWith("altBtn");
    uninstall.click("nextBtn");
    // "Yes" goes to the uninstall: the change pass runs and ends on its last page.
    EXPECT_EQ(uninstall.view->selectedPage(), 28);
    Shown install;
    install.controller->startRFWebInstallState();
    install.click("nextBtn");  // "Install" is the first choice: on to the components
    EXPECT_EQ(install.view->selectedPage(), 6);
}

TEST(Window, ReturnOrEscapeOnTheUninstallQuestionUninstallsNothing) {
    for (Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Escape}) {
        Shown web;
        web.controller->startRFWebInstallState();
        web.chooseUninstall();
        pressOnSheet(key);
        web.click("nextBtn");
        EXPECT_EQ(web.view->selectedPage(), 26) << key;  // still asking: nothing was removed
        Shown custom;
        custom.controller->startCustomState();
        pressOnSheet(key);
        custom.click("uninstallBtn");
        EXPECT_EQ(custom.view->selectedPage(), 6) << key;
    }
}

TEST(Window, EachFlowWalksToItsEndByClicking) {
    struct Case {
        void (rfController::*start)();
        QList<int> pages;  // the custom flow passes over the location page: nothing new to place
    };
    for (Case const& c : {Case{&rfController::startCustomState, {6, 8}}, Case{&rfController::startPatchState, {14, 4, 18}}}) {
        Shown w;
        (w.controller.get()->*c.start)();
        for (int page : c.pages) {
            EXPECT_EQ(w.view->selectedPage(), page);
            w.click("nextBtn");
        }
        EXPECT_TRUE(w.view->isClosed());
    }
}
