#include "ui/qt_wizard_view.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QApplication>
#include <QFileDialog>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QStackedWidget>
#include <QTableView>
#include <QTextEdit>
#include <QTreeView>

#include "ui/icns_picture.h"
#include "ui/window_look.h"

namespace Refloom {
namespace {

char const* const kButtons[] = {"backBtn", "nextBtn", "cancelBtn", "helpBtn"};

} // namespace

QtWizardView::QtWizardView(std::unique_ptr<QWidget> window, rfPanelController panel)
    : m_window(std::move(window)), m_panel(std::move(panel)) {
    wireActions();
}

QtWizardView::~QtWizardView() = default;

QWidget* QtWizardView::outlet(QString const& name) const {
    if (!m_window) return nullptr;
    if (m_window->objectName() == name) return m_window.get();
    return m_window->findChild<QWidget*>(name);
}

QWidget* QtWizardView::button(Button which) const { return outlet(QString::fromLatin1(kButtons[int(which)])); }

void QtWizardView::wireActions() {
    if (!m_window) return;
    for (QAbstractButton* control : m_window->findChildren<QAbstractButton*>()) {
        QString const action = control->property("action").toString();
        if (action.isEmpty()) continue;
        // Radio buttons act when chosen, push buttons when clicked.
        QObject::connect(control, &QAbstractButton::clicked, m_window.get(), [this, control, action](bool checked) {
            if (control->isCheckable() && control->autoExclusive() && !checked) return;
            if (m_act) m_act(action);
        });
    }
}

void QtWizardView::attachModel(QString const& view, QAbstractItemModel* model) {
    auto* items = qobject_cast<QAbstractItemView*>(outlet(view));
    if (!items) return;
    items->setModel(model);
    if (auto* tree = qobject_cast<QTreeView*>(items)) {
        tree->expandAll();
        tree->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    }
    if (auto* table = qobject_cast<QTableView*>(items)) {
        // Paths are long: the path columns share the width, the version takes what it needs.
        table->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
        table->horizontalHeader()->setSectionResizeMode(model->columnCount() - 1, QHeaderView::ResizeToContents);
        table->setTextElideMode(Qt::ElideMiddle);
        table->setWordWrap(false);
    }
    QObject::connect(items->selectionModel(), &QItemSelectionModel::selectionChanged, m_window.get(), [this] {
        if (m_act) m_act(QStringLiteral("tableViewSelectionDidChange:"));
    });
}

void QtWizardView::selectPage(int panel) {
    if (auto* pages = qobject_cast<QStackedWidget*>(outlet(QStringLiteral("rfTabView"))); pages && panel >= 0 && panel < pages->count())
        pages->setCurrentIndex(panel);
}

int QtWizardView::selectedPage() const {
    auto* pages = qobject_cast<QStackedWidget*>(outlet(QStringLiteral("rfTabView")));
    return pages ? pages->currentIndex() : -1;
}

void QtWizardView::setTitle(QString const& title) {
    setText(QStringLiteral("titleText"), title);
    // A page without a title of its own has no rule under it either.
    setHidden(QStringLiteral("rule"), title.isEmpty());
}

QString QtWizardView::outlineHtml(QList<OutlineLine> const& lines, QPalette const& palette) {
    QColor const ground = palette.color(QPalette::Window), text = palette.color(QPalette::WindowText);
    QColor const toCome = softened(text, ground, 0.45, 4.6);
    QColor const highlight = palette.color(QPalette::Highlight);
    QColor const marked = contrast(highlight, ground) >= 3.0 ? highlight : text;
    QString html = QStringLiteral("<table cellspacing='0' cellpadding='4'>");
    for (OutlineLine const& line : lines) {
        bool const comes = line.state == OutlineState::to_come;
        QString const bullet = QStringLiteral("color: %1;").arg((comes ? toCome : marked).name()) +
                               (comes ? QString() : QStringLiteral(" font-weight: bold;"));
        QString const words = QStringLiteral("color: %1;").arg((comes ? toCome : text).name()) +
                              (line.state == OutlineState::current ? QStringLiteral(" font-weight: bold;") : QString());
        html += QStringLiteral("<tr><td style='%1'>&#8226;</td><td style='%2'>%3</td></tr>").arg(bullet, words, line.text.toHtmlEscaped());
    }
    return html + QStringLiteral("</table>");
}

void QtWizardView::setOutline(QList<OutlineLine> const& lines) {
    if (auto* label = qobject_cast<QLabel*>(outlet(QStringLiteral("outlineText")))) label->setText(outlineHtml(lines, label->palette()));
}

void QtWizardView::setButtonEnabled(Button which, bool enabled) {
    if (QWidget* control = button(which)) control->setEnabled(enabled);
}

void QtWizardView::setButtonTitle(Button which, QString const& title) {
    if (auto* control = qobject_cast<QAbstractButton*>(button(which))) control->setText(title);
}

void QtWizardView::setButtonShown(Button which, bool shown) {
    if (QWidget* control = button(which)) control->setVisible(shown);
}

bool QtWizardView::showPicture(QString const& path) {
    auto* well = qobject_cast<QLabel*>(outlet(QStringLiteral("rfImage")));
    if (!well) return false;
    QPixmap const picture = iconPicture(path, 128, well->devicePixelRatioF());
    if (picture.isNull()) return false;
    well->setPixmap(picture);
    return true;
}

void QtWizardView::setText(QString const& name, QString const& text) {
    QWidget* widget = outlet(name);
    if (auto* label = qobject_cast<QLabel*>(widget)) label->setText(text);
    else if (auto* edit = qobject_cast<QTextEdit*>(widget)) edit->setPlainText(text);
    else if (auto* line = qobject_cast<QLineEdit*>(widget)) line->setText(text);
    else if (auto* control = qobject_cast<QAbstractButton*>(widget)) control->setText(text);
}

void QtWizardView::setEnabled(QString const& name, bool enabled) {
    if (QWidget* widget = outlet(name)) widget->setEnabled(enabled);
}

void QtWizardView::setHidden(QString const& name, bool hidden) {
    if (QWidget* widget = outlet(name)) widget->setHidden(hidden);
}

void QtWizardView::startSpinner(QString const& name) {
    if (auto* bar = qobject_cast<QProgressBar*>(outlet(name))) {
        bar->setRange(0, 0);  // busy: the bar moves by itself while events are processed
        bar->show();
    }
}

void QtWizardView::stopSpinner(QString const& name) {
    if (auto* bar = qobject_cast<QProgressBar*>(outlet(name))) bar->setRange(0, 1);
}

int QtWizardView::cellState(QString const& name, int cell) const {
    QWidget* group = outlet(name);
    if (!group) return 0;
    QList<QAbstractButton*> const cells = group->findChildren<QAbstractButton*>();
    if (cell < 0 || cell >= cells.size()) return 0;
    return cells[cell]->isChecked() ? 1 : 0;
}

int QtWizardView::selectedRow(QString const& name) const {
    QWidget* widget = outlet(name);
    if (auto* items = qobject_cast<QAbstractItemView*>(widget)) {
        QModelIndexList const rows = items->selectionModel() ? items->selectionModel()->selectedRows() : QModelIndexList();
        return rows.isEmpty() ? -1 : rows.first().row();
    }
    // A choice matrix: the row of its chosen cell.
    if (widget) {
        QList<QAbstractButton*> const cells = widget->findChildren<QAbstractButton*>();
        for (qsizetype i = 0; i < cells.size(); ++i)
            if (cells[i]->isChecked()) return int(i);
    }
    return -1;
}

void QtWizardView::reload(QString const& name) {
    if (auto* items = qobject_cast<QAbstractItemView*>(outlet(name))) items->viewport()->update();
}

int QtWizardView::askSheet(QString const& title, QString const& message, QString const& defaultButton,
                           QString const& alternateButton, QString const& otherButton) {
    return m_panel.showSheetOnWindow(m_window.get(), title, message, defaultButton, alternateButton, otherButton);
}

QString QtWizardView::chooseApplication(QString const& prompt, QString const& startFolder, QStringList const& fileTypes) {
    // An application is a bundle, a folder: the dialog chooses folders named like one.
    QFileDialog dialog(m_window.get(), prompt, startFolder);
    dialog.setFileMode(QFileDialog::Directory);
    QStringList filters;
    for (QString const& type : fileTypes) filters << QStringLiteral("*.") + type;
    dialog.setNameFilter(prompt + QStringLiteral(" (") + filters.join(QLatin1Char(' ')) + QStringLiteral(")"));
    return dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty() ? dialog.selectedFiles().first() : QString();
}

QString QtWizardView::chooseFolder(QString const& prompt, QString const& startFolder) {
    return QFileDialog::getExistingDirectory(m_window.get(), prompt, startFolder);
}

void QtWizardView::close() {
    m_closed = true;
    if (m_window) m_window->close();
}

void QtWizardView::beep() { QApplication::beep(); }

void QtWizardView::redisplay() {
    if (m_window) m_window->repaint();
}

} // namespace Refloom
