// A sandbox system root with copies of Word side by side, and an installer with its add-ins
// beside it; every change is the user's own.
#pragma once

#include <string>

#include "privileged/app_lookup.h"
#include "tests/integrations/integration_base.h"

namespace rf_test {

struct WordSandbox : IntegrationBase {
    std::string office2016 = root + "/Applications/Microsoft Office 2016/Microsoft Word.app";  // 15
    std::string word16 = root + "/Applications/Microsoft Word.app";                            // 16
    std::string office2011 = root + "/Applications/Microsoft Office 2011/Microsoft Word.app";  // 14
    std::string office365 =
        root + "/Library/Application Support/Microsoft/Office365/User Content.localized/Startup.localized/Word";
    Refloom::AppLookup applications{log, system};

    WordSandbox();
    // A Word bundle with the identifier and version at `path`.
    void makeWord(std::string const& path, char const* version) const;
};

} // namespace rf_test
