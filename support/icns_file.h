// The Mac's icon file, "icns": a header ('icns', total length) and entries, each a four-letter
// type, its length and its data; here every image is stored as PNG, one entry per pixel size.
#pragma once

#include <QByteArray>
#include <QList>

#include <optional>

namespace Refloom {

struct IcnsImage {
    QByteArray type;  // four letters: "ic07" (128 pixels), "ic10" (1024), ...
    QByteArray png;
};

// The PNG entry types, by the width in pixels they hold; one type a size, the larger for the
// doubled sizes ("ic11" is 16 points at 2x).
QList<QByteArray> icnsTypesFor(int pixels);

QByteArray writeIcns(QList<IcnsImage> const& images);
// None for anything that is not a whole icns file; entries that are not PNG are left out.
std::optional<QList<IcnsImage>> readIcns(QByteArray const& bytes);

} // namespace Refloom
