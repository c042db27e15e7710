#include "ui/icns_picture.h"

#include <QFile>
#include <QImage>

#include "support/icns_file.h"

namespace Refloom {

QPixmap iconPicture(QString const& path, int points, qreal pixelRatio) {
    int const pixels = qRound(points * pixelRatio);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return {};
    QByteArray const bytes = file.readAll();
    QImage best;
    if (std::optional<QList<IcnsImage>> const images = readIcns(bytes)) {
        // The smallest image at least as large as wanted, else the largest there is.
        for (IcnsImage const& entry : *images) {
            QImage const image = QImage::fromData(entry.png, "PNG");
            if (image.isNull()) continue;
            bool const bigEnough = image.width() >= pixels;
            if (best.isNull() || (bigEnough && (best.width() < pixels || image.width() < best.width())) ||
                (!bigEnough && best.width() < pixels && image.width() > best.width()))
                best = image;
        }
    } else {
        best = QImage::fromData(bytes);
    }
    if (best.isNull()) return {};
    QPixmap picture = QPixmap::fromImage(best.scaled(pixels, pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation));
    picture.setDevicePixelRatio(pixelRatio);
    return picture;
}

} // namespace Refloom
