// The program: parses the command line, sets the controller up from the bundle it lies in,
// runs the chosen flow in the terminal, and answers an exit status (and a report) that a
// script can read. The window comes with the Qt front end; until then, and whenever there is
// no display, the terminal is the front end.
#include <QCoreApplication>
#include <QFile>
#include <QJsonDocument>
#include <QSaveFile>

#include <cstdio>

#include "app/command_line.h"
#include "app/console_session.h"

using namespace Refloom;

namespace {

int fail(int status, QString const& why) {
    std::fprintf(stderr, "Refloom 2025 Updater: %s\n", why.toLocal8Bit().constData());
    return status;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QString error;
    std::optional<CommandLine> const line = CommandLine::parse(application.arguments().mid(1), error);
    if (!line) return fail(exit_usage, error);
    if (line->help) {
        std::fputs(CommandLine::usage().toLocal8Bit().constData(), stdout);
        return exit_done;
    }

    rfController::Setup setup{.root = SystemRoot::fromEnvironment(line->root),
                              .bundlePath = rfController::Setup::runningBundle(),
                              .custResourceDir = QString(),
                              .mode = line->mode};
    if (!QFile::exists(setup.resourceDir() + QLatin1Char('/') + QLatin1String(rfRules::kFileName)))
        return fail(exit_failed, QStringLiteral("the bundle's resources are missing: %1").arg(setup.resourceDir()));
    auto* view = new ConsoleView(stdin, stdout, line->unattended);
    rfController controller(std::unique_ptr<WizardView>(view), setup);
    view->setComponents(&controller.componentModel());
    controller.terminate = [view] { view->close(); };
    for (QString const& name : line->select + line->deselect) {
        bool known = false;
        for (int rule = 0; rule < controller.rules().count(); ++rule) known = known || controller.rules().getItemName(rule) == name;
        if (!known) return fail(exit_usage, QStringLiteral("no component is named \"%1\" (see the component page)").arg(name));
    }

    ConsoleSession session(controller, *view, *line);
    int const status = session.run();
    for (QString const& summary : session.summary()) std::printf("%s\n", summary.toLocal8Bit().constData());
    if (!line->report.isEmpty()) {
        QSaveFile report(line->report);
        if (!report.open(QIODevice::WriteOnly) || report.write(QJsonDocument(session.report()).toJson()) < 0 || !report.commit())
            return fail(exit_failed, QStringLiteral("cannot write the report %1").arg(line->report));
    }
    return status;
}
