#include "support/icns_file.h"

#include <QtEndian>

namespace Refloom {
namespace {

struct PngType {
    int pixels;
    char const* type;
};
// The types that hold PNG data, and the pixel size of each.
constexpr PngType kTypes[] = {{16, "icp4"}, {32, "icp5"}, {64, "icp6"},  {128, "ic07"}, {256, "ic08"}, {512, "ic09"},
                              {1024, "ic10"}, {32, "ic11"}, {64, "ic12"}, {256, "ic13"}, {512, "ic14"}};

void putLength(QByteArray& out, quint32 value) {
    char bytes[4];
    qToBigEndian(value, bytes);
    out.append(bytes, 4);
}

} // namespace

QList<QByteArray> icnsTypesFor(int pixels) {
    QList<QByteArray> types;
    for (PngType const& entry : kTypes)
        if (entry.pixels == pixels) types << QByteArray(entry.type);
    return types;
}

QByteArray writeIcns(QList<IcnsImage> const& images) {
    QByteArray body;
    for (IcnsImage const& image : images) {
        body += image.type.left(4);
        putLength(body, quint32(8 + image.png.size()));
        body += image.png;
    }
    QByteArray file("icns");
    putLength(file, quint32(8 + body.size()));
    return file + body;
}

std::optional<QList<IcnsImage>> readIcns(QByteArray const& bytes) {
    if (bytes.size() < 8 || !bytes.startsWith("icns") || qFromBigEndian<quint32>(bytes.constData() + 4) != quint32(bytes.size()))
        return std::nullopt;
    QList<IcnsImage> images;
    for (qsizetype at = 8; at < bytes.size();) {
        if (bytes.size() - at < 8) return std::nullopt;
        quint32 const length = qFromBigEndian<quint32>(bytes.constData() + at + 4);
        if (length < 8 || length > quint32(bytes.size() - at)) return std::nullopt;
        QByteArray const data = bytes.mid(at + 8, length - 8);
        if (data.startsWith("\x89PNG\r\n\x1a\n")) images << IcnsImage{bytes.mid(at, 4), data};
        at += length;
    }
    return images;
}

} // namespace Refloom
