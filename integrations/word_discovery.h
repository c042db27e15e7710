// Finding the copies of Microsoft Word, each one's major version and startup folder, and the
// pages that announce them. Records: "Word path|||startup folder|||major version".
#pragma once

#include <QString>
#include <QStringList>

#include <functional>

#include "integrations/breadcrumbs.h"
#include "integrations/integration_context.h"
#include "privileged/app_lookup.h"

namespace Refloom {

class WordDiscovery {
public:
    static constexpr char const* kWordIdentifier = "com.microsoft.Word";
    static constexpr int kQuitWordPage = 12;

    WordDiscovery(IntegrationContext& context, AppLookup& applications, Breadcrumbs& crumbs,
                  bool& mrgnPathAdded, std::function<void()> installCheck);

    // From the installer's Info.plist ("RFCustomizerData": "Templates" and "StartupPaths").
    QStringList m_wordTemplateDirs;
    QStringList m_wordStartupParts;  // kept; nothing consults it

    bool isWordRunning() const;
    // Holds the wizard on the "quit Word" page while Word runs; the Next action calls it first.
    void wordQuitHandler();
    void doCheckForWord();
    void startToFind();
    void doFoundMSWord();

    // The copies of Word, searched once: breadcrumbs first, then by identifier (12-99), then
    // older ones by name (10-11). No duplicates, ignoring case; the first spelling stays.
    QStringList wordPaths();
    void addToWordPaths(QStringList const& records);
    void constructWordAndStartupPaths();
    QStringList const& wordAndStartupPaths() const { return m_wordAndStartupPaths; }
    bool checkWordExists() { return !wordPaths().isEmpty(); }
    // The user's folders for that copy first, then the Office365 one for versions 15 and 16.
    QStringList getWordStartupFolders(QString const& wordPath);
    QString getWordTemplatesFolder(QString const& wordPath) const;
    // Everything in the folder whose name starts with "Refloom".
    static QStringList getOldMRGNFiles(QString const& folder);

private:
    IntegrationContext& m_context;
    AppLookup& m_applications;
    Breadcrumbs& m_crumbs;
    bool& m_bMRGN_path_added;
    std::function<void()> m_installCheck;
    QStringList m_wordPaths;
    QStringList m_wordAndStartupPaths;
};

} // namespace Refloom
