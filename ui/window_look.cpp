#include "ui/window_look.h"

#include <QApplication>
#include <QPainter>
#include <QProxyStyle>
#include <QStyleOption>

#include <cmath>

namespace Refloom {
namespace {

double luminance(QColor const& color) {
    auto channel = [](double value) { return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4); };
    return 0.2126 * channel(color.redF()) + 0.7152 * channel(color.greenF()) + 0.0722 * channel(color.blueF());
}

QColor mix(QColor const& a, QColor const& b, double share) {
    return QColor::fromRgbF(float(a.redF() + (b.redF() - a.redF()) * share), float(a.greenF() + (b.greenF() - a.greenF()) * share),
                            float(a.blueF() + (b.blueF() - a.blueF()) * share));
}

// Draws the style's own indicator, then an outline in the text colour softened to 3:1 against
// the ground it lies on.
class ReadableIndicators : public QProxyStyle {
public:
    using QProxyStyle::QProxyStyle;

    void drawPrimitive(PrimitiveElement element, QStyleOption const* option, QPainter* painter, QWidget const* widget) const override {
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        bool const box = element == PE_IndicatorCheckBox || element == PE_IndicatorItemViewItemCheck;
        if (!box && element != PE_IndicatorRadioButton) return;
        QPalette const& palette = option->palette;
        QColor const ground = element == PE_IndicatorItemViewItemCheck ? palette.color(QPalette::Base) : palette.color(QPalette::Window);
        bool const enabled = option->state & State_Enabled;
        QColor const ink = softened(palette.color(enabled ? QPalette::Active : QPalette::Disabled, QPalette::Text), ground, 0.5,
                                    enabled ? 3.2 : 1.6);
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(QPen(ink, 1.0));
        painter->setBrush(Qt::NoBrush);
        QRectF const frame = QRectF(option->rect).adjusted(0.5, 0.5, -0.5, -0.5);
        if (box)
            painter->drawRoundedRect(frame, 2, 2);
        else
            painter->drawEllipse(frame);
        painter->restore();
    }
};

} // namespace

QPalette darkPalette() {
    struct Role {
        QPalette::ColorRole role;
        QColor active, disabled;
    };
    Role const roles[] = {
        {QPalette::Window, QColor(0x2b, 0x2b, 0x2e), QColor(0x2b, 0x2b, 0x2e)},
        {QPalette::WindowText, QColor(0xec, 0xec, 0xee), QColor(0x5a, 0x5a, 0x60)},
        {QPalette::Base, QColor(0x1f, 0x1f, 0x22), QColor(0x26, 0x26, 0x29)},
        {QPalette::AlternateBase, QColor(0x29, 0x29, 0x2d), QColor(0x29, 0x29, 0x2d)},
        {QPalette::Text, QColor(0xec, 0xec, 0xee), QColor(0x5a, 0x5a, 0x60)},
        {QPalette::PlaceholderText, QColor(0xa8, 0xa8, 0xb0), QColor(0x70, 0x70, 0x76)},
        {QPalette::Button, QColor(0x3d, 0x3d, 0x42), QColor(0x33, 0x33, 0x37)},
        {QPalette::ButtonText, QColor(0xec, 0xec, 0xee), QColor(0x5a, 0x5a, 0x60)},
        {QPalette::BrightText, QColor(0xff, 0x6b, 0x6b), QColor(0xff, 0x6b, 0x6b)},
        {QPalette::Light, QColor(0x5c, 0x5c, 0x63), QColor(0x48, 0x48, 0x4d)},
        {QPalette::Midlight, QColor(0x4a, 0x4a, 0x50), QColor(0x3c, 0x3c, 0x41)},
        {QPalette::Mid, QColor(0x8a, 0x8a, 0x92), QColor(0x5a, 0x5a, 0x60)},
        {QPalette::Dark, QColor(0x18, 0x18, 0x1b), QColor(0x18, 0x18, 0x1b)},
        {QPalette::Shadow, QColor(0x00, 0x00, 0x00), QColor(0x00, 0x00, 0x00)},
        {QPalette::Highlight, QColor(0x3d, 0x8e, 0xe0), QColor(0x3a, 0x4a, 0x5c)},
        {QPalette::HighlightedText, QColor(0xff, 0xff, 0xff), QColor(0xa0, 0xa0, 0xa6)},
        {QPalette::Link, QColor(0x6c, 0xb4, 0xff), QColor(0x5a, 0x7a, 0x99)},
        {QPalette::LinkVisited, QColor(0xb4, 0x8c, 0xf0), QColor(0x7a, 0x6a, 0x99)},
        {QPalette::ToolTipBase, QColor(0x3d, 0x3d, 0x42), QColor(0x3d, 0x3d, 0x42)},
        {QPalette::ToolTipText, QColor(0xec, 0xec, 0xee), QColor(0xec, 0xec, 0xee)},
    };
    QPalette palette;
    for (Role const& role : roles) {
        palette.setColor(QPalette::Active, role.role, role.active);
        palette.setColor(QPalette::Inactive, role.role, role.active);
        palette.setColor(QPalette::Disabled, role.role, role.disabled);
    }
    return palette;
}

void useReadableIndicators(QApplication& application) {
    QStyle* const style = application.style();
    if (!style || style->name().compare(QLatin1String("fusion"), Qt::CaseInsensitive) != 0) return;
    application.setStyle(new ReadableIndicators(QStringLiteral("Fusion")));
}

double contrast(QColor const& a, QColor const& b) {
    double const x = luminance(a), y = luminance(b);
    return (std::max(x, y) + 0.05) / (std::min(x, y) + 0.05);
}

QColor softened(QColor const& ink, QColor const& ground, double share, double ratio) {
    for (double step = share; step > 0; step -= 0.05)
        if (QColor const soft = mix(ink, ground, step); contrast(soft, ground) >= ratio) return soft;
    return ink;
}

} // namespace Refloom
