#include "app/run_outcome.h"

#include <QDateTime>

#include "wizard/state_tables.h"

namespace Refloom {
namespace {

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

void RunOutcome::recordStart() {
    rfRules const& rules = m_controller.rules();
    for (int rule = 0; rule < rules.count(); ++rule) m_before.append(rules.getItemInitialState(rule));
}

void RunOutcome::recordEnd(bool wordRunning, bool stuck, bool cancelled) {
    m_wordRunning = wordRunning;
    m_stuck = stuck;
    m_cancelled = cancelled;
    if (m_line.flow != CommandLine::Flow::patch && !wordRunning && !cancelled) {
        // What was chosen, before the check pass below resets it to what it finds.
        for (int rule = 0; rule < m_controller.rules().count(); ++rule) m_chosen.append(m_controller.rules().getItemState(rule));
        // The state each component has now, as a check pass finds it.
        m_controller.driver().installCheck();
        for (int rule = 0; rule < m_controller.rules().count(); ++rule) m_after.append(m_controller.rules().getItemInitialState(rule));
    }
    // The log closes with what the run did, whichever way it ended.
    for (QString const& line : summary()) m_controller.log().logMessage(QStringLiteral("Summary: ") + line);
}

int RunOutcome::status() const {
    if (m_stuck) return exit_failed;
    if (m_cancelled) return exit_cancelled;
    if (m_wordRunning) return exit_word_running;
    bool const refused = m_controller.runner().lastAnswer() == CommandRunner::Authorization::refused;
    if (m_line.flow == CommandLine::Flow::patch) {
        QList<PatchFlow::Copy> const& copies = m_controller.patchFlow().copies();
        auto const is = [](PatchFlow::Copy::Outcome outcome) {
            return [outcome](PatchFlow::Copy const& c) { return c.outcome() == outcome; };
        };
        bool const found = std::any_of(copies.begin(), copies.end(), [](PatchFlow::Copy const& c) {
            return c.patchable() || c.outcome() == PatchFlow::Copy::Outcome::upToDate;
        });
        if (!found) return exit_nothing_found;
        if (refused) return exit_refused;
        return std::any_of(copies.begin(), copies.end(), is(PatchFlow::Copy::Outcome::failed)) ? exit_some_failed : exit_done;
    }
    if (refused) return exit_refused;
    // A change asked for fails when its handler says so: a check pass cannot tell, for the
    // components whose check answers without looking.
    return m_controller.driver().anyFailed() ? exit_some_failed : exit_done;
}

QJsonArray RunOutcome::components() const {
    QJsonArray list;
    rfRules const& rules = m_controller.rules();
    for (int rule = 0; rule < m_after.size(); ++rule) {
        if (rules.getItemMethod(rule).isNull()) continue;
        list.append(QJsonObject{{"name", rules.getItemName(rule)},
                                {"before", m_before.value(rule)},
                                {"chosen", m_chosen.value(rule)},
                                {"after", m_after[rule]}});
    }
    return list;
}

QJsonObject RunOutcome::report() const {
    QJsonArray copies;
    for (PatchFlow::Copy const& copy : m_controller.patchFlow().copies()) {
        bool const upToDate = copy.outcome() == PatchFlow::Copy::Outcome::upToDate;
        QJsonObject entry{{"path", copy.folder},
                          {"versionBefore", copy.versionBefore},
                          {"versionAfter", copy.answered ? copy.versionAfter : copy.versionBefore},
                          {"dryRun", copy.patchable() ? "patchable" : upToDate ? "up to date" : "unpatchable"},
                          {"patch", copy.reportName()},
                          {"administrator", copy.administrator}};
        // Why a copy found was not updated, in the words of the Finish page.
        QString const reason = copy.outcome() == PatchFlow::Copy::Outcome::failed ? copy.failure
                               : copy.outcome() == PatchFlow::Copy::Outcome::unpatchable ? PatchFlow::Copy::refusal(copy.dryRun)
                                                                                        : QString();
        if (!reason.isEmpty()) entry.insert(QStringLiteral("reason"), reason);
        copies.append(entry);
    }
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

QStringList RunOutcome::closingLines() const {
    QStringList lines = summary();
    if (m_copiesShown)
        for (QString const& shown : m_controller.patchFlow().outcomeLines() + m_controller.driver().outcomeLines())
            lines.removeOne(shown);
    return lines;
}

QStringList RunOutcome::summary() const {
    QStringList lines = m_controller.patchFlow().outcomeLines();
    bool const searched = !m_cancelled && !m_wordRunning && !m_stuck;
    if (m_line.flow == CommandLine::Flow::patch && lines.isEmpty() && searched)
        lines << QStringLiteral("No copy of Refloom 2025 was found.");
    // Only the components a change was asked of, with what became of each.
    if (!m_after.isEmpty()) lines << m_controller.driver().outcomeLines();
    if (m_wordRunning) lines << QStringLiteral("Stopped: Microsoft Word is running; quit it and run again.");
    if (m_stuck) lines << QStringLiteral("Stopped: the wizard did not move on by itself.");
    if (m_cancelled) lines << QStringLiteral("Cancelled.");
    return lines;
}

} // namespace Refloom
