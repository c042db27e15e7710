// The wizard in a terminal: each page as a title, a progress line and its text; questions on
// standard input; the component tree as a numbered list to tick. Unattended, it asks nothing
// and gives each question the answer a cautious administrator wants: go on, accept, update
// every copy, never uninstall, cancel the choosers, and system-level locations.
#pragma once

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>

#include <cstdio>

#include "components/component_model.h"
#include "wizard/wizard_view.h"

namespace Refloom {

class ConsoleView : public WizardView {
public:
    enum class Press { next, back, cancel };

    ConsoleView(std::FILE* in, std::FILE* out, bool unattended);

    void setComponents(ComponentModel* model) { m_components = model; }
    bool isClosed() const { return m_closed; }
    bool unattended() const { return m_unattended; }
    // Shows the page when it is new and answers what the user (or the unattended rule) presses.
    Press waitForPress();
    // The tree's names, categories and members, for choosing by name.
    bool choose(QString const& name, bool on);
    // A component an unattended run leaves as it is, shown so rather than as not available.
    void setAside(QString const& name) { m_setAside.insert(name); }

    void selectPage(int panel) override;
    int selectedPage() const override { return m_page; }
    void setTitle(QString const& title) override { m_title = title; }
    void setOutline(QList<OutlineLine> const& lines) override;
    // True once a final page, which lists each copy's or component's outcome, was shown.
    bool showedOutcomes() const { return m_showedOutcomes; }
    void setButtonEnabled(Button button, bool enabled) override { m_enabled[int(button)] = enabled; }
    void setButtonTitle(Button button, QString const& title) override { m_titles[int(button)] = title; }
    void setButtonShown(Button button, bool shown) override { m_shown[int(button)] = shown; }
    bool showPicture(QString const&) override { return false; }

    void setText(QString const& outlet, QString const& text) override;
    void setEnabled(QString const&, bool) override {}
    void setHidden(QString const&, bool) override {}
    void startSpinner(QString const& outlet) override;
    void stopSpinner(QString const&) override {}
    int cellState(QString const& outlet, int cell) const override;
    int selectedRow(QString const&) const override { return -1; }
    void reload(QString const&) override {}

    int askSheet(QString const& title, QString const& message, QString const& defaultButton,
                 QString const& alternateButton, QString const& otherButton) override;
    QString chooseApplication(QString const& prompt, QString const& startFolder, QStringList const& fileTypes) override;
    QString chooseFolder(QString const& prompt, QString const& startFolder) override;

    void close() override { m_closed = true; }
    void beep() override {}
    void redisplay() override { std::fflush(m_out); }

private:
    void print(QString const& text) const;
    QString readLine(QString const& prompt) const;
    // The page's own text, printed once while the page shows.
    void printPageText();
    void showPage();
    void showComponents() const;
    void tickComponents();

    std::FILE* m_in;
    std::FILE* m_out;
    bool m_unattended;
    bool m_terminal;
    int m_page = -1;
    bool m_shownPage = false;
    bool m_shownPageText = false;
    bool m_showedOutcomes = false;
    bool m_closed = false;
    QString m_stage;       // the outline's current line, as last printed
    bool m_stageJustSaid = false;
    QString m_count;       // "1 of 2": said with the next progress line
    QString m_title;
    QList<OutlineLine> m_outline;
    bool m_enabled[4] = {true, true, true, true};
    bool m_shown[4] = {true, true, true, true};
    QString m_titles[4];
    QHash<QString, QString> m_texts;
    mutable QHash<QString, int> m_cells;  // answers already given on this page
    ComponentModel* m_components = nullptr;
    QSet<QString> m_setAside;
};

} // namespace Refloom
