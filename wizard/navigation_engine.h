// Walks the current flow's state table: keeps the current row, shows its panel, runs the
// operations rows name on entering and leaving, keeps Back and Next in step, and rebuilds the
// outline and the title line. Every rule of moving through a flow lives in this class.
#pragma once

#include <QString>
#include <QVariant>

#include <functional>
#include <span>
#include <stdexcept>

#include "wizard/state_tables.h"
#include "wizard/wizard_view.h"

namespace Refloom {

// A table named an operation nobody registered: a programming error, raised loudly.
class UnknownOperation : public std::logic_error {
public:
    explicit UnknownOperation(QString const& name)
        : std::logic_error("unknown operation \"" + name.toStdString() + "\"") {}
};

// Runs a row operation by name. An invalid QVariant is "null": go on; anything else holds the
// wizard on its page. An unknown name raises UnknownOperation.
using OperationRunner = std::function<QVariant(QString const& name)>;

class NavigationEngine {
public:
    NavigationEngine(WizardView& view, OperationRunner run);

    // Selects a flow's tables (an unknown number keeps the previous ones), clears the done
    // state and enters the first row. `mode` 34 runs the automatic install tables for flow 0.
    void startState(int flow, int mode = 0);
    // Selects tables directly; used by startState and by tests of tables no flow has.
    void startTables(std::span<InstallState const> states,
                     std::span<InstallNavigationList const> navigation);

    // A null (empty) name answers null without running anything.
    QVariant runSelector(char const* name);
    void nextState();
    void prevState();
    void skipToNextState();
    void skipToPrevState();
    // An unknown label leaves the current row equal to the row count and draws nothing.
    void skipToState(QString const& label);
    // Beeps and changes nothing when the move would pass the end of the table.
    void skipToRelativeState(int n);
    QVariant doNextState();
    void updateOutlineText();
    void updateTitleText();

    QString secretIdentity() const { return m_secretIdentity; }
    int state() const { return m_state; }
    int listSize() const { return static_cast<int>(m_states.size()); }
    // The current row's panel, -1 past the table or before its start.
    int currentTab() const;
    bool isDone() const { return m_done; }
    // Set by the exit operations: Next does nothing more; Back runs leave operations only.
    void setDone() { m_done = true; }

private:
    InstallState const* row() const;
    void runEnter();
    void showButtonsAndPage(bool skipTerminator);
    void stepBackOverProgress();

    WizardView& m_view;
    OperationRunner m_run;
    std::span<InstallState const> m_states;
    std::span<InstallNavigationList const> m_navigation;
    int m_state = -1;
    bool m_done = false;
    QString m_secretIdentity;
};

} // namespace Refloom
