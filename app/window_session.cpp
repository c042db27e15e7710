#include "app/window_session.h"

#include <QApplication>
#include <QDesktopServices>
#include <QUrl>
#include <QFile>
#include <QScreen>
#include <QStringDecoder>

#include "app/console_session.h"
#include "ui/rf_help_context.h"
#include "ui/window_files.h"
#include "wizard/state_tables.h"

namespace Refloom {
namespace {

// A resource text, UTF-8; empty when it is missing or not UTF-8.
QString loadUTF8File(QString const& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return {};
    QStringDecoder decode(QStringDecoder::Utf8);
    QString const text = decode(file.readAll());
    return decode.hasError() ? QString() : text;
}

// The steps that run once when the window file has loaded, in their order.
void awakeFromNib(rfController& controller, QtWizardView& view, QString const& resourceDir) {
    view.setOutline({});
    view.setTitle(QString());
    view.window()->setWindowTitle(localized("%@ Updater").replace(QStringLiteral("%@"), QStringLiteral("Refloom 2025.3")));
    for (char const* name : {"acChange", "acMinusBtn", "acResetBtn"}) view.setEnabled(QString::fromLatin1(name), false);
    // The Word settings and the saved folders are read by the controller's parts when made.
    view.setText(QStringLiteral("readMeText"), loadUTF8File(resourceDir + QStringLiteral("/Update Readme.txt")));
    view.setText(QStringLiteral("licenseText"), loadUTF8File(resourceDir + QStringLiteral("/License Agreement.txt")));
    if (QScreen* screen = QGuiApplication::primaryScreen())
        view.window()->move(screen->availableGeometry().center() - view.window()->rect().center());
    view.window()->show();
    view.window()->raise();
    controller.engine().startState(flow_install, controller.mode());
}

} // namespace

std::unique_ptr<QtWizardView> loadCustomizerWindow(QString const& resourceDir) {
    std::unique_ptr<QWidget> window = loadWindowFile(resourceDir + QStringLiteral("/Customizer.ui"));
    if (!window) {
        systemLogLine(QStringLiteral("Load of Customizer NIB failed"));
        return nullptr;
    }
    return std::make_unique<QtWizardView>(std::move(window),
                                          rfPanelController(resourceDir + QStringLiteral("/rfPanel.ui"),
                                                            resourceDir + QStringLiteral("/Customizer.icns")));
}

void setUpWindow(rfController& controller, QtWizardView& view) {
    view.setActionHandler([&controller](QString const& action) {
        try {
            controller.runSelector(action);
        } catch (std::exception const& error) {
            controller.log().logException(QString::fromUtf8(error.what()));
        }
    });
    view.attachModel(QStringLiteral("componentTree"), &controller.componentModel());
    view.attachModel(QStringLiteral("acTbl"), &controller.startupFolders().model());
    awakeFromNib(controller, view, controller.resourceDir());
}

int showCustomizerFromMenu(rfController& controller, QtWizardView& view, CommandLine const& line, RunOutcome& outcome) {
    setUpWindow(controller, view);
    startFlow(controller, line.flow);
    // Help names the flow's topic; F1 and the help button open its page.
    view.window()->setProperty("secretIdentity", controller.engine().secretIdentity());
    RFHelpContext& help = RFHelpContext::shared(controller.resourceDir(), controller.customizerData().value(QStringLiteral("DocumentationHost")).toString());
    help.install();
    controller.operations().add(QStringLiteral("showHelp:"), [&help](QVariant const&) { return QVariant(help.onHelpbutton()); });
    controller.operations().add(QStringLiteral("showLog:"), [&controller](QVariant const&) {
        return QVariant(QDesktopServices::openUrl(QUrl::fromLocalFile(controller.log().path())));
    });
    outcome.recordStart();
    if (!view.isClosed()) QApplication::exec();
    outcome.recordEnd(false, false, controller.cancelled());
    return controller.resultCode() ? controller.resultCode() : rfController::kResultNormal;
}

} // namespace Refloom
