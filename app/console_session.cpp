#include "app/console_session.h"

#include <QDateTime>
#include <QJsonArray>

#include "wizard/state_tables.h"

namespace Refloom {
namespace {

constexpr int kComponentPage = 6;
constexpr int kStuckPresses = 50;  // an unattended run that goes nowhere stops

char const* flowName(CommandLine::Flow flow) {
    switch (flow) {
    case CommandLine::Flow::patch: return "patch";
    case CommandLine::Flow::custom: return "custom";
    case CommandLine::Flow::web: return "web";
    case CommandLine::Flow::install: return "install";
    }
    return "";
}

QString answerName(CommandRunner::Authorization answer) {
    switch (answer) {
    case CommandRunner::Authorization::granted: return QStringLiteral("granted");
    case CommandRunner::Authorization::refused: return QStringLiteral("refused");
    default: return QStringLiteral("not needed");
    }
}

} // namespace

ConsoleSession::ConsoleSession(rfController& controller, ConsoleView& view, CommandLine const& line)
    : m_controller(controller), m_view(view), m_line(line) {}

void ConsoleSession::start() {
    switch (m_line.flow) {
    case CommandLine::Flow::patch: m_controller.startPatchState(); break;
    case CommandLine::Flow::custom: m_controller.startCustomState(); break;
    case CommandLine::Flow::web: m_controller.startRFWebInstallState(); break;
    case CommandLine::Flow::install: m_controller.engine().startState(flow_install, m_controller.mode()); break;
    }
    rfRules const& rules = m_controller.rules();
    for (int rule = 0; rule < rules.count(); ++rule) m_before.append(rules.getItemInitialState(rule));
}

int ConsoleSession::run() {
    start();
    int sameSpot = 0, lastState = -2, lastPage = -2;
    while (!m_view.isClosed()) {
        int const page = m_view.selectedPage();
        if (m_view.unattended() && page == WordDiscovery::kQuitWordPage) {
            m_wordRunning = true;
            break;
        }
        if (m_view.unattended() && page == kComponentPage && !m_chosen) {
            m_chosen = true;
            for (QString const& name : m_line.select) m_view.choose(name, true);
            for (QString const& name : m_line.deselect) m_view.choose(name, false);
        }
        sameSpot = m_controller.engine().state() == lastState && page == lastPage ? sameSpot + 1 : 0;
        lastState = m_controller.engine().state();
        lastPage = page;
        if (m_view.unattended() && sameSpot > kStuckPresses) {
            m_stuck = true;
            break;
        }
        switch (m_view.waitForPress()) {
        case ConsoleView::Press::next: m_controller.runSelector(QStringLiteral("next:")); break;
        case ConsoleView::Press::back: m_controller.runSelector(QStringLiteral("back:")); break;
        case ConsoleView::Press::cancel: m_controller.runSelector(QStringLiteral("cancel:")); break;
        }
    }
    if (m_line.flow != CommandLine::Flow::patch && !m_wordRunning) {
        // The state each component has now, as a check pass finds it.
        m_controller.driver().installCheck();
        for (int rule = 0; rule < m_controller.rules().count(); ++rule) m_after.append(m_controller.rules().getItemInitialState(rule));
    }
    return status();
}

int ConsoleSession::status() const {
    if (m_stuck) return exit_failed;
    if (m_wordRunning) return exit_word_running;
    bool const refused = m_controller.runner().lastAnswer() == CommandRunner::Authorization::refused;
    if (m_line.flow == CommandLine::Flow::patch) {
        QList<PatchFlow::Copy> const& copies = m_controller.patchFlow().copies();
        if (std::none_of(copies.begin(), copies.end(), [](PatchFlow::Copy const& c) { return c.patchable; })) return exit_nothing_found;
        if (refused) return exit_refused;
        bool const failed = std::any_of(copies.begin(), copies.end(), [](PatchFlow::Copy const& c) { return c.answered && !c.patched; });
        return failed ? exit_some_failed : exit_done;
    }
    if (refused) return exit_refused;
    // An install that the check pass does not find afterwards has failed; removals whose
    // component a check cannot see are not judged.
    rfRules const& rules = m_controller.rules();
    for (int rule = 0; rule < m_after.size(); ++rule)
        if (!rules.getItemMethod(rule).isNull() && rules.getItemState(rule) == 1 && m_after[rule] != 1) return exit_some_failed;
    return exit_done;
}

QJsonArray ConsoleSession::components() const {
    QJsonArray list;
    rfRules const& rules = m_controller.rules();
    for (int rule = 0; rule < m_after.size(); ++rule) {
        if (rules.getItemMethod(rule).isNull()) continue;
        list.append(QJsonObject{{"name", rules.getItemName(rule)},
                                {"before", m_before.value(rule)},
                                {"chosen", rules.getItemState(rule)},
                                {"after", m_after[rule]}});
    }
    return list;
}

QJsonObject ConsoleSession::report() const {
    QJsonArray copies;
    for (PatchFlow::Copy const& copy : m_controller.patchFlow().copies())
        copies.append(QJsonObject{{"path", copy.folder},
                                  {"versionBefore", copy.versionBefore},
                                  {"versionAfter", copy.answered ? copy.versionAfter : copy.versionBefore},
                                  {"dryRun", copy.patchable ? "patchable" : "unpatchable"},
                                  {"patch", copy.patched ? "patched" : copy.answered ? "failed" : copy.offered ? "declined" : "not offered"},
                                  {"administrator", copy.administrator}});
    int const exit = status();
    return QJsonObject{{"program", "Refloom 2025 Updater"},
                       {"flow", flowName(m_line.flow)},
                       {"root", m_controller.systemRoot().root()},
                       {"finished", QDateTime::currentDateTimeUtc().toString(Qt::ISODate)},
                       {"authorization", answerName(m_controller.runner().lastAnswer())},
                       {"exitStatus", exit},
                       {"copies", copies},
                       {"components", components()},
                       {"log", m_controller.log().path()}};
}

QStringList ConsoleSession::summary() const {
    QStringList lines;
    for (PatchFlow::Copy const& copy : m_controller.patchFlow().copies()) {
        if (copy.patched)
            lines << QStringLiteral("Updated: %1 (%2 -> %3)").arg(copy.folder, copy.versionBefore, copy.versionAfter);
        else if (copy.answered)
            lines << QStringLiteral("Not updated: %1").arg(copy.folder);
        else if (!copy.patchable)
            lines << QStringLiteral("Cannot be updated (already up to date or changed): %1").arg(copy.folder);
        else
            lines << QStringLiteral("Left as it was: %1").arg(copy.folder);
    }
    if (m_line.flow == CommandLine::Flow::patch && lines.isEmpty()) lines << QStringLiteral("No copy of Refloom 2025 was found.");
    for (QJsonValue const& value : components()) {
        QJsonObject const c = value.toObject();
        lines << QStringLiteral("%1: %2 (was %3, now %4)")
                     .arg(c["name"].toString(), c["chosen"].toInt() == 1 ? QStringLiteral("install") : QStringLiteral("remove"))
                     .arg(c["before"].toInt())
                     .arg(c["after"].toInt());
    }
    if (m_wordRunning) lines << QStringLiteral("Stopped: Microsoft Word is running; quit it and run again.");
    if (m_stuck) lines << QStringLiteral("Stopped: the wizard did not move on by itself.");
    return lines;
}

} // namespace Refloom
