// The privileged part's operations in the controller's table, under the names the rest of the
// program uses. Arguments come as a QVariantList in the order of the name's parts; a missing or
// invalid one is null (nil).
#include "app/operation_arguments.h"
#include "app/rf_controller.h"

namespace Refloom {
namespace {

using namespace OperationArguments;

struct Entry {
    char const* name;
    QVariant (*run)(rfController&, Arguments const&);
};

// clang-format off
constexpr Entry kEntries[] = {
    {"authenticate", [](rfController& c, Arguments const&) { return QVariant(c.runner().authenticate()); }},
    {"dethenticate", [](rfController& c, Arguments const&) { c.dethenticate(); return QVariant(); }},
    {"launchApp:params:", [](rfController& c, Arguments const& a) { return QVariant(c.runner().launchApp(text(a, 0), params(a, 1))); }},
    {"launchRootApp:params:", [](rfController& c, Arguments const& a) { return QVariant(c.runner().launchRootApp(text(a, 0), params(a, 1))); }},
    {"systemCallWithLog:withParams:justUser:", [](rfController& c, Arguments const& a) { return QVariant(c.runner().systemCallWithLog(text(a, 0), params(a, 1), flag(a, 2))); }},
    {"runResourceScript:withParams:justUser:", [](rfController& c, Arguments const& a) { return QVariant(c.runner().runResourceScript(text(a, 0), params(a, 1), flag(a, 2))); }},
    {"execCmdLineApp:withParams:", [](rfController& c, Arguments const& a) { return QVariant(c.runner().execCmdLineApp(text(a, 0), params(a, 1))); }},
    {"removeFile:", [](rfController& c, Arguments const& a) { return QVariant(c.files().removeFile(text(a, 0))); }},
    {"renameFile:toFile:", [](rfController& c, Arguments const& a) { return QVariant(c.files().renameFile(text(a, 0), text(a, 1))); }},
    {"copyPath:toPath:", [](rfController& c, Arguments const& a) { return QVariant(c.files().copyPath(text(a, 0), text(a, 1))); }},
    {"unlockFile:", [](rfController& c, Arguments const& a) { return QVariant(c.files().unlockFile(text(a, 0))); }},
    {"unlockDir:", [](rfController& c, Arguments const& a) { return QVariant(c.files().unlockDir(text(a, 0))); }},
    {"chmod:mode:", [](rfController& c, Arguments const& a) { return QVariant(c.files().chmod(text(a, 0), text(a, 1))); }},
    {"makeDir:", [](rfController& c, Arguments const& a) { return QVariant(c.files().makeDir(text(a, 0))); }},
    {"symLink:dstPath:", [](rfController& c, Arguments const& a) { return QVariant(c.files().symLink(text(a, 0), text(a, 1))); }},
    {"makeAliasTarget:toAlias:", [](rfController& c, Arguments const& a) { return QVariant(c.files().makeAliasTarget(text(a, 0), text(a, 1))); }},
    {"getBundleStringForPath:Key:", [](rfController& c, Arguments const& a) { return QVariant(c.applications().getBundleStringForPath(text(a, 0), text(a, 1))); }},
    {"getMajorVersion:", [](rfController& c, Arguments const& a) { return QVariant(uint(c.applications().getMajorVersion(text(a, 0)))); }},
    {"findApplication:fromVer:toVer:", [](rfController& c, Arguments const& a) { return QVariant(c.applications().findApplication(text(a, 0), number(a, 1), number(a, 2))); }},
    {"findApplicationsWithBundleIdentifier:fromVer:toVer:", [](rfController& c, Arguments const& a) {
        auto found = c.applications().findApplicationsWithBundleIdentifier(text(a, 0), number(a, 1), number(a, 2));
        return found ? QVariant(*found) : QVariant();
    }},
    {"isAppWithBundleIDRunning:", [](rfController& c, Arguments const& a) { return QVariant(c.applications().isAppWithBundleIDRunning(text(a, 0))); }},
};
// clang-format on

} // namespace

void rfController::registerPrivilegedOperations() {
    for (Entry const& entry : kEntries)
        m_operations.add(QString::fromLatin1(entry.name),
                         [this, run = entry.run](QVariant const& arguments) { return run(*this, arguments.toList()); });
}

} // namespace Refloom
