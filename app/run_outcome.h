// What a run found and did, whatever its front end: the exit status a script reads, the
// JSON report a management tool collects, and a line per copy or component.
#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QStringList>

#include "app/command_line.h"
#include "app/rf_controller.h"

namespace Refloom {

class RunOutcome {
public:
    RunOutcome(rfController& controller, CommandLine const& line) : m_controller(controller), m_line(line) {}

    // The components' states as the flow found them; call once the flow has started.
    void recordStart();
    // The end: whether it stopped on the quit-Word page, went nowhere or was cancelled; checks
    // the components again when the run changed them.
    void recordEnd(bool wordRunning, bool stuck, bool cancelled);

    // The final page listed each copy's or component's outcome on the screen already.
    void setCopiesShown(bool shown) { m_copiesShown = shown; }

    int status() const;
    QJsonObject report() const;
    // What the run did, a line each, as the log's closing summary says it.
    QStringList summary() const;
    // The same for the end of the terminal's output, but what a final page listed.
    QStringList closingLines() const;

private:
    QJsonArray components() const;

    rfController& m_controller;
    CommandLine m_line;
    bool m_wordRunning = false;
    bool m_stuck = false;
    bool m_cancelled = false;
    bool m_copiesShown = false;
    QList<int> m_before;  // each rule's state found at the start
    QList<int> m_chosen;  // what the run asked of it
    QList<int> m_after;   // and at the end, when the run changed components
};

} // namespace Refloom
