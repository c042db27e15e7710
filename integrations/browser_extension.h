// The Fernwick Extension for Google Chrome ("inst_Fernwick"), offered through Chrome's
// external-extensions folder: one small JSON file, named after the extension's identifier,
// that gives Chrome the URL to fetch the extension from. The file and its folder belong to the
// administrator, so every change there is an administrator run.
#pragma once

#include <QString>

#include "integrations/integration_context.h"

namespace Refloom {

class BrowserExtension {
public:
    // The file Chrome reads, before the system root places it.
    static constexpr char const* kExtensionFile =
        "/Library/Application Support/Google/Chrome/External Extensions/"
        "kqmfhpdlagoebnjcpihmnoqfbdekgaal.json";

    // `updateUrl` is the update manifest Chrome fetches the extension from (the Info.plist's
    // "FernwickUpdateURL").
    BrowserExtension(IntegrationContext const& context, QString updateUrl);

    // Source and dest are not used. A check answers 1 under the host sub-modes 32 and 36 without
    // looking, under 35 whether the file is there, and 0 otherwise; a copy or a remove answers 1
    // when the file is there, or gone, afterwards. A folder at the file's place is never the
    // file. Without an update URL a copy writes nothing and answers 0.
    int installFernwickMode(int mode, int itemNum, QString const& source, QString const& dest);

    // False only when the installed file names an update URL off Google's hosts.
    bool useChromeStore() const;

    // The file's content: {"external_update_url":"..."}, compact, slashes not escaped.
    QByteArray fileContent() const;
    // Where the file lies under the system root.
    QString target() const;

private:
    bool present() const;
    int copy();
    int remove();

    IntegrationContext m_context;
    QString m_updateUrl;
};

} // namespace Refloom
