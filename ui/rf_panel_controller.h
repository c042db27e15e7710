// The question sheet: a window-modal panel on the main window, loaded from "rfPanel.ui", with
// up to three buttons. Answers 1 for the default button, 0 for the alternate, -1 for the other;
// 1 when the panel file cannot be loaded.
#pragma once

#include <QString>
#include <QWidget>

namespace Refloom {

class rfPanelController {
public:
    explicit rfPanelController(QString panelFile, QString iconFile = QString())
        : m_panelFile(std::move(panelFile)), m_iconFile(std::move(iconFile)) {}

    // A null text hides the alternate and other buttons; a null default text shows "OK".
    int showSheetOnWindow(QWidget* parent, QString const& title, QString const& message, QString const& defaultButton,
                          QString const& alternateButton, QString const& otherButton);

private:
    QString m_panelFile;
    QString m_iconFile;
};

} // namespace Refloom
