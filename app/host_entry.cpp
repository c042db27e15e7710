#include "app/host_entry.h"

#include <QLibrary>

namespace Refloom {
namespace {

constexpr int kNotRun = 129;
int gAppMode = 0;

} // namespace

int runCustomizer(QString const& hostResources, int mode) {
    QLibrary bundle(hostResources + QStringLiteral("/Customizer.bundle/Contents/MacOS/Customizer"));
    using Entry = int (*)(int);
    auto entry = reinterpret_cast<Entry>(bundle.resolve("showCustomizerFromMenu"));
    return entry ? entry(mode) : kNotRun;
}

bool runCustomizerIfNeeded(QString const& hostResources, std::function<int()> const& customizerMode,
                           std::function<void()> const& terminate) {
    int const mode = customizerMode ? customizerMode() : 0;
    gAppMode = mode;
    if (mode == 0) return false;
    if (runCustomizer(hostResources, mode == 34 ? 34 : 32) != kNotRun && terminate) terminate();
    return true;
}

int getAppMode() { return gAppMode; }

} // namespace Refloom
