// Renders a vector icon at every size the Mac's icon file holds and writes the file:
//   rf_make_icns SOURCE.svg OUTPUT.icns
// Each size is drawn from the vector source itself, so every one is sharp.
#include <QBuffer>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSaveFile>
#include <QSvgRenderer>

#include <cstdio>

#include "support/icns_file.h"

using namespace Refloom;

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    if (argc != 3) {
        std::fputs("usage: rf_make_icns SOURCE.svg OUTPUT.icns\n", stderr);
        return 2;
    }
    QSvgRenderer source(QString::fromLocal8Bit(argv[1]));
    if (!source.isValid()) {
        std::fprintf(stderr, "rf_make_icns: %s is no vector image it can read\n", argv[1]);
        return 1;
    }
    QList<IcnsImage> images;
    for (int pixels : {16, 32, 64, 128, 256, 512, 1024}) {
        QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        source.render(&painter);
        painter.end();
        QByteArray png;
        QBuffer buffer(&png);
        buffer.open(QIODevice::WriteOnly);
        image.save(&buffer, "PNG");
        for (QByteArray const& type : icnsTypesFor(pixels)) images << IcnsImage{type, png};
    }
    QSaveFile output(QString::fromLocal8Bit(argv[2]));
    if (!output.open(QIODevice::WriteOnly) || output.write(writeIcns(images)) < 0 || !output.commit()) {
        std::fprintf(stderr, "rf_make_icns: cannot write %s\n", argv[2]);
        return 1;
    }
    return 0;
}
