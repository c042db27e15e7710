// The host's side of "Customizer.bundle": loading the bundle from the host's resources and
// running the wizard in it.
#pragma once

#include <QString>

#include <functional>

namespace Refloom {

// Loads "Customizer.bundle" from `hostResources` and calls its entry with `mode`; 129 when
// nothing could be run.
int runCustomizer(QString const& hostResources, int mode);
// Runs the wizard when `customizerMode` asks for it (0: no): 34 runs the automatic install,
// any other mode 32. `terminate` ends the host when the wizard did not end normally. True
// when it ran.
bool runCustomizerIfNeeded(QString const& hostResources, std::function<int()> const& customizerMode,
                           std::function<void()> const& terminate);
// The mode the last runCustomizerIfNeeded chose; 0 before.
int getAppMode();

} // namespace Refloom
