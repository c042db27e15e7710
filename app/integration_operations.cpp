// The host integrations' operations in the controller's table: Word discovery and its pages,
// the startup-folder page's controls, the breadcrumbs, and the add-in, Spotlight, Services and
// browser extension mode handlers ([mode, itemNum, source, dest]).
#include "app/operation_arguments.h"
#include "app/rf_controller.h"

namespace Refloom {
using namespace OperationArguments;

void rfController::registerIntegrationOperations() {
    auto add = [this](char const* name, std::function<QVariant(Arguments const&)> run) { OperationArguments::add(m_operations, name, std::move(run)); };
    auto act = [this](char const* name, std::function<void()> run) { OperationArguments::act(m_operations, name, std::move(run)); };
    auto handler = [this](char const* name, std::function<int(int, int, QString const&, QString const&)> run) {
        OperationArguments::handler(m_operations, name, std::move(run));
    };

    // Word discovery and its pages.
    act("startToFind", [this] { m_word.startToFind(); });
    act("doCheckForWord", [this] { m_word.doCheckForWord(); });
    act("doFoundMSWord", [this] { m_word.doFoundMSWord(); });
    act("wordQuitHandler", [this] { m_word.wordQuitHandler(); });
    act("constructWordAndStartupPaths", [this] { m_word.constructWordAndStartupPaths(); });
    add("isWordRunning", [this](Arguments const&) { return QVariant(m_word.isWordRunning()); });
    add("checkWordExists", [this](Arguments const&) { return QVariant(m_word.checkWordExists()); });
    add("wordPaths", [this](Arguments const&) { return QVariant(m_word.wordPaths()); });
    add("addToWordPaths:", [this](Arguments const& a) { m_word.addToWordPaths(a.value(0).toStringList()); return QVariant(); });
    add("getWordStartupFolders:", [this](Arguments const& a) { return QVariant(m_word.getWordStartupFolders(text(a, 0))); });
    add("getWordTemplatesFolder:", [this](Arguments const& a) { return QVariant(m_word.getWordTemplatesFolder(text(a, 0))); });
    add("getOldMRGNFiles:", [](Arguments const& a) { return QVariant(WordDiscovery::getOldMRGNFiles(text(a, 0))); });

    // The startup-folder page and the breadcrumbs.
    act("doACplus:", [this] { m_startupFolders.doACplus(); });
    act("doACminus:", [this] { m_startupFolders.doACminus(); });
    act("doACchange:", [this] { m_startupFolders.doACchange(); });
    act("doACReset:", [this] { m_startupFolders.doACReset(); });
    act("skipToAltMRGN:", [this] { m_startupFolders.skipToAltMRGN(); });
    act("doAltMRGN", [this] { m_startupFolders.doAltMRGN(); });
    act("updateAltMRGNControls", [this] { m_startupFolders.updateAltMRGNControls(); });
    act("tableViewSelectionIsChanging:", [this] { m_startupFolders.updateAltMRGNControls(); });
    act("tableViewSelectionDidChange:", [this] { m_startupFolders.updateAltMRGNControls(); });
    add("askUserForWord", [this](Arguments const&) { return QVariant(m_startupFolders.askUserForWord()); });
    add("askUserForStartupFolder:", [this](Arguments const& a) { return QVariant(m_startupFolders.askUserForStartupFolder(text(a, 0))); });
    add("addWordCrumb:", [this](Arguments const& a) { m_crumbs.addWordCrumb(text(a, 0)); return QVariant(); });
    add("deleteWordCrumb:", [this](Arguments const& a) { m_crumbs.deleteWordCrumb(number(a, 0)); return QVariant(); });
    act("saveBreadcrumbs", [this] { m_crumbs.saveBreadcrumbs(); });

    // The add-in, Spotlight, Services and the browser extension.
    handler("installWordMode:itemNum:source:dest:", [this](int m, int i, QString const& s, QString const& d) { return m_addin.installWordMode(m, i, s, d); });
    act("prepareMrgnFolder", [this] { m_addin.prepareMrgnFolder(); });
    act("cleanupMrgnFolder", [this] { m_addin.cleanupMrgnFolder(); });
    handler("installSpotlightMode:itemNum:source:dest:", [this](int m, int i, QString const& s, QString const& d) { return m_spotlightServices.installSpotlightMode(m, i, s, d); });
    handler("installServicesMode:itemNum:source:dest:", [this](int m, int i, QString const& s, QString const& d) { return m_spotlightServices.installServicesMode(m, i, s, d); });
    act("adjustServSpot", [this] { m_spotlightServices.adjustServSpot(); });
    handler("installFernwickMode:itemNum:source:dest:", [this](int m, int i, QString const& s, QString const& d) { return m_browserExtension.installFernwickMode(m, i, s, d); });
    add("useChromeStore", [this](Arguments const&) { return QVariant(m_browserExtension.useChromeStore()); });
}

} // namespace Refloom
