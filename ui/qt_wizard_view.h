// The wizard's window: the view over the window file, finding each outlet by its object name
// as a window file binds outlets (an outlet the file lacks is a no-op). Controls carry the name
// of the operation they run in a dynamic property "action", so the file says what each does.
#pragma once

#include <QAbstractItemModel>
#include <QPointer>
#include <QWidget>

#include <functional>
#include <memory>

#include "ui/rf_panel_controller.h"
#include "wizard/wizard_view.h"

namespace Refloom {

class QtWizardView : public WizardView {
public:
    // `window` is the loaded "Customizer.ui"; `panelFile` the sheet's window file.
    QtWizardView(std::unique_ptr<QWidget> window, rfPanelController panel);
    ~QtWizardView() override;

    QWidget* window() const { return m_window.get(); }
    // Runs a control's action ("next:", "doUninstall:", ...): the controller's operations.
    void setActionHandler(std::function<void(QString const&)> handler) { m_act = std::move(handler); }
    // Shows a model in the item view of that name.
    void attachModel(QString const& view, QAbstractItemModel* model);
    bool isClosed() const { return m_closed; }

    void selectPage(int panel) override;
    int selectedPage() const override;
    void setTitle(QString const& title) override;
    void setOutline(QList<OutlineLine> const& lines) override;
    void setButtonEnabled(Button button, bool enabled) override;
    void setButtonTitle(Button button, QString const& title) override;
    void setButtonShown(Button button, bool shown) override;
    bool showPicture(QString const& path) override;

    void setText(QString const& outlet, QString const& text) override;
    void setEnabled(QString const& outlet, bool enabled) override;
    void setHidden(QString const& outlet, bool hidden) override;
    void startSpinner(QString const& outlet) override;
    void stopSpinner(QString const& outlet) override;
    int cellState(QString const& outlet, int cell) const override;
    int selectedRow(QString const& outlet) const override;
    void reload(QString const& outlet) override;

    int askSheet(QString const& title, QString const& message, QString const& defaultButton,
                 QString const& alternateButton, QString const& otherButton) override;
    QString chooseApplication(QString const& prompt, QString const& startFolder, QStringList const& fileTypes) override;
    QString chooseFolder(QString const& prompt, QString const& startFolder) override;

    void close() override;
    void beep() override;
    void redisplay() override;

    // The outline as rich text in the palette's colours: a bullet per stage, done and current
    // ones in the highlight colour, the current one bold, the ones to come softer but readable.
    static QString outlineHtml(QList<OutlineLine> const& lines, QPalette const& palette);

private:
    QWidget* outlet(QString const& name) const;
    QWidget* button(Button button) const;
    void wireActions();

    std::unique_ptr<QWidget> m_window;
    rfPanelController m_panel;
    std::function<void(QString const&)> m_act;
    bool m_closed = false;
};

} // namespace Refloom
