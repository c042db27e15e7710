// The program: parses the command line, sets the controller up from the bundle it lies in,
// runs the chosen flow in its window, or in the terminal when asked to or when there is no
// display, and answers an exit status (and a report) that a script can read.
#include <QApplication>
#include <QFile>
#include <QJsonDocument>
#include <QSaveFile>

#include <cstdio>

#include "app/command_line.h"
#include "app/console_session.h"
#include "app/translations.h"
#include "app/window_session.h"
#include "ui/window_look.h"

using namespace Refloom;

namespace {

int fail(int status, QString const& why) {
    std::fprintf(stderr, "Refloom 2025 Updater: %s\n", why.toLocal8Bit().constData());
    return status;
}

bool hasDisplay() {
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}

// Names the user gave that no component has.
QString unknownComponent(rfController& controller, QStringList const& names) {
    for (QString const& name : names) {
        bool known = false;
        for (int rule = 0; rule < controller.rules().count(); ++rule) known = known || controller.rules().getItemName(rule) == name;
        if (!known) return name;
    }
    return {};
}

int finish(RunOutcome const& outcome, CommandLine const& line) {
    for (QString const& line : outcome.closingLines()) std::printf("%s\n", line.toLocal8Bit().constData());
    if (!line.report.isEmpty()) {
        QSaveFile report(line.report);
        if (!report.open(QIODevice::WriteOnly) || report.write(QJsonDocument(outcome.report()).toJson()) < 0 || !report.commit())
            return fail(exit_failed, QStringLiteral("cannot write the report %1").arg(line.report));
    }
    return outcome.status();
}

} // namespace

int main(int argc, char** argv) {
    QStringList arguments;
    for (int i = 1; i < argc; ++i) arguments << QString::fromLocal8Bit(argv[i]);
    QString error;
    std::optional<CommandLine> const line = CommandLine::parse(arguments, error);
    if (!line) return fail(exit_usage, error);
    if (line->help) {
        std::fputs(CommandLine::usage().toLocal8Bit().constData(), stdout);
        return exit_done;
    }
    bool const window = !line->console && !line->unattended && hasDisplay();
    std::unique_ptr<QCoreApplication> application =
        window ? std::make_unique<QApplication>(argc, argv) : std::make_unique<QCoreApplication>(argc, argv);

    rfController::Setup setup{.root = SystemRoot::fromEnvironment(line->root),
                              .bundlePath = rfController::Setup::runningBundle(),
                              .custResourceDir = QString(),
                              .mode = line->mode};
    if (!QFile::exists(setup.resourceDir() + QLatin1Char('/') + QLatin1String(rfRules::kFileName)))
        return fail(exit_failed, QStringLiteral("the bundle's resources are missing: %1").arg(setup.resourceDir()));
    installTranslations(setup.resourceDir());

    if (window) {
        useReadableIndicators(static_cast<QApplication&>(*application));
        std::unique_ptr<QtWizardView> view = loadCustomizerWindow(setup.resourceDir());
        if (!view) return fail(exit_failed, QStringLiteral("cannot load the window file of %1").arg(setup.resourceDir()));
        QtWizardView* shown = view.get();
        rfController controller(std::move(view), setup);
        RunOutcome outcome(controller, *line);
        showCustomizerFromMenu(controller, *shown, *line, outcome);
        return finish(outcome, *line);
    }
    auto* view = new ConsoleView(stdin, stdout, line->unattended);
    rfController controller(std::unique_ptr<WizardView>(view), setup);
    view->setComponents(&controller.componentModel());
    controller.terminate = [view] { view->close(); };
    if (QString const name = unknownComponent(controller, line->select + line->deselect); !name.isNull()) {
        QStringList names;
        for (int rule = 0; rule < controller.rules().count(); ++rule)
            if (!controller.rules().getItemName(rule).isEmpty()) names << QLatin1Char('"') + controller.rules().getItemName(rule) + QLatin1Char('"');
        return fail(exit_usage, QStringLiteral("no component is named \"%1\"; the components are %2").arg(name, names.join(QStringLiteral(", "))));
    }
    RunOutcome outcome(controller, *line);
    ConsoleSession(controller, *view, *line, outcome).run();
    return finish(outcome, *line);
}
