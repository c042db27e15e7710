// The window as the wizard's logic sees it. The Qt window, the console front end and the test
// recorder each implement it; core code never touches a widget. An outlet name the view does not
// have is ignored, as a message to nothing would be.
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace Refloom {

enum class Button { back, next, cancel, help };

// Where a stage of the flow stands; the view chooses bullets, colours and bold.
enum class OutlineState { done, current, to_come };

struct OutlineLine {
    QString text;
    OutlineState state;
    bool operator==(OutlineLine const&) const = default;
};

// Answers of the three-button question sheet.
enum SheetAnswer : int { sheet_default = 1, sheet_alternate = 0, sheet_other = -1 };

class WizardView {
public:
    virtual ~WizardView() = default;

    // The frame.
    virtual void selectPage(int panel) = 0;
    virtual int selectedPage() const = 0;
    virtual void setTitle(QString const& title) = 0;
    virtual void setOutline(QList<OutlineLine> const& lines) = 0;
    virtual void setButtonEnabled(Button button, bool enabled) = 0;
    virtual void setButtonTitle(Button button, QString const& title) = 0;
    virtual void setButtonShown(Button button, bool shown) = 0;
    // Shows the image file in the picture well; false, with the well unchanged, when it cannot.
    virtual bool showPicture(QString const& path) = 0;

    // Named outlets.
    virtual void setText(QString const& outlet, QString const& text) = 0;
    virtual void setEnabled(QString const& outlet, bool enabled) = 0;
    virtual void setHidden(QString const& outlet, bool hidden) = 0;
    virtual void startSpinner(QString const& outlet) = 0;
    virtual void stopSpinner(QString const& outlet) = 0;
    // A cell of a check-box or radio group: 1 on, 0 off (-1 mixed).
    virtual int cellState(QString const& outlet, int cell) const = 0;
    // The selected row of a table or choice matrix, -1 when none.
    virtual int selectedRow(QString const& outlet) const = 0;
    virtual void reload(QString const& outlet) = 0;

    // Questions. The sheet answers a SheetAnswer; the choosers an empty path when cancelled.
    // A null button text leaves that button out (no default text shows one button, "OK").
    virtual int askSheet(QString const& title, QString const& message, QString const& defaultButton,
                         QString const& alternateButton, QString const& otherButton) = 0;
    // One application of the given file types ("app", "APPL"), starting in `startFolder`.
    virtual QString chooseApplication(QString const& prompt, QString const& startFolder,
                                      QStringList const& fileTypes) = 0;
    // One folder, starting in `startFolder`.
    virtual QString chooseFolder(QString const& prompt, QString const& startFolder) = 0;

    virtual void close() = 0;
    virtual void beep() = 0;
    virtual void redisplay() = 0;
};

} // namespace Refloom
