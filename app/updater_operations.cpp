// The updater's operations in the controller's table, under the names the patch flow's rows
// and its Back binding use.
#include "app/operation_arguments.h"
#include "app/rf_controller.h"

namespace Refloom {

void rfController::registerUpdaterOperations() {
    auto act = [this](char const* name, std::function<void()> run) { OperationArguments::act(m_operations, name, std::move(run)); };
    act("patchFindUI", [this] { m_patchFlow.patchFindUI(); });
    act("findTheReflooms", [this] { m_patchFlow.findTheReflooms(); });
    act("patchProgressUI", [this] { m_patchFlow.patchProgressUI(); });
    act("doPatchYes", [this] { m_patchFlow.doPatchYes(); });
    act("doPatchNo:", [this] { m_patchFlow.doPatchNo(); });
    act("nextRefloom", [this] { m_patchFlow.nextRefloom(); });
    act("setPatchActions", [this] { m_patchFlow.setPatchActions(); });
    act("disableButtonsInPatch", [this] { m_patchFlow.disableButtonsInPatch(); });
    m_operations.add(QStringLiteral("findAllReflooms"), [this](QVariant const&) { return QVariant(m_patchFlow.findAllReflooms()); });
    m_operations.add(QStringLiteral("setupCurrentRefloom"), [this](QVariant const&) { return QVariant(m_patchFlow.setupCurrentRefloom()); });
    m_operations.add(QStringLiteral("unSetPatchActions:"), [this](QVariant const& label) {
        m_patchFlow.unSetPatchActions(label.toString());
        return QVariant();
    });
    m_operations.add(QStringLiteral("patchRefloom:justTesting:"), [this](QVariant const& arguments) {
        QVariantList const a = arguments.toList();
        return QVariant(m_patchFlow.patchRefloom(a.value(0).toString(), a.value(1).toBool()));
    });
}

} // namespace Refloom
