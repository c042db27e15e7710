#include "app/console_view.h"

#include <unistd.h>

#include <QTextStream>

#include <algorithm>

#include "wizard/state_tables.h"

namespace Refloom {
namespace {

// What each page says in a terminal; the window shows the same from its interface file.
struct PageText {
    int panel;
    char const* text;
};
constexpr PageText kPages[] = {
    {0, QT_TRID_NOOP("Looking for the copies of Refloom and Microsoft Word on this computer...")},
    {4, QT_TRID_NOOP("This update brings every copy of Refloom 2025 on this computer to the latest version.")},
    {6, QT_TRID_NOOP("Tick the components to install; untick the ones to remove.")},
    {10, QT_TRID_NOOP("Updating...")},
    {12, QT_TRID_NOOP("Microsoft Word is running. Please quit Word, then go on to try again.")},
    {13, QT_TRID_NOOP("Choose where to install the Spotlight importer and the Services helper.")},
    {14, QT_TRID_NOOP("The updater will look for the copies of Refloom 2025 on this computer and update each one you choose.")},
    {17, QT_TRID_NOOP("The update has finished. What became of each copy:")},
    {18, QT_TRID_NOOP("Nothing was updated.")},
    {8, QT_TRID_NOOP("The customization has finished. What became of each component you changed:")},
    {11, QT_TRID_NOOP("The uninstall has finished. What became of each component:")},
    {7, QT_TRID_NOOP("The installation has finished. What became of each component:")},
    {27, QT_TRID_NOOP("The add-in install has finished:")},
    {28, QT_TRID_NOOP("The add-in uninstall has finished:")},
};

// The pages that show what the flow found or did, and the outlet that holds it.
struct PageOutlet {
    int panel;
    char const* outlet;
};
constexpr PageOutlet kPageOutlets[] = {
    {16, "patchFound"}, {17, "doneText"}, {18, "nothingText"}, {8, "changeText"},
    {11, "removedText"}, {7, "installText"}, {27, "addinText"}, {28, "addinRemovedText"},
};

// The outlets whose text is progress: printed as they change.
bool isProgress(QString const& outlet) { return outlet == QLatin1String("processingText"); }

char const* mark(int state) {
    switch (state) {
    case 1: return "[x]";
    case -1: return "[ ] (not available)";
    case -2: return "[-]";
    default: return "[ ]";
    }
}

} // namespace

ConsoleView::ConsoleView(std::FILE* in, std::FILE* out, bool unattended)
    : m_in(in), m_out(out), m_unattended(unattended), m_terminal(isatty(fileno(in)) == 1) {}

void ConsoleView::print(QString const& text) const {
    std::fputs(text.toLocal8Bit().constData(), m_out);
    std::fputc('\n', m_out);
    std::fflush(m_out);
}

QString ConsoleView::readLine(QString const& prompt) const {
    std::fputs(prompt.toLocal8Bit().constData(), m_out);
    std::fflush(m_out);
    char buffer[4096];
    if (!std::fgets(buffer, sizeof buffer, m_in)) {
        std::fputc('\n', m_out);  // whatever follows goes on a line of its own
        return QString();         // end of input: as cancel
    }
    QString const answer = QString::fromLocal8Bit(buffer).trimmed();
    // Typed at a terminal, the answer is on the screen already; piped in, it is said, so that
    // what is printed reads as what happened.
    if (!m_terminal) print(answer);
    return answer;
}

void ConsoleView::selectPage(int panel) {
    if (panel != m_page) {
        m_shownPage = false;
        m_shownPageText = false;
        m_cells.clear();
    }
    m_page = panel;
}

void ConsoleView::setOutline(QList<OutlineLine> const& lines) {
    m_outline = lines;
    int done = 0;
    QString current;
    for (OutlineLine const& line : lines) {
        done += line.state == OutlineState::done ? 1 : 0;
        if (line.state == OutlineState::current) current = line.text;
    }
    // Every stage says so as it begins, those that go on by themselves too; once the window
    // has closed, the engine's last redraw says nothing that happened.
    if (m_closed || current.isEmpty() || current == m_stage) return;
    m_stage = current;
    print(QString());
    print(QStringLiteral("[%1/%2] %3").arg(done + 1).arg(lines.size()).arg(current));
    m_stageJustSaid = true;
}

void ConsoleView::setText(QString const& outlet, QString const& text) {
    // A new question on the same page is a new page to the reader.
    if (outlet == QLatin1String("patchFound") && text != m_texts.value(outlet)) m_shownPage = false;
    m_texts[outlet] = text;
    if (outlet == QLatin1String("patchCount")) m_count = text;
    // Progress shows while work runs, on the pages that search and update; a count the flow
    // gave goes with the next line.
    if (isProgress(outlet) && (m_page == 0 || m_page == 10)) {
        print(QStringLiteral("  ") + text + (m_count.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(m_count)));
        m_count.clear();
    }
}

void ConsoleView::startSpinner(QString const&) { printPageText(); }

void ConsoleView::printPageText() {
    if (m_shownPageText) return;
    m_shownPageText = true;
    for (PageText const& page : kPages)
        if (page.panel == m_page) print((m_page == 0 || m_page == 10 ? QStringLiteral("  ") : QString()) + localized(page.text));
}

void ConsoleView::showPage() {
    if (m_shownPage) return;
    m_shownPage = true;
    // A page that follows another of the same stage (the next copy's question) stands apart.
    if (!m_stageJustSaid) print(QString());
    m_stageJustSaid = false;
    // A page with a title of its own says it, beyond its stage's name.
    if (!m_title.isEmpty() && m_title != m_stage) print(QStringLiteral("== %1 ==").arg(m_title));
    printPageText();
    for (PageOutlet const& page : kPageOutlets)
        if (page.panel == m_page) print(m_texts.value(QLatin1String(page.outlet)).trimmed());
    for (int const outcomes : {17, 18, 8, 11, 7, 27, 28}) m_showedOutcomes = m_showedOutcomes || m_page == outcomes;
    if (m_page == 6) showComponents();
}

void ConsoleView::showComponents() const {
    if (!m_components) return;
    int number = 0;
    for (int row = 0; row < m_components->rowCount(); ++row) {
        QModelIndex const category = m_components->index(row, 0);
        auto line = [this](rfItem* item, char const* indent, int number) {
            QString const state = m_setAside.contains(item->getItemName()) ? QStringLiteral("[=] (left as it is)")
                                                                            : QLatin1String(mark(item->getItemState()));
            print(QStringLiteral("%1. %2%3 %4 - %5").arg(number, 2).arg(QLatin1String(indent), state, item->getItemName(), item->getItemDescription()));
        };
        line(m_components->itemAt(category), "", ++number);
        for (int member = 0; member < m_components->rowCount(category); ++member)
            line(m_components->itemAt(m_components->index(member, 0, category)), "  ", ++number);
    }
}

void ConsoleView::tickComponents() {
    for (;;) {
        QString const answer = readLine(QStringLiteral("Numbers to tick or untick (Enter to go on): "));
        if (answer.isEmpty()) return;
        int number = 0;
        for (QString const& word : answer.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
            int const wanted = word.toInt();
            number = 0;
            for (int row = 0; row < m_components->rowCount() && number < wanted; ++row) {
                QModelIndex const category = m_components->index(row, 0);
                if (++number == wanted) m_components->itemAt(category)->click(m_components->itemAt(category)->getItemState() != 1);
                for (int member = 0; member < m_components->rowCount(category) && number < wanted; ++member)
                    if (++number == wanted) {
                        rfItem* child = m_components->itemAt(m_components->index(member, 0, category));
                        child->click(child->getItemState() != 1);
                    }
            }
        }
        showComponents();
    }
}

bool ConsoleView::choose(QString const& name, bool on) {
    if (!m_components) return false;
    for (int row = 0; row < m_components->rowCount(); ++row) {
        QModelIndex const category = m_components->index(row, 0);
        if (m_components->itemAt(category)->getItemName() == name) return m_components->itemAt(category)->click(on);
        for (int member = 0; member < m_components->rowCount(category); ++member) {
            rfItem* child = m_components->itemAt(m_components->index(member, 0, category));
            if (child->getItemName() == name) return child->click(on);
        }
    }
    return false;
}

ConsoleView::Press ConsoleView::waitForPress() {
    showPage();
    if (m_unattended) return Press::next;
    if (m_page == 6 && m_components) tickComponents();
    auto offered = [this](Button button) { return m_enabled[int(button)] && m_shown[int(button)]; };
    auto named = [this](Button button, char const* plain) {
        return m_titles[int(button)].isEmpty() ? QString::fromLatin1(plain) : m_titles[int(button)];
    };
    QStringList choices;
    if (offered(Button::next)) choices << QStringLiteral("[Enter] %1").arg(named(Button::next, "Next"));
    if (offered(Button::back)) choices << QStringLiteral("[b] %1").arg(named(Button::back, "Back"));
    if (offered(Button::cancel)) choices << QStringLiteral("[c] Cancel");
    // On a question, y and n (yes, no) answer as its buttons are named.
    auto is = [](QString const& answer, std::initializer_list<char const*> words) {
        return std::any_of(words.begin(), words.end(), [&](char const* word) { return answer.compare(QLatin1String(word), Qt::CaseInsensitive) == 0; });
    };
    bool const question = named(Button::back, "Back") == localized("No");
    for (;;) {
        QString const answer = readLine(choices.join(QStringLiteral("  ")) + QStringLiteral(": "));
        if (answer.isNull()) return Press::cancel;  // end of input
        // A disabled Next (an agreement not accepted) does not go on.
        if ((answer.isEmpty() || is(answer, {"y", "yes"})) && offered(Button::next)) return Press::next;
        if ((is(answer, {"b", "back"}) || (question && is(answer, {"n", "no"}))) && offered(Button::back)) return Press::back;
        if (is(answer, {"c", "cancel"}) && offered(Button::cancel)) return Press::cancel;
        print(localized("  Please answer with one of: %@").replace(QStringLiteral("%@"), choices.join(QStringLiteral(", "))));
    }
}

int ConsoleView::cellState(QString const& outlet, int cell) const {
    QString const key = outlet + QString::number(cell);
    if (m_cells.contains(key)) return m_cells.value(key);
    int answer = 0;
    if (outlet == QLatin1String("agreeBtns")) {
        answer = m_unattended || readLine(QStringLiteral("Do you accept the license agreement? [y/N] ")).startsWith(QLatin1Char('y'), Qt::CaseInsensitive);
    } else if (outlet == QLatin1String("spotBtns") || outlet == QLatin1String("servBtns")) {
        QString const what = outlet == QLatin1String("spotBtns") ? QStringLiteral("the Spotlight importer") : QStringLiteral("the Services helper");
        // Unattended runs install for all users, as management tools deploy for a whole machine.
        QString const levels = m_unattended ? QStringLiteral("a")
                                            : readLine(QStringLiteral("Install %1 for you (u), all users (a), both (b) or neither (n)? ").arg(what));
        m_cells[outlet + QStringLiteral("0")] = levels.startsWith(QLatin1Char('u')) || levels.startsWith(QLatin1Char('b'));
        m_cells[outlet + QStringLiteral("1")] = levels.startsWith(QLatin1Char('a')) || levels.startsWith(QLatin1Char('b'));
        return m_cells.value(key);
    }
    m_cells[key] = answer;
    return answer;
}

int ConsoleView::askSheet(QString const& title, QString const& message, QString const& defaultButton,
                          QString const& alternateButton, QString const& otherButton) {
    print(QString());
    print(title + QStringLiteral(": ") + message.trimmed());
    QString const first = defaultButton.isNull() ? QStringLiteral("OK") : defaultButton;
    if (m_unattended) {
        print(QStringLiteral("  -> %1").arg(first));
        return sheet_default;  // the cautious answer: "No" to an uninstall, "OK" to a notice
    }
    QString choices = QStringLiteral("[1] %1").arg(first);
    if (!alternateButton.isNull()) choices += QStringLiteral("  [2] %1").arg(alternateButton);
    if (!otherButton.isNull()) choices += QStringLiteral("  [3] %1").arg(otherButton);
    QString const answer = readLine(choices + QStringLiteral(": "));
    if (answer == QLatin1String("2") && !alternateButton.isNull()) return sheet_alternate;
    if (answer == QLatin1String("3") && !otherButton.isNull()) return sheet_other;
    return sheet_default;
}

QString ConsoleView::chooseApplication(QString const& prompt, QString const& startFolder, QStringList const& fileTypes) {
    if (m_unattended) return QString();
    return readLine(QStringLiteral("%1 (%2, in %3; empty to cancel): ").arg(prompt, fileTypes.join(QLatin1Char('/')), startFolder));
}

QString ConsoleView::chooseFolder(QString const& prompt, QString const& startFolder) {
    if (m_unattended) return QString();
    return readLine(QStringLiteral("%1 (from %2; empty to cancel): ").arg(prompt, startFolder));
}

} // namespace Refloom
