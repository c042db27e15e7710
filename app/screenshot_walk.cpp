// Walks the flows in the window, offscreen, on a sandbox root, and saves a picture of every
// page it shows: docs/screenshots/FLOW-NN-PAGE.png. Run by the "screenshots" target.
//   rf_screenshots BUNDLE ROOT OUTPUT_FOLDER
#include <memory>

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QPixmap>
#include <QStyleFactory>
#include <QTimer>

#include "app/console_session.h"
#include "app/window_session.h"
#include "wizard/state_tables.h"

using namespace Refloom;

namespace {

struct Walk {
    char const* name;
    CommandLine::Flow flow;
};

// The controller on the real window file, for the demo user, with nothing that ends the program.
std::unique_ptr<rfController> openWindow(QString const& bundle, QString const& root, QtWizardView*& shown) {
    rfController::Setup const setup{.root = SystemRoot(root, QStringLiteral("/home/demo")), .bundlePath = bundle,
                                    .custResourceDir = QString(), .mode = 0};
    std::unique_ptr<QtWizardView> view = loadCustomizerWindow(setup.resourceDir());
    shown = view.get();
    auto controller = std::make_unique<rfController>(std::move(view), setup);
    controller->terminate = [] {};
    return controller;
}

// Presses Next through a flow, answering every question with its default, and saves each page.
void walk(QString const& bundle, QString const& root, QString const& output, Walk const& which, bool dark) {
    QtWizardView* shown = nullptr;
    std::unique_ptr<rfController> const owned = openWindow(bundle, root, shown);
    rfController& controller = *owned;
    if (dark) {
        QPalette palette = shown->window()->palette();
        palette.setColor(QPalette::Window, QColor(40, 40, 44));
        palette.setColor(QPalette::WindowText, QColor(230, 230, 230));
        palette.setColor(QPalette::Base, QColor(28, 28, 30));
        palette.setColor(QPalette::AlternateBase, QColor(36, 36, 40));
        palette.setColor(QPalette::Text, QColor(230, 230, 230));
        palette.setColor(QPalette::Button, QColor(60, 60, 64));
        palette.setColor(QPalette::ButtonText, QColor(230, 230, 230));
        shown->window()->setPalette(palette);
    }
    CommandLine line;
    line.flow = which.flow;
    RunOutcome outcome(controller, line);
    shown->window()->resize(820, 560);
    setUpWindow(controller, *shown);
    startFlow(controller, which.flow);
    // The engine's own refresh of the outline comes with each move; the first page needs one.
    controller.engine().updateOutlineText();
    controller.engine().updateTitleText();
    for (int step = 0; step < 12 && !shown->isClosed(); ++step) {
        QApplication::processEvents();
        QString const file = QStringLiteral("%1/%2%3-%4-page%5.png")
                                 .arg(output, QString::fromLatin1(which.name), dark ? QStringLiteral("-dark") : QString())
                                 .arg(step, 2, 10, QLatin1Char('0'))
                                 .arg(shown->selectedPage());
        shown->window()->grab().save(file);
        // Agree on the license page, as a user would before going on.
        if (shown->selectedPage() == 5)
            if (auto* agree = shown->window()->findChild<QWidget*>(QStringLiteral("agreeBtns"))->findChild<QAbstractButton*>()) agree->click();
        // No to each copy offered, so that every walk finds the copies as they were.
        controller.runSelector(shown->selectedPage() == 16 ? QStringLiteral("back:") : QStringLiteral("next:"));
    }
}

// Every page of the window on its own, as the flows show it when they reach it.
void everyPage(QString const& bundle, QString const& root, QString const& output) {
    QtWizardView* shown = nullptr;
    std::unique_ptr<rfController> const owned = openWindow(bundle, root, shown);
    rfController& controller = *owned;
    shown->window()->resize(820, 560);
    setUpWindow(controller, *shown);
    controller.startCustomState();
    controller.word().constructWordAndStartupPaths();
    controller.startupFolders().doAltMRGN();  // the folder table, filled
    for (int panel : {0, 2, 9, 10, 11, 12, 13, 18, 20, 28}) {
        shown->selectPage(panel);
        QString title;
        for (InstallStatePanelTitle const& slot : gInstallStateLabels)
            if (slot.tabIndex == panel && slot.title && title.isEmpty()) title = panelTitle(slot);
        shown->setTitle(title);
        if (panel == 10) shown->setText(QStringLiteral("processingText"), QStringLiteral("Processing: Spotlight Support"));
        QApplication::processEvents();
        shown->window()->grab().save(QStringLiteral("%1/page-%2.png").arg(output).arg(panel, 2, 10, QLatin1Char('0')));
    }
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    application.setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    if (argc != 4) return 2;
    QString const bundle = QString::fromLocal8Bit(argv[1]), root = QString::fromLocal8Bit(argv[2]), output = QString::fromLocal8Bit(argv[3]);
    QDir().mkpath(output);
    for (Walk const& flow : {Walk{"patch", CommandLine::Flow::patch}, Walk{"custom", CommandLine::Flow::custom},
                             Walk{"install", CommandLine::Flow::install}, Walk{"web", CommandLine::Flow::web}})
        for (bool dark : {false, true}) walk(bundle, root, output, flow, dark);
    everyPage(bundle, root, output);
    return 0;
}
