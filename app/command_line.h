// The program's command line:
//   Refloom 2025 Updater [--root DIR] [--mode N] [--flow patch|custom|web|install] [--console]
//                        [--unattended [--select NAME]... [--deselect NAME]...] [--report FILE]
//                        [--help]
#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace Refloom {

// Exit statuses, for scripts and management tools.
enum ExitStatus : int {
    exit_done = 0,
    exit_failed = 1,          // the program itself could not run (a missing resource, a crash)
    exit_usage = 2,
    exit_some_failed = 3,     // some copies or components were not done
    exit_nothing_found = 4,   // the updater found no copy it could patch
    exit_refused = 5,         // administrator rights were needed and refused
    exit_word_running = 6,    // an install or custom run stopped because Word is running
    exit_cancelled = 7,       // the user cancelled
};

struct CommandLine {
    enum class Flow { patch, custom, web, install };

    QString root;
    int mode = 0;
    Flow flow = Flow::patch;
    bool console = false;
    bool unattended = false;
    QStringList select;
    QStringList deselect;
    QString report;
    bool help = false;

    // The options, or the one line that says what is wrong with them.
    static std::optional<CommandLine> parse(QStringList const& arguments, QString& error);
    static QString usage();
};

} // namespace Refloom
