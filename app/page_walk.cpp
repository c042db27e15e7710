#include "app/page_walk.h"

#include <QAbstractButton>
#include <QApplication>

#include <memory>

#include "app/console_session.h"
#include "app/window_session.h"
#include "wizard/state_tables.h"

namespace Refloom {
namespace {

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

} // namespace

void walkFlow(QString const& bundle, QString const& root, CommandLine::Flow flow, OnPage const& onPage) {
    QtWizardView* shown = nullptr;
    std::unique_ptr<rfController> const owned = openWindow(bundle, root, shown);
    rfController& controller = *owned;
    CommandLine line;
    line.flow = flow;
    RunOutcome outcome(controller, line);
    setUpWindow(controller, *shown);
    startFlow(controller, flow);
    // The engine's own refresh of the outline comes with each move; the first page needs one.
    controller.engine().updateOutlineText();
    controller.engine().updateTitleText();
    for (int step = 0; step < 12 && !shown->isClosed(); ++step) {
        QApplication::processEvents();
        onPage(*shown, step);
        // Agree on the license page, as a user would before going on.
        if (shown->selectedPage() == 5)
            if (auto* agree = shown->window()->findChild<QWidget*>(QStringLiteral("agreeBtns"))->findChild<QAbstractButton*>()) agree->click();
        controller.runSelector(shown->selectedPage() == 16 ? QStringLiteral("back:") : QStringLiteral("next:"));
    }
}

void walkLonePages(QString const& bundle, QString const& root, OnPage const& onPage) {
    QtWizardView* shown = nullptr;
    std::unique_ptr<rfController> const owned = openWindow(bundle, root, shown);
    rfController& controller = *owned;
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
        shown->setOutline({});
        for (Button button : {Button::back, Button::next, Button::cancel}) shown->setButtonShown(button, false);
        if (panel == 10) shown->setText(QStringLiteral("processingText"), QStringLiteral("Processing: Spotlight Support"));
        QApplication::processEvents();
        onPage(*shown, panel);
    }
}

} // namespace Refloom
