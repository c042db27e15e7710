#include "app/rf_controller.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include "support/plist_bridge.h"

namespace Refloom {
namespace {

constexpr int kWordQuitPage = 12;
// The status line of the progress page, which names the item being worked on.
constexpr char const* kProgressText = "processingText";

} // namespace

QString rfController::Setup::runningBundle() {
    QString const executable = QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath();
    QDir macOS = QFileInfo(executable).dir();
    if (macOS.dirName() == QLatin1String("MacOS") && macOS.cdUp() && macOS.dirName() == QLatin1String("Contents") &&
        macOS.cdUp() && macOS.dirName().endsWith(QLatin1String(".app")))
        return macOS.path();
    return QFileInfo(executable).path();
}

QString rfController::Setup::resourceDir() const { return bundlePath + QStringLiteral("/Contents/Resources"); }
QString rfController::Setup::helperPath() const { return bundlePath + QStringLiteral("/Contents/MacOS/rf-privileged-helper"); }
QString rfController::Setup::infoPlistPath() const { return bundlePath + QStringLiteral("/Contents/Info.plist"); }

rfController::rfController(std::unique_ptr<WizardView> view, Setup setup)
    : m_view(std::move(view)), m_root(setup.root), m_log(m_root),
      m_engine(*m_view, [this](QString const& name) { return runSelector(name); }),
      m_runner(m_log, {setup.updaterResources(),
                       setup.helperPath(), setup.resourceDir(), setup.root}),
      m_files(m_runner, m_log), m_applications(m_log, m_root), m_bundlePath(setup.bundlePath),
      m_rules(setup.rules ? *setup.rules : rfRules::mainRules(setup.resourceDir())), m_rootItem(m_rules, -1, nullptr),
      m_componentModel(m_rootItem),
      m_content(m_rules, m_files, m_log, [this](QString const& name, int mode) { logInstall(name, mode); },
                {installerFolder(), m_root}),
      m_driver(m_rules, m_log, *m_view, m_engine,
               [this](QString const& selector, int mode, int item, QString const& source, QString const& dest) {
                   return runModeHandler(selector, mode, item, source, dest);
               },
               setup.bundlePath + QStringLiteral("/../")),
      m_customizerData(readPlistFile(setup.infoPlistPath()).toMap().value(QStringLiteral("RFCustomizerData")).toMap()),
      m_integration{m_log, m_runner, m_files, m_rules, *m_view, m_engine, m_root, setup.bundlePath, installerFolder(),
                    [this] { return m_mode; }, [this](QString const& name, int mode) { logInstall(name, mode); }},
      m_crumbs(m_log, m_root, setup.bundlePath),
      m_word(m_integration, m_applications, m_crumbs, m_driver.m_bMRGN_path_added, [this] { m_driver.installCheck(); }),
      m_addin(m_integration, m_word, m_applications),
      m_startupFolders(m_integration, m_word, m_crumbs, m_applications, m_driver.m_bMRGN_path_added),
      m_spotlightServices(m_integration),
      m_browserExtension(m_integration, m_customizerData.value(QStringLiteral("FernwickUpdateURL")).toString()),
      m_patchFlow(m_integration, m_applications, m_content, setup.updaterResources(),
                  {.installWordMode = [this](int mode, QString const& source) { runModeHandler(QStringLiteral("installWordMode:itemNum:source:dest:"), mode, 0, source, QString()); },
                   .bindBackToNo = [this](bool offering) { m_backMeansNo = offering; }}),
      m_custResourceDir(setup.updaterResources()),
      m_mode(setup.mode) {
    dethenticate = [this] { m_runner.dethenticate(); };
    wordQuitHandler = [this] { m_word.wordQuitHandler(); };
    m_word.m_wordTemplateDirs = m_customizerData.value(QStringLiteral("Templates")).toStringList();
    m_word.m_wordStartupParts = m_customizerData.value(QStringLiteral("StartupPaths")).toStringList();
    terminate = [] { QCoreApplication::quit(); };
    registerOperations();
    registerPrivilegedOperations();
    registerComponentOperations();
    registerIntegrationOperations();
    registerUpdaterOperations();
}

void rfController::registerOperations() {
    // Operations that answer null whatever they do, by name.
    struct RowOperation {
        char const* name;
        std::function<void(rfController&)> run;
    };
    RowOperation const rows[] = {
        // The engine's own.
        {"doNextState", [](rfController& c) { c.m_engine.doNextState(); }},
        {"nextState", [](rfController& c) { c.m_engine.nextState(); }},
        {"prevState", [](rfController& c) { c.m_engine.prevState(); }},
        {"skipToNextState", [](rfController& c) { c.m_engine.skipToNextState(); }},
        {"skipToPrevState", [](rfController& c) { c.m_engine.skipToPrevState(); }},
        {"updateOutlineText", [](rfController& c) { c.m_engine.updateOutlineText(); }},
        {"updateTitleText", [](rfController& c) { c.m_engine.updateTitleText(); }},
        // Button actions.
        {"next:", [](rfController& c) { c.next(); }},
        {"back:", [](rfController& c) { c.back(); }},
        {"cancel:", [](rfController& c) { c.cancel(); }},
        {"agreeChangeAgree:", [](rfController& c) { c.m_view->setButtonEnabled(Button::next, true); }},
        {"agreeChangeDisagree:", [](rfController& c) { c.m_view->setButtonEnabled(Button::next, false); }},
        {"doGoCustom:", [](rfController& c) { c.m_engine.skipToState(QStringLiteral("altMRGN")); }},
        // Button states.
        {"enableButtons", [](rfController& c) { c.enableButtons(); }},
        {"disableButtons", [](rfController& c) { c.disableButtons(); }},
        {"disableBack", [](rfController& c) { c.disableBack(); }},
        {"disableBackOnly", [](rfController& c) { c.disableBack(); }},
        {"setCont", [](rfController& c) { c.m_view->setButtonTitle(Button::next, QStringLiteral("Continue")); }},
        {"setNext", [](rfController& c) { c.setNextTitle(QT_TRID_NOOP("Next")); }},
        {"setDone", [](rfController& c) { c.disableButtons(); c.setNextTitle(QT_TRID_NOOP("Done")); }},
        {"setExit", [](rfController& c) { c.disableButtons(); c.setNextTitle(QT_TRID_NOOP("Exit")); }},
        {"installAppLogo", [](rfController& c) { c.installPicture(QStringLiteral("/Customizer.icns")); }},
        {"doAgreeChange", [](rfController& c) { c.doAgreeChange(); }},
        // Exits.
        {"doExit", [](rfController& c) { c.doExit(); }},
        {"doCustExit", [](rfController& c) { c.doCustExit(); }},
        {"doUninstallExit", [](rfController& c) { c.doUninstallExit(); }},
    };
    for (RowOperation const& row : rows) {
        m_operations.add(QString::fromLatin1(row.name), [this, run = row.run](QVariant const&) {
            run(*this);
            return QVariant();
        });
    }
    m_operations.add(QStringLiteral("installPicture:"), [this](QVariant const& name) {
        installPicture(name.toString());
        return QVariant();
    });
}

QString rfController::installerFolder() const { return QFileInfo(m_bundlePath).path(); }

QVariant rfController::runSelector(QString const& name, QVariant const& argument) {
    return m_operations.run(name, argument);
}

void rfController::guarded(std::function<void()> const& work) {
    try {
        work();
    } catch (UnknownOperation const&) {
        throw;
    } catch (std::exception const& error) {
        m_log.logException(QString::fromUtf8(error.what()));
    }
}

void rfController::logInstall(QString const& name, int mode) {
    m_log.logInstall(name, mode);
    m_view->setText(QString::fromLatin1(kProgressText), QStringLiteral("Processing: ") + name);
}

void rfController::startPatchState() {
    m_log.logBanner(QStringLiteral("Patcher Started"));
    m_engine.startState(flow_patch, m_mode);
}

void rfController::startCustomState() {
    m_log.logBanner(QStringLiteral("Custom Install from menu"));
    m_engine.startState(flow_custom, m_mode);
}

void rfController::startRFWebInstallState() {
    m_log.logBanner(QStringLiteral("Install Refloom Margina"));
    m_engine.startState(flow_rfweb, m_mode);
}

void rfController::next() {
    guarded([this] {
        wordQuitHandler();
        // The Word-quit page moves on by its own controls, not by Next.
        if (m_view->selectedPage() != kWordQuitPage) m_engine.nextState();
    });
}

void rfController::back() {
    // While the updater offers a copy, Back is its "No".
    guarded([this] { m_backMeansNo ? m_patchFlow.doPatchNo() : m_engine.skipToPrevState(); });
}

void rfController::cancel() {
    m_cancelled = true;
    m_log.logMessage(QString::fromLatin1(InstallerLog::kUserCancelled));
    dethenticate();
    m_view->close();
    terminate();
}

void rfController::enableButtons() {
    m_view->setButtonEnabled(Button::back, true);
    m_view->setButtonEnabled(Button::cancel, true);
}

void rfController::disableButtons() {
    m_view->setButtonEnabled(Button::back, false);
    m_view->setButtonEnabled(Button::cancel, false);
}

void rfController::disableBack() { m_view->setButtonEnabled(Button::back, false); }

void rfController::setNextTitle(char const* english) {
    m_view->setButtonTitle(Button::next, localized(english));
}

void rfController::doAgreeChange() {
    m_view->setButtonEnabled(Button::next, m_view->cellState(QStringLiteral("agreeBtns"), 0) == 1);
}

void rfController::installPicture(QString const& name) {
    // The name carries its own leading "/". A picture that cannot be had leaves the well alone.
    m_view->showPicture(m_custResourceDir + name);
}

void rfController::doExit() {
    m_engine.setDone();
    m_log.logMessage(QString::fromLatin1(InstallerLog::kExitedNormally));
    dethenticate();
    mResultCode = kResultNormal;
    m_view->close();
}

void rfController::doCustExit() {
    m_engine.setDone();
    dethenticate();
    m_view->close();
}

void rfController::doUninstallExit() {
    m_engine.setDone();
    dethenticate();
    m_view->close();
    terminate();
}

} // namespace Refloom
