#include "integrations/spotlight_services.h"

#include <QFileInfo>

#include <exception>

#include "components/install_driver.h"

namespace Refloom {
namespace {

// Host sub-modes: 32 trusts the host that the components are there, 35 asks to look.
constexpr int kHostMode = 32;
constexpr int kLookMode = 35;

constexpr char kKillScript[] = "KillRFService.sh";
constexpr char kDisabled[] = ".disabled";

bool exists(QString const& path) { return QFileInfo::exists(path); }

} // namespace

struct SpotlightServices::Placement {
    QString caption; // for logInstall
    QString noun;    // in the check's log lines
    QString buttons; // the outlet whose cells choose the levels
    QString source;
    QString user;
    QString system;
    bool stopHelper; // end a running copy before its files change
};

SpotlightServices::SpotlightServices(IntegrationContext const& context) : m_context(context) {}

SpotlightServices::Placement SpotlightServices::spotlight() const {
    QString const name = QStringLiteral("/Library/Spotlight/Refloom.mdimporter");
    return {QStringLiteral("Spotlight Support"),
            QStringLiteral("Spotlight"),
            QStringLiteral("spotBtns"),
            m_context.bundlePath + QStringLiteral("/Contents") + name,
            m_context.root.map(QLatin1Char('~') + name),
            m_context.root.map(name),
            false};
}

SpotlightServices::Placement SpotlightServices::services() const {
    QString const name = QStringLiteral("/Services/RFService.app");
    return {QStringLiteral("Refloom Services"),
            QStringLiteral("Services"),
            QStringLiteral("servBtns"),
            m_context.installerFolder + name,
            m_context.root.map(QStringLiteral("~/Library") + name),
            m_context.root.map(QStringLiteral("/Library") + name),
            true};
}

int SpotlightServices::installSpotlightMode(int mode, int, QString const&, QString const&) {
    return install(spotlight(), mode, 0);
}

int SpotlightServices::installServicesMode(int mode, int, QString const&, QString const&) {
    Placement const where = services();
    try {
        // A helper may ship disabled; any call, a check included, makes it usable first.
        QString const disabled = where.source + QLatin1String(kDisabled);
        if (exists(disabled)) m_context.files.renameFile(disabled, where.source);
    } catch (std::exception const& error) {
        m_context.log.logException(QString::fromUtf8(error.what()));
    }
    // The helper's answer starts at 1, unlike the importer's. Intended.
    return install(where, mode, 1);
}

int SpotlightServices::install(Placement const& where, int mode, int result) {
    try {
        m_context.logInstall(where.caption, mode);
        bool const user = exists(where.user);
        bool const system = exists(where.system);
        if (mode == mode_check) {
            int const hostMode = m_context.mode();
            if (hostMode == kHostMode) {
                result = 1;
            } else if (hostMode == kLookMode) {
                auto say = [&](char const* text) {
                    m_context.log.logMessage(QString::fromLatin1(text).arg(where.noun));
                };
                result = user || system ? 1 : 0;
                if (user) say("Found User-level %1");
                if (system) say("Found System-level %1");
                if (!result) say("CHECK: Did not find installed %1");
            }
        } else if (mode == mode_copy || mode == mode_remove) {
            // The helper's own script stops it; the answer is not looked at, nor the copies'.
            if (where.stopHelper)
                m_context.runner.runResourceScript(QLatin1String(kKillScript), std::nullopt, false);
            if (mode == mode_copy) {
                if (m_context.view.cellState(where.buttons, kUserCell) == 1)
                    m_context.files.copyPath(where.source, where.user);
                if (m_context.view.cellState(where.buttons, kSystemCell) == 1)
                    m_context.files.copyPath(where.source, where.system);
            } else {
                if (user) m_context.files.removeFile(where.user);
                if (system) m_context.files.removeFile(where.system);
            }
        }
    } catch (std::exception const& error) {
        m_context.log.logException(QString::fromUtf8(error.what()));
    }
    return result;
}

void SpotlightServices::adjustServSpot() {
    struct Group {
        char const* method;
        char const* text;
        char const* buttons;
    };
    static constexpr Group kGroups[] = {{"inst_Spotlight", "spotText", "spotBtns"},
                                        {"inst_Services", "servText", "servBtns"}};
    WizardView& view = m_context.view;
    for (Group const& group : kGroups) {
        view.setEnabled(QLatin1String(group.text), false);
        view.setEnabled(QLatin1String(group.buttons), false);
    }
    rfRules const& rules = m_context.rules;
    bool offered = false;
    for (int rule = 0; rule < rules.count(); ++rule) {
        QString const method = rules.getItemMethod(rule);
        // Only a component chosen now that was not installed at the start needs a location.
        if (rules.getItemState(rule) != 1 || rules.getItemInitialState(rule) == 1) continue;
        for (Group const& group : kGroups) {
            if (method != QLatin1String(group.method)) continue;
            view.setEnabled(QLatin1String(group.text), true);
            view.setEnabled(QLatin1String(group.buttons), true);
            offered = true;
        }
    }
    if (!offered) {
        // Nothing to choose: the page is passed over.
        view.setButtonEnabled(Button::back, false);
        m_context.engine.nextState();
    }
}

} // namespace Refloom
