// The Margina add-in for Microsoft Word: put into, found in and taken out of the startup folder
// of every copy of Word that discovery knows; and staged as a stand-alone folder from the
// archive "Refloom.zip" of the resources.
#pragma once

#include <QString>

#include "integrations/integration_context.h"
#include "integrations/word_discovery.h"

namespace Refloom {

class WordAddin {
public:
    static constexpr char const* kStandAlone = "/Applications/Refloom Margina";

    WordAddin(IntegrationContext& context, WordDiscovery& word, AppLookup& applications);

    // check: 1 when either add-in lies in a startup folder (or m_mode 32 or 36 says so);
    // copy: the version's bundle into every startup folder of every copy of Word 15 or 16;
    // remove: both names out of every startup folder. 1 when something was found or done,
    // 0 when nothing was, -1 when there is no Word at all. `source` holds "Margina/BUNDLE";
    // without one the "Margina" folder beside the installer is used.
    int installWordMode(int mode, int itemNum, QString const& source, QString const& dest);

    void prepareMrgnFolder();
    void cleanupMrgnFolder();
    QString m_tmpMrgnFolder;  // the staging folder; null when none

private:
    // The bundle a copy of Word of that major version takes; null when none.
    static QString bundleFor(int version);
    QString bundleSource(QString const& source, QString const& bundle) const;
    // With a sandbox root, a startup folder whose real location lies outside it.
    bool leavesTheRoot(QString const& folder) const;

    IntegrationContext& m_context;
    WordDiscovery& m_word;
    AppLookup& m_applications;
};

} // namespace Refloom
