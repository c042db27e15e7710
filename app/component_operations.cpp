// The components layer's operations in the controller's table: the install driver's passes,
// the component tree's controls, and the mode handlers of this layer, under the names the
// tables, the controls and the driver use. Mode handlers take [mode, itemNum, source, dest].
#include "app/operation_arguments.h"
#include "app/rf_controller.h"

namespace Refloom {
namespace {

using namespace OperationArguments;

using Handler = int (ContentModes::*)(int, int, QString const&, QString const&);

struct HandlerEntry {
    char const* name;
    Handler handler;
};

constexpr HandlerEntry kHandlers[] = {
    {"installFileMode:itemNum:source:dest:", &ContentModes::installFileMode},
    {"installDirMode:itemNum:source:dest:", &ContentModes::installDirMode},
    {"installUninstMode:itemNum:source:dest:", &ContentModes::installUninstMode},
    {"installCategoryMode:itemNum:source:dest:", &ContentModes::installCategoryMode},
    {"installAllCategoriesMode:itemNum:source:dest:", &ContentModes::installAllCategoriesMode},
};

} // namespace

void rfController::registerComponentOperations() {
    auto add = [this](char const* name, std::function<QVariant(Arguments const&)> run) { OperationArguments::add(m_operations, name, std::move(run)); };
    add("installCheck", [this](Arguments const&) { m_driver.installCheck(); return QVariant(); });
    add("initialInstall", [this](Arguments const&) { m_driver.initialInstall(); return QVariant(); });
    add("makeChange", [this](Arguments const&) { m_driver.makeChange(); return QVariant(); });
    add("doUninstall:", [this](Arguments const&) { m_driver.doUninstall(); return QVariant(); });
    // Page operations that start a pass: the buttons rest and the spinner turns while it runs;
    // the driver moves the wizard on when it is done.
    add("startToInitialInstall", [this](Arguments const&) { startWork(); m_driver.initialInstall(); return QVariant(); });
    add("startToMakeChange", [this](Arguments const&) { startWork(); m_driver.makeChange(); return QVariant(); });
    // The web edition's start page: install (row 0), uninstall (row 1) or go on.
    m_operations.add(QStringLiteral("doStartRFWeb"), [this](QVariant const&) {
        int const row = m_view->selectedRow(QStringLiteral("matRFWInstall"));
        if (row == 0) m_engine.skipToState(QStringLiteral("Custom"));
        if (row == 1) return QVariant(m_driver.doRFWUninstall());
        return QVariant();
    });
    m_operations.add(QStringLiteral("doRFWUninstall"), [this](QVariant const&) { return QVariant(m_driver.doRFWUninstall()); });
    // The check box column's action: the model has applied the click already.
    add("toggleInstalled:", [](Arguments const&) { return QVariant(); });
    for (HandlerEntry const& entry : kHandlers)
        handler(m_operations, entry.name, [this, run = entry.handler](int m, int i, QString const& s, QString const& d) { return (m_content.*run)(m, i, s, d); });
    add("someItemsAtPath:existAtPath:", [this](Arguments const& a) { return QVariant(m_content.someItemsAtPath(text(a, 0), text(a, 1))); });
    add("itemsAtPath:existAtPath:", [this](Arguments const& a) { return QVariant(m_content.itemsAtPath(text(a, 0), text(a, 1))); });
    add("removeItemsAtPath:fromPath:", [this](Arguments const& a) { return QVariant(m_content.removeItemsAtPath(text(a, 0), text(a, 1))); });
    add("installPatchCategoriesItems:path:", [this](Arguments const& a) {
        std::optional<QVariantMap> categories;
        if (!a.isEmpty() && a[0].isValid()) categories = a[0].toMap();
        m_content.installPatchCategoriesItems(categories, text(a, 1));
        return QVariant();
    });
}

void rfController::startWork() {
    m_view->setButtonEnabled(Button::back, false);
    m_view->setButtonEnabled(Button::next, false);
    m_view->setButtonEnabled(Button::cancel, false);
    m_view->startSpinner(QStringLiteral("progress"));
    m_view->redisplay();
}

std::optional<int> rfController::runModeHandler(QString const& selector, int mode, int itemNum, QString const& source,
                                                QString const& dest) {
    if (!m_operations.contains(selector)) return std::nullopt;  // its part has not registered it
    QVariantList const arguments{mode, itemNum, source.isNull() ? QVariant() : QVariant(source),
                                 dest.isNull() ? QVariant() : QVariant(dest)};
    return m_operations.run(selector, arguments).toInt();
}

} // namespace Refloom
