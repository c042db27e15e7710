// A picture from an icon file at the size it is shown, drawn from the file's own image of that
// many pixels (or the next larger), so that it is sharp on any screen.
#pragma once

#include <QPixmap>
#include <QString>

namespace Refloom {

// `points` square at `pixelRatio` pixels a point. An icns file gives its best image; another
// picture file is scaled smoothly. A null pixmap when neither can be read.
QPixmap iconPicture(QString const& path, int points, qreal pixelRatio);

} // namespace Refloom
