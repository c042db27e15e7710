// The test process's one QApplication, offscreen. Kept to the end of the process: destroying it
// among the static objects at exit crashes in the test library's input devices.
#pragma once

#include <QApplication>

namespace rf_test {

inline QApplication& offscreenApplication() {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static int argc = 1;
    static char name[] = "ui_tests";
    static char* argv[] = {name, nullptr};
    static QApplication* app = new QApplication(argc, argv);
    return *app;
}

} // namespace rf_test
