#include "ui/rf_panel_controller.h"

#include <QAbstractButton>
#include <QDialog>
#include <QLabel>
#include <QPixmap>
#include <QPushButton>

#include "ui/icns_picture.h"
#include "ui/window_files.h"

namespace Refloom {
namespace {

// A text shows the button; none hides it (the default button then reads "OK").
void setButton(QAbstractButton* button, QString const& text, bool isDefault) {
    if (!button) return;
    bool const shown = !text.isNull() || isDefault;
    button->setText(text.isNull() ? QStringLiteral("OK") : text);
    button->setEnabled(shown);
    button->setVisible(shown);
}

} // namespace

int rfPanelController::showSheetOnWindow(QWidget* parent, QString const& title, QString const& message,
                                         QString const& defaultButton, QString const& alternateButton,
                                         QString const& otherButton) {
    std::unique_ptr<QWidget> loaded = loadWindowFile(m_panelFile, parent);
    auto* panel = qobject_cast<QDialog*>(loaded.get());
    if (!panel) {
        systemLogLine(QStringLiteral("Load of rfPanal.NIB failed"));
        return 1;
    }
    panel->setWindowFlag(Qt::Sheet);
    panel->setWindowModality(Qt::WindowModal);
    panel->setWindowTitle(title);
    if (auto* text = panel->findChild<QLabel*>(QStringLiteral("msgText"))) text->setText(message);
    if (auto* icon = panel->findChild<QLabel*>(QStringLiteral("msgIcon")); icon && !m_iconFile.isEmpty())
        icon->setPixmap(iconPicture(m_iconFile, 64, icon->devicePixelRatioF()));
    struct Choice {
        char const* name;
        QString text;
        int answer;
    };
    Choice const choices[] = {{"defBtn", defaultButton, 1}, {"altBtn", alternateButton, 0}, {"othBtn", otherButton, -1}};
    // Return presses the default button, which is drawn as such, and Escape answers as it does:
    // a question that destroys something ("Uninstall ...?") has "No" there.
    int result = 1;
    for (Choice const& choice : choices) {
        auto* button = panel->findChild<QPushButton*>(QString::fromLatin1(choice.name));
        setButton(button, choice.text, choice.answer == 1);
        if (!button) continue;
        button->setAutoDefault(false);
        button->setDefault(choice.answer == 1);
        if (choice.answer == 1) button->setFocus();
        QObject::connect(button, &QAbstractButton::clicked, panel, [panel, &result, answer = choice.answer] {
            result = answer;
            panel->accept();
        });
    }
    panel->exec();
    return result;
}

} // namespace Refloom
