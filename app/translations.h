// The program's texts in the user's language: "Refloom_LANG.qm" from the resources'
// "translations" folder, for the system's (or the default) locale; English without one.
#pragma once

#include <QString>

namespace Refloom {

// True when a translation for the locale was found and installed.
bool installTranslations(QString const& resourceDir);

} // namespace Refloom
