#include "wizard/navigation_engine.h"

#include <algorithm>

namespace Refloom {
namespace {

constexpr int kProgressPanel = 10;
// A row on this panel also steps over the row after it when Next leaves it.
constexpr int kSkipNextPanel = 23;

} // namespace

NavigationEngine::NavigationEngine(WizardView& view, OperationRunner run)
    : m_view(view), m_run(std::move(run)) {}

void NavigationEngine::startState(int flow, int mode) {
    m_done = false;
    m_view.setButtonShown(Button::help, true);
    if (Flow const* chosen = flowFor(flow, mode)) {
        m_secretIdentity = QString::fromLatin1(chosen->secretIdentity);
        // The install flows have no help pages.
        if (flow == flow_install) m_view.setButtonShown(Button::help, false);
        m_states = chosen->states;
        m_navigation = chosen->navigation;
    }
    m_state = -1;
    nextState();
}

void NavigationEngine::startTables(std::span<InstallState const> states,
                                   std::span<InstallNavigationList const> navigation) {
    m_done = false;
    m_states = states;
    m_navigation = navigation;
    m_state = -1;
    nextState();
}

InstallState const* NavigationEngine::row() const {
    return m_state >= 0 && m_state < listSize() ? &m_states[static_cast<size_t>(m_state)] : nullptr;
}

int NavigationEngine::currentTab() const {
    InstallState const* current = row();
    return current ? current->tabIndex : -1;
}

QVariant NavigationEngine::runSelector(char const* name) {
    return name ? m_run(QString::fromLatin1(name)) : QVariant();
}

void NavigationEngine::runEnter() {
    // The enter operations' results are not used: they cannot hold a page.
    if (InstallState const* entered = row()) {
        runSelector(entered->enterAction);
        runSelector(entered->enterAction2);
    }
}

void NavigationEngine::showButtonsAndPage(bool skipTerminator) {
    m_view.setButtonEnabled(Button::back, m_state != 0);
    m_view.setButtonTitle(Button::back, localized("Back"));
    m_view.setButtonEnabled(Button::next, true);
    m_view.setButtonTitle(Button::next, localized("Next"));
    InstallState const* shown = row();
    if (shown && !(skipTerminator && shown->tabIndex == -1)) m_view.selectPage(shown->tabIndex);
    m_view.redisplay();
    if (m_state != -1) runEnter();
}

void NavigationEngine::stepBackOverProgress() {
    // Back never lands on a progress page, except at the first row; the extra step is one step.
    --m_state;
    if (m_state != 0 && currentTab() == kProgressPanel) --m_state;
}

void NavigationEngine::nextState() {
    if (m_done) return;
    int const old = m_state;
    if (InstallState const* leaving = row()) {
        if (runSelector(leaving->leaveAction).isValid()) return;
        if (runSelector(leaving->leaveAction2).isValid()) return;
    }
    updateOutlineText();
    updateTitleText();
    if (m_state == old) {  // no leave operation jumped
        if (currentTab() == kSkipNextPanel) ++m_state;
        ++m_state;
        updateOutlineText();
        updateTitleText();
    }
    // A leave operation that jumped has entered its row already; it is entered once more here,
    // as every row the wizard arrives at by Next is. Intended.
    if (m_state != old) {
        m_view.setButtonEnabled(Button::back, m_state != 0);
        m_view.setButtonTitle(Button::back, localized("Back"));
        m_view.setButtonEnabled(Button::next, true);
        m_view.setButtonTitle(Button::next, localized("Next"));
        InstallState const* entered = row();
        if (entered && entered->tabIndex != -1) {
            m_view.selectPage(entered->tabIndex);
            m_view.redisplay();
        }
        if (m_state != -1) runEnter();
    }
}

void NavigationEngine::prevState() {
    if (InstallState const* leaving = row()) {
        // Back always leaves: what the leave operations answer does not matter.
        runSelector(leaving->leaveAction);
        runSelector(leaving->leaveAction2);
    }
    if (m_done) return;
    stepBackOverProgress();
    updateOutlineText();
    updateTitleText();
    showButtonsAndPage(false);
}

void NavigationEngine::skipToNextState() {
    ++m_state;
    updateOutlineText();
    updateTitleText();
    showButtonsAndPage(true);
}

void NavigationEngine::skipToPrevState() {
    stepBackOverProgress();
    updateOutlineText();
    updateTitleText();
    showButtonsAndPage(false);
}

void NavigationEngine::skipToState(QString const& label) {
    for (m_state = 0; m_state < listSize(); ++m_state) {
        char const* candidate = m_states[static_cast<size_t>(m_state)].label;
        if (candidate && label == QLatin1String(candidate)) break;
    }
    // An unknown label leaves the index at the row count; callers jump only to labels that exist.
    if (m_state == listSize()) return;
    showButtonsAndPage(true);
}

void NavigationEngine::skipToRelativeState(int n) {
    if (m_state + n >= listSize()) {
        m_view.beep();
        return;
    }
    m_state += n;
    showButtonsAndPage(true);
}

QVariant NavigationEngine::doNextState() {
    nextState();
    updateOutlineText();
    updateTitleText();
    return {};
}

void NavigationEngine::updateOutlineText() {
    QList<OutlineLine> lines;
    int current = 0;
    if (m_state >= 1) {
        int const tab = currentTab();
        auto listed = [tab](InstallNavigationList const& entry) {
            return tab != -1 && std::ranges::find(entry.tabIndices, tab) != entry.tabIndices.end();
        };
        auto found = std::ranges::find_if(m_navigation, listed);
        if (found != m_navigation.end()) current = static_cast<int>(found - m_navigation.begin());
    }
    for (int i = 0; i < static_cast<int>(m_navigation.size()); ++i) {
        OutlineState state = i > current    ? OutlineState::to_come
                             : i == current ? OutlineState::current
                                            : OutlineState::done;
        lines.append({navigationText(m_navigation[static_cast<size_t>(i)]), state});
    }
    m_view.setOutline(lines);
}

void NavigationEngine::updateTitleText() {
    int const tab = currentTab();
    for (InstallStatePanelTitle const& slot : gInstallStateLabels) {
        if (slot.title && slot.tabIndex == tab) {
            m_view.setTitle(panelTitle(slot));
            return;
        }
    }
    m_view.setTitle(QString());
}

} // namespace Refloom
