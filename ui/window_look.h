// How the window takes its colours: from the application's palette, which the platform fills in
// for its light or dark appearance, never from colours of its own. Where no platform theme does
// that (offscreen pictures, tests), darkPalette() stands in for a dark appearance, set on the
// application as a platform theme sets it.
#pragma once

#include <QColor>
#include <QPalette>

class QApplication;

namespace Refloom {

// A complete dark palette: every role, and a disabled group that looks disabled.
QPalette darkPalette();

// Makes check boxes and radio buttons stand out from the ground they are drawn on, at least
// 3:1, in light and dark. The Fusion style draws their outline in a shade of the window
// colour, which a dark palette makes all but invisible. Other styles are left as they are.
void useReadableIndicators(QApplication& application);

// The contrast ratio of two colours, as WCAG 2.1 defines it (1 to 21).
double contrast(QColor const& a, QColor const& b);

// `ink` moved towards `ground` by up to `share` (0 to 1), as far as it keeps `ratio` against it:
// a softer text that is still readable.
QColor softened(QColor const& ink, QColor const& ground, double share, double ratio);

} // namespace Refloom
