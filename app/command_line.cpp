#include "app/command_line.h"

namespace Refloom {
namespace {

struct FlowName {
    char const* name;
    CommandLine::Flow flow;
};
constexpr FlowName kFlows[] = {{"patch", CommandLine::Flow::patch},
                               {"custom", CommandLine::Flow::custom},
                               {"web", CommandLine::Flow::web},
                               {"install", CommandLine::Flow::install}};
constexpr int kModes[] = {0, 32, 34, 35, 36};

} // namespace

QString CommandLine::usage() {
    return QStringLiteral(
        "Usage: Refloom 2025 Updater [options]\n"
        "Finds every copy of Refloom 2025 on this computer and updates it, or installs and removes\n"
        "Refloom's components (the Word add-in, Spotlight, Services, content, the browser extension).\n"
        "\n"
        "  --root DIR          work on a sandbox: fixed locations (/Applications, /Library, ~) under DIR\n"
        "  --mode N            the entry mode: 0 on its own (default), 32 or 34 from a host; 35 makes\n"
        "                      the checks look at the disk, 36 trusts the host like 32\n"
        "  --flow FLOW         patch (default): update the copies of Refloom; custom: choose components;\n"
        "                      web: the web edition's Word add-in; install: the first installation\n"
        "  --console           run in the terminal (chosen by itself when there is no display)\n"
        "  --unattended        ask nothing: update every copy that can be, never uninstall\n"
        "  --select NAME       with --unattended and --flow custom: install the component NAME\n"
        "  --deselect NAME     with --unattended and --flow custom: remove the component NAME;\n"
        "                      components not named are left as they are\n"
        "  --report FILE       write a JSON report of what was found and done to FILE\n"
        "  --help              print this text\n"
        "\n"
        "Exit status: 0 done; 1 the program could not run; 2 usage error; 3 some copies or components\n"
        "failed; 4 nothing found to update; 5 administrator rights refused; 6 Word is running;\n"
        "7 cancelled.\n"
        "The log is ~/Library/Logs/Refloom 2025 Update.log.\n");
}

std::optional<CommandLine> CommandLine::parse(QStringList const& arguments, QString& error) {
    CommandLine line;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        QString const option = arguments[i];
        bool const takesValue = option == QLatin1String("--root") || option == QLatin1String("--mode") ||
                                option == QLatin1String("--flow") || option == QLatin1String("--select") ||
                                option == QLatin1String("--deselect") || option == QLatin1String("--report");
        if (takesValue && i + 1 >= arguments.size()) {
            error = QStringLiteral("%1 needs a value").arg(option);
            return std::nullopt;
        }
        QString const value = takesValue ? arguments[++i] : QString();
        if (option == QLatin1String("--root")) {
            if (!value.startsWith(QLatin1Char('/'))) {
                error = QStringLiteral("--root needs an absolute folder, not \"%1\"").arg(value);
                return std::nullopt;
            }
            line.root = value;
        } else if (option == QLatin1String("--mode")) {
            bool number = false;
            line.mode = value.toInt(&number);
            if (!number || std::find(std::begin(kModes), std::end(kModes), line.mode) == std::end(kModes)) {
                error = QStringLiteral("--mode takes 0, 32, 34, 35 or 36, not \"%1\"").arg(value);
                return std::nullopt;
            }
        } else if (option == QLatin1String("--flow")) {
            auto found = std::find_if(std::begin(kFlows), std::end(kFlows), [&](FlowName const& f) { return value == QLatin1String(f.name); });
            if (found == std::end(kFlows)) {
                error = QStringLiteral("--flow takes patch, custom, web or install, not \"%1\"").arg(value);
                return std::nullopt;
            }
            line.flow = found->flow;
        } else if (option == QLatin1String("--select")) {
            line.select.append(value);
        } else if (option == QLatin1String("--deselect")) {
            line.deselect.append(value);
        } else if (option == QLatin1String("--report")) {
            line.report = value;
        } else if (option == QLatin1String("--console")) {
            line.console = true;
        } else if (option == QLatin1String("--unattended")) {
            line.unattended = true;
        } else if (option == QLatin1String("--help") || option == QLatin1String("-h")) {
            line.help = true;
        } else {
            error = QStringLiteral("unknown option \"%1\" (see --help)").arg(option);
            return std::nullopt;
        }
    }
    if ((!line.select.isEmpty() || !line.deselect.isEmpty()) && (!line.unattended || line.flow != Flow::custom)) {
        error = QStringLiteral("--select and --deselect go with --unattended and --flow custom");
        return std::nullopt;
    }
    return line;
}

} // namespace Refloom
