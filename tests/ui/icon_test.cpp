// The program's icons: every size of the icon file drawn from the vector source, and the window
// showing the image of the size it needs, never one scaled up.
#include <gtest/gtest.h>

#include <QFile>
#include <QImage>

#include "support/icns_file.h"
#include "tests/fixtures/privileged.h"
#include "tests/fixtures/scratch.h"
#include "tests/ui/offscreen_app.h"
#include "ui/icns_picture.h"

using namespace Refloom;

TEST(Icon, TheIconFileHoldsEverySizeAndTheWindowTakesTheOneItShows) {
    rf_test::offscreenApplication();
    QString const path = rf_test::bundleResources() + "/Customizer.icns";
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    std::optional<QList<IcnsImage>> const images = readIcns(file.readAll());
    ASSERT_TRUE(images);
    QMap<QByteArray, int> widths;
    for (IcnsImage const& image : *images) widths[image.type] = QImage::fromData(image.png, "PNG").width();
    EXPECT_EQ(widths, (QMap<QByteArray, int>{{"icp4", 16}, {"icp5", 32}, {"icp6", 64}, {"ic07", 128}, {"ic08", 256}, {"ic09", 512},
                                             {"ic10", 1024}, {"ic11", 32}, {"ic12", 64}, {"ic13", 256}, {"ic14", 512}}));

    // 128 points on a doubled screen: the file's own 256-pixel image, as drawn.
    QPixmap const sharp = iconPicture(path, 128, 2.0);
    EXPECT_EQ(sharp.size(), QSize(256, 256));
    EXPECT_EQ(sharp.devicePixelRatio(), 2.0);
    auto const own = std::find_if(images->begin(), images->end(), [](IcnsImage const& image) { return image.type == "ic08"; });
    EXPECT_EQ(sharp.toImage().convertToFormat(QImage::Format_ARGB32),
              QImage::fromData(own->png, "PNG").convertToFormat(QImage::Format_ARGB32));
}

TEST(Icon, ABrokenIconFileGivesNoPicture) {
    rf_test::offscreenApplication();
    rf_test::Scratch scratch;
    QFile file(rf_test::bundleResources() + "/Customizer.icns");
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    QByteArray const whole = file.readAll();
    EXPECT_FALSE(readIcns(whole.left(whole.size() - 1)));  // its length no longer holds
    QByteArray lying = whole;
    lying[12] = char(0x7f);  // the first entry says it is longer than the file
    EXPECT_FALSE(readIcns(lying));
    EXPECT_TRUE(iconPicture(QString::fromStdString(scratch.write("cut.icns", whole.left(100).toStdString())), 128, 1.0).isNull());
}
