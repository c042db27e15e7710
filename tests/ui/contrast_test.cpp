// Every page of every flow, drawn offscreen in a light and a dark appearance, read back pixel by
// pixel: text stands out from its ground at least 4.5:1, check boxes and radio buttons at least
// 3:1 (WCAG 2.1), and a disabled button looks disabled.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QHash>
#include <QImage>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QStyle>
#include <QStyleOptionButton>
#include <QRegularExpression>
#include <QTextDocumentFragment>
#include <QTreeView>

#include "app/page_walk.h"
#include "tests/fixtures/privileged.h"
#include "tests/fixtures/scratch.h"
#include "tests/ui/offscreen_app.h"
#include "ui/window_look.h"

using namespace Refloom;

namespace {

// The colour most of the area has: the ground the rest is drawn on.
QColor groundOf(QImage const& image, QRect const& area) {
    QHash<QRgb, int> counts;
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x) ++counts[image.pixel(x, y) | 0xff000000];
    QRgb best = 0;
    int most = -1;
    for (auto it = counts.begin(); it != counts.end(); ++it)
        if (it.value() > most) most = it.value(), best = it.key();
    return QColor(best);
}

// The contrast of the pixel in `area` that stands out most from `ground`.
double strongest(QImage const& image, QRect const& area, QColor const& ground) {
    double best = 1;
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x) best = std::max(best, contrast(QColor(image.pixel(x, y)), ground));
    return best;
}

struct Findings {
    QStringList faults;
    int texts = 0, boxes = 0, disabled = 0;
    double weakestEnabledButton = 21, strongestDisabledButton = 1;
};

void checkPage(QtWizardView& view, QString const& where, Findings& found) {
    QImage const image = view.window()->grab().toImage();
    auto areaOf = [&](QWidget* widget) { return QRect(widget->mapTo(view.window(), QPoint(0, 0)), widget->size()) & image.rect(); };
    for (QWidget* widget : view.window()->findChildren<QWidget*>()) {
        if (!widget->isVisible() || widget->width() < 4 || widget->height() < 4) continue;
        QRect const area = areaOf(widget);
        auto* label = qobject_cast<QLabel*>(widget);
        auto* button = qobject_cast<QAbstractButton*>(widget);
        bool const hasText = (label && !QTextDocumentFragment::fromHtml(label->text()).toPlainText().trimmed().isEmpty() &&
                              label->pixmap().isNull()) ||
                             (button && !button->text().isEmpty());
        QString const name = where + "/" + widget->objectName();
        bool const push = qobject_cast<QPushButton*>(widget);
        double const ratio = hasText ? strongest(image, area, groundOf(image, area)) : 1;
        if (hasText && widget->isEnabled()) {
            ++found.texts;
            if (ratio < 4.5) found.faults << QStringLiteral("%1: text at %2:1").arg(name).arg(ratio, 0, 'f', 2);
            if (push) found.weakestEnabledButton = std::min(found.weakestEnabledButton, ratio);
        } else if (hasText && push) {
            ++found.disabled;
            found.strongestDisabledButton = std::max(found.strongestDisabledButton, ratio);
            if (ratio < 1.3) found.faults << QStringLiteral("%1: disabled, and its text all but gone at %2:1").arg(name).arg(ratio, 0, 'f', 2);
        }
        if (qobject_cast<QCheckBox*>(widget) || qobject_cast<QRadioButton*>(widget)) {
            ++found.boxes;
            QStyleOptionButton option;
            option.initFrom(widget);
            QStyle::SubElement const element =
                qobject_cast<QCheckBox*>(widget) ? QStyle::SE_CheckBoxIndicator : QStyle::SE_RadioButtonIndicator;
            QRect const indicator = widget->style()->subElementRect(element, &option, widget).translated(area.topLeft());
            QColor const ground = groundOf(image, area);
            if (double const ratio = strongest(image, indicator & image.rect(), ground); ratio < 3.0)
                found.faults << QStringLiteral("%1: its box at %2:1").arg(name).arg(ratio, 0, 'f', 2);
        }
        if (auto* tree = qobject_cast<QTreeView*>(widget); tree && tree->model()) {
            QWidget* const viewport = tree->viewport();
            QRect const inside = areaOf(viewport);
            QColor const ground = groundOf(image, inside);
            for (int row = 0; row < tree->model()->rowCount(); ++row) {
                QModelIndex const box = tree->model()->index(row, 1);
                QRect const cell = tree->visualRect(box).translated(inside.topLeft()) & image.rect();
                // A box that cannot change is drawn as disabled, which the rules exempt.
                if (cell.isEmpty() || !(tree->model()->flags(box) & Qt::ItemIsEnabled)) continue;
                ++found.boxes;
                if (double const ratio = strongest(image, cell, ground); ratio < 3.0)
                    found.faults << QStringLiteral("%1 row %2: its box at %3:1").arg(name).arg(row).arg(ratio, 0, 'f', 2);
            }
        }
    }
}

} // namespace

TEST(Contrast, EveryPageReadsWellInALightAndADarkAppearance) {
    QApplication& application = rf_test::offscreenApplication();
    useReadableIndicators(application);
    rf_test::Scratch scratch;
    QString const root = QString::fromStdString(scratch / "root");
    struct Appearance {
        char const* name;
        QPalette palette;
    };
    for (Appearance const& appearance : {Appearance{"light", application.style()->standardPalette()}, Appearance{"dark", darkPalette()}}) {
        QApplication::setPalette(appearance.palette);
        Findings found;
        for (CommandLine::Flow flow : {CommandLine::Flow::patch, CommandLine::Flow::custom, CommandLine::Flow::install, CommandLine::Flow::web})
            walkFlow(rf_test::bundlePath(), root, flow, [&](QtWizardView& view, int step) {
                checkPage(view, QStringLiteral("%1 flow %2 step %3 page %4").arg(appearance.name).arg(int(flow)).arg(step).arg(view.selectedPage()), found);
            });
        walkLonePages(rf_test::bundlePath(), root, [&](QtWizardView& view, int panel) {
            checkPage(view, QStringLiteral("%1 page %2").arg(appearance.name).arg(panel), found);
        });
        EXPECT_EQ(found.faults.join('\n').toStdString(), "");
        // A disabled button's text is well below any enabled one's: it looks disabled.
        EXPECT_LE(found.strongestDisabledButton, 0.6 * found.weakestEnabledButton) << appearance.name;
        // The check looked at what it is about.
        EXPECT_GT(found.texts, 100) << appearance.name;
        EXPECT_GT(found.boxes, 20) << appearance.name;
        EXPECT_GT(found.disabled, 3) << appearance.name;
    }
    QApplication::setPalette(application.style()->standardPalette());
}

TEST(Contrast, TheOutlineKeepsEveryLineReadable) {
    rf_test::offscreenApplication();
    QList<OutlineLine> const lines = {{"Done", OutlineState::done}, {"Now", OutlineState::current}, {"Later", OutlineState::to_come}};
    for (QPalette const& palette : {QApplication::style()->standardPalette(), darkPalette()}) {
        QString const html = QtWizardView::outlineHtml(lines, palette);
        QRegularExpression const colour("color: (#[0-9a-f]{6})");
        int seen = 0;
        for (auto match = colour.globalMatch(html); match.hasNext(); ++seen)
            EXPECT_GE(contrast(QColor(match.next().captured(1)), palette.color(QPalette::Window)), 3.0) << html.toStdString();
        EXPECT_EQ(seen, 6);
        // The words themselves, bullets apart, are text.
        QRegularExpression const words("<td style='color: (#[0-9a-f]{6});[^']*'>(Done|Now|Later)<");
        for (auto match = words.globalMatch(html); match.hasNext();)
            EXPECT_GE(contrast(QColor(match.next().captured(1)), palette.color(QPalette::Window)), 4.5) << html.toStdString();
    }
}
