// The wizard window's controller: owns the navigation engine, the log and the view, and the
// table of named operations through which rows, buttons and later parts run its work.
#pragma once

#include <QString>
#include <QVariant>

#include <functional>
#include <memory>

#include "app/operation_table.h"
#include "components/component_model.h"
#include "components/content_modes.h"
#include "components/install_driver.h"
#include "components/rf_item.h"
#include "components/rf_rules.h"
#include "integrations/breadcrumbs.h"
#include "integrations/browser_extension.h"
#include "integrations/integration_context.h"
#include "integrations/spotlight_services.h"
#include "integrations/startup_folders.h"
#include "integrations/word_addin.h"
#include "integrations/word_discovery.h"
#include "updater/patch_flow.h"
#include "privileged/app_lookup.h"
#include "privileged/command_runner.h"
#include "privileged/file_operations.h"
#include "wizard/installer_log.h"
#include "wizard/navigation_engine.h"
#include "wizard/system_root.h"
#include "wizard/wizard_view.h"

namespace Refloom {

class rfController {
public:
    static constexpr int kResultNormal = 129;
    static constexpr int kResultNoInterface = 131;

    struct Setup {
        SystemRoot root;
        QString bundlePath;       // the installer bundle ("... Updater.app"), never under the root
        QString custResourceDir;  // the updater's resources; the bundle's own when empty
        int mode = 0;             // 0 standalone; 32 and 34 from a host
        rfRules* rules = nullptr; // the process-wide rules of the bundle's resources when none

        // The bundle around the running program: "X.app" for ".../X.app/Contents/MacOS/exe",
        // else the executable's own folder.
        static QString runningBundle();
        QString resourceDir() const;  // the bundle's Contents/Resources
        QString updaterResources() const { return custResourceDir.isEmpty() ? resourceDir() : custResourceDir; }
        QString helperPath() const;   // the privileged helper in the bundle's Contents/MacOS
        QString infoPlistPath() const;
    };

    rfController(std::unique_ptr<WizardView> view, Setup setup);

    WizardView& view() { return *m_view; }
    NavigationEngine& engine() { return m_engine; }
    InstallerLog& log() { return m_log; }
    OperationTable& operations() { return m_operations; }
    CommandRunner& runner() { return m_runner; }
    FileOperations& files() { return m_files; }
    AppLookup& applications() { return m_applications; }
    rfRules& rules() { return m_rules; }
    InstallDriver& driver() { return m_driver; }
    ContentModes& content() { return m_content; }
    // The component tree, as the window and the console show it.
    ComponentModel& componentModel() { return m_componentModel; }
    WordDiscovery& word() { return m_word; }
    WordAddin& addin() { return m_addin; }
    StartupFolders& startupFolders() { return m_startupFolders; }
    Breadcrumbs& breadcrumbs() { return m_crumbs; }
    SpotlightServices& spotlightServices() { return m_spotlightServices; }
    BrowserExtension& browserExtension() { return m_browserExtension; }
    PatchFlow& patchFlow() { return m_patchFlow; }
    int resultCode() const { return mResultCode; }
    // True once the user pressed Cancel.
    bool cancelled() const { return m_cancelled; }
    SystemRoot const& systemRoot() const { return m_root; }
    QString resourceDir() const { return m_custResourceDir; }
    // The "RFCustomizerData" dictionary of the installer's Info.plist.
    QVariantMap const& customizerData() const { return m_customizerData; }
    // The installer bundle and the folder that holds it, learned from the program's location.
    QString bundlePath() const { return m_bundlePath; }
    QString installerFolder() const;
    int mode() const { return m_mode; }

    // Runs a registered operation; an unknown name raises UnknownOperation.
    QVariant runSelector(QString const& name, QVariant const& argument = QVariant());

    // Logs the item and mode the install driver works on and shows "Processing: name" on the
    // progress page at once.
    void logInstall(QString const& name, int mode);

    // Each flow's start: its banner in the log, then its tables.
    void startPatchState();
    void startCustomState();
    void startRFWebInstallState();

    // Releases administrator rights; Cancel and every exit call it before the window closes.
    std::function<void()> dethenticate;
    // Hooks later parts fill in: holding Next while Word runs (nothing until then), and ending
    // the application (quits the running event loop).
    std::function<void()> wordQuitHandler = [] {};
    std::function<void()> terminate;

private:
    void registerOperations();
    void registerPrivilegedOperations();
    void registerComponentOperations();
    void registerIntegrationOperations();
    void registerUpdaterOperations();
    // Before a long pass: Back, Next and Cancel rest, the progress spinner turns.
    void startWork();
    // Runs a mode handler by its operation name; none when no part has registered it yet.
    std::optional<int> runModeHandler(QString const& selector, int mode, int itemNum, QString const& source,
                                      QString const& dest);
    // Runs a button's work; an exception from an operation is logged, not shown, and the
    // wizard stays where it is. A table naming an unknown operation still fails loudly.
    void guarded(std::function<void()> const& work);

    // Button actions.
    void next();
    void back();
    void cancel();
    // Button-state operations named by rows.
    void enableButtons();
    void disableButtons();
    void disableBack();
    void setNextTitle(char const* english);
    void doAgreeChange();
    void installPicture(QString const& name);
    // Exit operations: the leave operations of final rows.
    void doExit();
    void doCustExit();
    void doUninstallExit();

    std::unique_ptr<WizardView> m_view;
    SystemRoot m_root;
    InstallerLog m_log;
    OperationTable m_operations;
    NavigationEngine m_engine;
    CommandRunner m_runner;
    FileOperations m_files;
    AppLookup m_applications;
    QString m_bundlePath;
    rfRules& m_rules;
    rfItem m_rootItem;
    ComponentModel m_componentModel;
    ContentModes m_content;
    InstallDriver m_driver;
    QVariantMap m_customizerData;  // the "RFCustomizerData" of the installer's Info.plist
    IntegrationContext m_integration;
    Breadcrumbs m_crumbs;
    WordDiscovery m_word;
    WordAddin m_addin;
    StartupFolders m_startupFolders;
    SpotlightServices m_spotlightServices;
    BrowserExtension m_browserExtension;
    PatchFlow m_patchFlow;
    bool m_backMeansNo = false;  // while the updater offers a copy, Back answers No
    QString m_custResourceDir;
    int m_mode = 0;
    int mResultCode = 0;
    bool m_cancelled = false;
};

} // namespace Refloom
