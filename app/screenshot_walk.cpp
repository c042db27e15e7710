// Walks the flows in the window, offscreen, on a sandbox root, and saves a picture of every
// page it shows, light and dark: docs/screenshots/FLOW-NN-PAGE.png, and page-NN.png for the
// pages no walk reaches. Run by the "screenshots" target.
//   rf_screenshots BUNDLE ROOT OUTPUT_FOLDER
#include <QApplication>
#include <QDir>
#include <QPixmap>
#include <QStyle>
#include <QStyleFactory>

#include "app/page_walk.h"
#include "ui/window_look.h"

using namespace Refloom;

namespace {

struct Walk {
    char const* name;
    CommandLine::Flow flow;
};

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    application.setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    useReadableIndicators(application);
    if (argc != 4) return 2;
    QString const bundle = QString::fromLocal8Bit(argv[1]), root = QString::fromLocal8Bit(argv[2]), output = QString::fromLocal8Bit(argv[3]);
    QDir().mkpath(output);
    for (Walk const& flow : {Walk{"patch", CommandLine::Flow::patch}, Walk{"custom", CommandLine::Flow::custom},
                             Walk{"install", CommandLine::Flow::install}, Walk{"web", CommandLine::Flow::web}})
        for (bool dark : {false, true}) {
            // A dark appearance as a platform theme gives one: the application's palette, set
            // before the window exists; the window takes every colour from it.
            QApplication::setPalette(dark ? darkPalette() : QApplication::style()->standardPalette());
            walkFlow(bundle, root, flow.flow, [&](QtWizardView& view, int step) {
                view.window()->grab().save(QStringLiteral("%1/%2%3-%4-page%5.png")
                                               .arg(output, QString::fromLatin1(flow.name), dark ? QStringLiteral("-dark") : QString())
                                               .arg(step, 2, 10, QLatin1Char('0'))
                                               .arg(view.selectedPage()));
            });
        }
    QApplication::setPalette(QApplication::style()->standardPalette());
    walkLonePages(bundle, root, [&](QtWizardView& view, int panel) {
        view.window()->grab().save(QStringLiteral("%1/page-%2.png").arg(output).arg(panel, 2, 10, QLatin1Char('0')));
    });
    return 0;
}
