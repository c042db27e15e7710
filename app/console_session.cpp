#include "app/console_session.h"

#include "wizard/state_tables.h"

namespace Refloom {
namespace {

constexpr int kComponentPage = 6;
constexpr int kStuckPresses = 50;  // an unattended run that goes nowhere stops

// Unattended, only the components named change: every other rule is set aside (a state the
// change pass passes over), so that a run never removes what nobody asked it to.
void chooseOnly(rfRules& rules, ConsoleView& view, QStringList const& select, QStringList const& deselect) {
    for (QString const& name : select) view.choose(name, true);
    for (QString const& name : deselect) view.choose(name, false);
    QStringList const named = select + deselect;
    QString category;
    for (int rule = 0; rule < rules.count(); ++rule) {
        if (rules.getItemFlag(rule) == QLatin1String("0")) category = rules.getItemName(rule);
        bool const chosen = named.contains(rules.getItemName(rule)) ||
                            (rules.getItemFlag(rule) != QLatin1String("0") && named.contains(category));
        if (chosen) continue;
        rules.setItemState(rule, -1);
        view.setAside(rules.getItemName(rule));
    }
}

} // namespace

void startFlow(rfController& controller, CommandLine::Flow flow) {
    switch (flow) {
    case CommandLine::Flow::patch: controller.startPatchState(); break;
    case CommandLine::Flow::custom: controller.startCustomState(); break;
    case CommandLine::Flow::web: controller.startRFWebInstallState(); break;
    case CommandLine::Flow::install: controller.engine().startState(flow_install, controller.mode()); break;
    }
}

void ConsoleSession::run() {
    startFlow(m_controller, m_line.flow);
    m_outcome.recordStart();
    bool chosen = false, wordRunning = false, stuck = false, cancelled = false;
    int sameSpot = 0, lastState = -2, lastPage = -2;
    while (!m_view.isClosed()) {
        int const page = m_view.selectedPage();
        if (m_view.unattended() && page == WordDiscovery::kQuitWordPage) {
            wordRunning = true;
            break;
        }
        if (m_view.unattended() && page == kComponentPage && !chosen) {
            chosen = true;
            chooseOnly(m_controller.rules(), m_view, m_line.select, m_line.deselect);
        }
        sameSpot = m_controller.engine().state() == lastState && page == lastPage ? sameSpot + 1 : 0;
        lastState = m_controller.engine().state();
        lastPage = page;
        if (m_view.unattended() && sameSpot > kStuckPresses) {
            stuck = true;
            break;
        }
        switch (m_view.waitForPress()) {
        case ConsoleView::Press::next: m_controller.runSelector(QStringLiteral("next:")); break;
        case ConsoleView::Press::back: m_controller.runSelector(QStringLiteral("back:")); break;
        case ConsoleView::Press::cancel:
            cancelled = true;
            m_controller.runSelector(QStringLiteral("cancel:"));
            break;
        }
    }
    m_outcome.setCopiesShown(m_view.showedOutcomes());
    m_outcome.recordEnd(wordRunning, stuck, cancelled);
}

} // namespace Refloom
