// One run of a flow in the terminal: starts it, presses the buttons the user (or the
// unattended rules) choose until the wizard closes, then tells what happened: a line per copy
// or component, the exit status, and the JSON report.
#pragma once

#include <QJsonObject>
#include <QList>

#include "app/command_line.h"
#include "app/console_view.h"
#include "app/rf_controller.h"

namespace Refloom {

class ConsoleSession {
public:
    ConsoleSession(rfController& controller, ConsoleView& view, CommandLine const& line);

    // Runs the flow to its end; answers the exit status.
    int run();
    // What was found and done, for management tools.
    QJsonObject report() const;
    // One line per copy or component.
    QStringList summary() const;

private:
    void start();
    int status() const;
    QJsonArray components() const;

    rfController& m_controller;
    ConsoleView& m_view;
    CommandLine m_line;
    bool m_chosen = false;       // the unattended choices have been applied
    bool m_wordRunning = false;  // stopped on the page that asks to quit Word
    bool m_stuck = false;
    QList<int> m_before;         // each rule's state found at the start
    QList<int> m_after;          // and at the end, when the run changed components
};

} // namespace Refloom
