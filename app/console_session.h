// One run of a flow in the terminal: starts it and presses the buttons the user (or the
// unattended rules) choose until the wizard closes.
#pragma once

#include "app/command_line.h"
#include "app/console_view.h"
#include "app/rf_controller.h"
#include "app/run_outcome.h"

namespace Refloom {

class ConsoleSession {
public:
    ConsoleSession(rfController& controller, ConsoleView& view, CommandLine const& line, RunOutcome& outcome)
        : m_controller(controller), m_view(view), m_line(line), m_outcome(outcome) {}

    // Runs the flow to its end and records the outcome.
    void run();

private:
    rfController& m_controller;
    ConsoleView& m_view;
    CommandLine m_line;
    RunOutcome& m_outcome;
};

// Starts the flow the command line names.
void startFlow(rfController& controller, CommandLine::Flow flow);

} // namespace Refloom
