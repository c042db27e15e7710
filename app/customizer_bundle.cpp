// "Customizer.bundle": the wizard as a loadable module that a host application drives through
// the same entry as the program. Everything it reads comes from its own bundle (the window
// files, the rules, the pictures, the patch): its resource folder is both m_custResourceDir and
// m_appResourceDir, and the installer folder is the folder that holds the bundle.
#include <dlfcn.h>

#include <QApplication>
#include <QDir>
#include <QEventLoop>
#include <QFileInfo>

#include "app/run_outcome.h"
#include "app/translations.h"
#include "app/window_session.h"

using namespace Refloom;

namespace {

// Contents/MacOS/Customizer inside X.bundle: the bundle is two folders up from this module.
QString thisBundle() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&thisBundle), &info) == 0 || !info.dli_fname) return {};
    QDir folder = QFileInfo(QString::fromLocal8Bit(info.dli_fname)).absoluteDir();
    folder.cdUp();
    folder.cdUp();
    return folder.absolutePath();
}

} // namespace

// The entry a host calls: 129 on a normal end, 131 when the window file cannot be loaded.
extern "C" __attribute__((visibility("default"))) int showCustomizerFromMenu(int mode) {
    rfController::Setup const setup{.root = SystemRoot::fromEnvironment(), .bundlePath = thisBundle(),
                                    .custResourceDir = QString(), .mode = mode};
    installTranslations(setup.resourceDir());
    std::unique_ptr<QtWizardView> view = loadCustomizerWindow(setup.resourceDir());
    if (!view) return rfController::kResultNoInterface;
    QtWizardView* shown = view.get();
    rfController controller(std::move(view), setup);
    // The host decides whether it ends with the wizard; the wizard ends its own run.
    QEventLoop session;
    controller.terminate = [&session] { session.quit(); };
    setUpWindow(controller, *shown);
    controller.startPatchState();
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, &session, &QEventLoop::quit);
    while (!shown->isClosed()) session.processEvents(QEventLoop::WaitForMoreEvents, 50);
    return controller.resultCode();
}
