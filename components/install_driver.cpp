#include "components/install_driver.h"

#include <algorithm>
#include <iterator>

#include "wizard/state_tables.h"

namespace Refloom {
namespace {

constexpr char kWordMethod[] = "inst_Word";
constexpr char kFileMethod[] = "inst_File";
constexpr char kWordHandler[] = "installWordMode:itemNum:source:dest:";
constexpr char kFernwickHandler[] = "installFernwickMode:itemNum:source:dest:";
// Handlers that answer their file operation's own status, which is true on failure: 0 is done.
constexpr char const* kPassesFileStatus[] = {"inst_Category", "inst_allCategories"};

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

void InstallDriver::noteOutcome(QString const& name, int action, std::optional<int> result, bool fileStatus) {
    bool const done = result == (fileStatus ? 0 : 1);
    m_failed = m_failed || !done;
    if (action == mode_copy)
        m_outcomes << (done ? localized("Installed: %1") : !result ? localized("Not installed: %1 (nothing in this program installs it)")
                                                                    : localized("Not installed: %1 (the log says why)"))
                              .arg(name);
    else
        m_outcomes << (done ? localized("Removed: %1") : !result ? localized("Not removed: %1 (nothing in this program removes it)")
                                                                  : localized("Not removed: %1 (the log says why)"))
                              .arg(name);
}

void InstallDriver::showOutcomes() {
    QString const text = m_outcomes.isEmpty() ? localized("Nothing was changed.") : m_outcomes.join(QLatin1Char('\n'));
    for (char const* outlet : {"changeText", "removedText", "installText", "addinText", "addinRemovedText"})
        m_view.setText(QString::fromLatin1(outlet), text);
}

void InstallDriver::initialInstall() {
    for (char const* line : kBanner) m_log.logMessage(QString::fromLatin1(line));
    m_outcomes.clear();
    // The old add-in and extension are always removed first, so that no old copy survives.
    struct Piece {
        char const* handler;
        char const* name;
    };
    for (Piece const piece : {Piece{kWordHandler, QT_TRID_NOOP("the Margina add-in for Word")},
                              Piece{kFernwickHandler, QT_TRID_NOOP("the Fernwick Extension")}}) {
        m_run(QString::fromLatin1(piece.handler), mode_remove, 0, QString(), QString());
        noteOutcome(localized(piece.name), mode_copy, m_run(QString::fromLatin1(piece.handler), mode_copy, 0, QString(), QString()), false);
    }
    showOutcomes();
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
    m_outcomes.clear();
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
        std::optional<int> const answer = dispatch(changeHandlers(), rule, action);
        if (answer) result = *answer;
        m_log.logMessage(line + (result == 1 ? QStringLiteral(" Result: Succeeded") : QStringLiteral(" Result: Failed")));
        // The line above may carry the step before's result, or a file operation's status read
        // the other way; these say what happened here.
        bool const fileStatus = std::any_of(std::begin(kPassesFileStatus), std::end(kPassesFileStatus),
                                            [&](char const* name) { return method == QLatin1String(name); });
        if (!answer)
            m_log.logMessage(QStringLiteral("No step of this pass handles %1: nothing was done for it.").arg(m_rules.getItemName(rule)));
        else if (fileStatus)
            m_log.logMessage(QStringLiteral("%1: the step %2 (its handler answers the file operation's own status, %3)")
                                 .arg(m_rules.getItemName(rule), *answer == 0 ? QStringLiteral("succeeded") : QStringLiteral("failed"))
                                 .arg(*answer));
        // What the user asked to change: a state other than the one found, or anything there in
        // an uninstall. A component put back as it was is a repair, not a change.
        int const found = m_rules.getItemInitialState(rule);
        bool const asked = m_bUninstall ? found == 1 || found == -2 : state != found;
        if (asked) noteOutcome(m_rules.getItemName(rule), action, answer, fileStatus);
    }
    showOutcomes();
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
