#include "components/install_driver.h"

#include "wizard/state_tables.h"

namespace Refloom {
namespace {

constexpr char kWordMethod[] = "inst_Word";
constexpr char kFileMethod[] = "inst_File";
constexpr char kWordHandler[] = "installWordMode:itemNum:source:dest:";
constexpr char kFernwickHandler[] = "installFernwickMode:itemNum:source:dest:";

// clang-format off
constexpr MethodHandler kCheck[] = {
    {"inst_Word",          kWordHandler},
    {"inst_File",          "installFileMode:itemNum:source:dest:"},
    {"inst_Dir",           "installDirMode:itemNum:source:dest:"},
    {"inst_Services",      "installServicesMode:itemNum:source:dest:"},
    {"inst_Spotlight",     "installSpotlightMode:itemNum:source:dest:"},
    {"inst_Fernwick",      kFernwickHandler},
    {"inst_Uninst",        "installUninstMode:itemNum:source:dest:"},
    {"inst_Category",      "installCategoryMode:itemNum:source:dest:"},
    {"inst_allCategories", "installAllCategoriesMode:itemNum:source:dest:"},
};
constexpr MethodHandler kChange[] = {
    {"inst_Word",          kWordHandler},
    {"inst_File",          "installFileMode:itemNum:source:dest:"},
    {"inst_Dir",           "installDirMode:itemNum:source:dest:"},
    {"inst_Services",      "installServicesMode:itemNum:source:dest:"},
    {"inst_Spotlight",     "installSpotlightMode:itemNum:source:dest:"},
    {"inst_Fernwick",      kFernwickHandler},
    {"inst_allCategories", "installAllCategoriesMode:itemNum:source:dest:"},
    {"inst_Category",      "installCategoryMode:itemNum:source:dest:"},
};
// clang-format on

char const* const kBanner[] = {
    "******************************************************",
    "******************************************************",
    "**                                                  **",
    "**  Initial install                                 **",
    "**                                                  **",
    "**                                                  **",
    "**                                                  **",
    "**    Build number: 22265",
    "**                                                  **",
    "******************************************************",
    "******************************************************",
};

} // namespace

std::span<MethodHandler const> checkHandlers() { return kCheck; }
std::span<MethodHandler const> changeHandlers() { return kChange; }

InstallDriver::InstallDriver(rfRules& rules, InstallerLog& log, WizardView& view, NavigationEngine& engine,
                             RunHandler run, QString fileDest)
    : m_rules(rules), m_log(log), m_view(view), m_engine(engine), m_run(std::move(run)),
      m_fileDest(std::move(fileDest)) {}

std::optional<int> InstallDriver::dispatch(std::span<MethodHandler const> table, int rule, int mode) {
    QString const method = m_rules.getItemMethod(rule);
    for (MethodHandler const& entry : table) {
        if (method != QLatin1String(entry.method)) continue;
        QString const dest = method == QLatin1String(kFileMethod) ? m_fileDest : QString();
        return m_run(QString::fromLatin1(entry.selector), mode, rule, QString(), dest);
    }
    return std::nullopt;
}

void InstallDriver::installCheck() {
    for (int rule = 0; rule < m_rules.count(); ++rule) {
        if (m_rules.getItemMethod(rule).isNull()) continue;
        // A method without a handler has nothing to act on.
        m_rules.setInitialItemState(rule, dispatch(checkHandlers(), rule, mode_check).value_or(-1));
    }
}

void InstallDriver::initialInstall() {
    for (char const* line : kBanner) m_log.logMessage(QString::fromLatin1(line));
    // The old add-in and extension are always removed first, so that no old copy survives.
    for (char const* handler : {kWordHandler, kFernwickHandler}) {
        m_run(QString::fromLatin1(handler), mode_remove, 0, QString(), QString());
        m_run(QString::fromLatin1(handler), mode_copy, 0, QString(), QString());
    }
    m_engine.nextState();
}

void InstallDriver::makeChange() {
    m_log.logMessage(QString());
    m_log.logMessage(QString());
    m_log.logMessage(QString::fromLatin1(m_bUninstall ? "Customize un-install" : "Customize install"));
    m_log.logMessage(QString());
    // Set once, not per rule: a rule without a handler in this pass logs the result before it.
    // Intended.
    int result = 0;
    for (int rule = 0; rule < m_rules.count(); ++rule) {
        QString const method = m_rules.getItemMethod(rule);
        QString const description = m_rules.getItemDesc(rule);
        if (method.isNull()) continue;
        // Every rule in a definite state is acted on, changed or not: a change pass repairs too.
        int const state = m_rules.getItemState(rule);
        if (state != 0 && state != 1 && !m_bUninstall) continue;
        int action = state != 0 ? mode_copy : mode_remove;
        bool const word = method == QLatin1String(kWordMethod);
        if (m_bUninstall) {
            action = mode_remove;
        } else if (word && m_bMRGN_path_added) {
            action = mode_copy;
            m_log.logMessage(QStringLiteral("MRGN & Templates has been forced to install because the paths have been updated"));
        }
        QString const line = (action == mode_copy ? QStringLiteral("Installing: %1") : QStringLiteral("Uninstalling: %1")).arg(description);
        if (word && action == mode_copy) dispatch(changeHandlers(), rule, mode_remove);
        if (std::optional<int> answer = dispatch(changeHandlers(), rule, action)) result = *answer;
        m_log.logMessage(line + (result == 1 ? QStringLiteral(" Result: Succeeded") : QStringLiteral(" Result: Failed")));
    }
    m_engine.skipToNextState();
    // After an uninstall the step that follows the change step is passed over.
    if (m_bUninstall) m_engine.skipToNextState();
}

void InstallDriver::doUninstall() {
    int const answer = m_view.askSheet(
        localized("Updater"),
        localized("Uninstall will remove all external Refloom components from your computer.  Are you sure you want to do this?"),
        localized("No"), localized("Yes"), QString());
    if (answer != sheet_alternate) return;
    m_bUninstall = true;
    m_view.setEnabled(QStringLiteral("uninstallBtn"), false);
    m_engine.skipToState(QStringLiteral("Go"));
}

} // namespace Refloom

namespace Refloom {

bool InstallDriver::doRFWUninstall() {
    int const answer = m_view.askSheet(localized("Updater"),
                                       localized("Uninstall will remove Refloom Margina from your computer.  Are you sure you want to do this?"),
                                       localized("No"), localized("Yes"), QString());
    if (answer == sheet_alternate) {
        m_bUninstall = true;
        m_view.setEnabled(QStringLiteral("uninstallBtn"), false);
        m_engine.skipToState(QStringLiteral("doRFWUninstall"));
    }
    return true;
}

} // namespace Refloom
