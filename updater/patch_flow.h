// The updater: finds every installed copy of the product the platform knows, offers each in
// turn, and applies the bundle's patch with its patch tool: a dry run as the user to tell
// patchable copies from the others, then the real run as administrator, followed by a refresh
// of the Word add-in and of the copy's content.
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

#include "components/content_modes.h"
#include "updater/copy_outcome.h"
#include "integrations/integration_context.h"
#include "privileged/app_lookup.h"

namespace Refloom {

class PatchFlow {
public:
    static constexpr char const* kProbeDocument = "/tmp/do_not_use_testfile.enl";
    static constexpr char const* kDefaultCopy = "/Applications/Refloom 2025/Refloom 2025.app";
    static constexpr char const* kBundleName = "Refloom 2025.app";

    using Copy = PatchedCopy;

    struct Hooks {
        // Runs the Word add-in handler (mode, item, source, dest); nothing when none.
        std::function<void(int mode, QString const& source)> installWordMode;
        // While a copy is offered Back means No: true binds Back to doPatchNo:, false restores it.
        std::function<void(bool offering)> bindBackToNo;
    };

    PatchFlow(IntegrationContext& context, AppLookup& applications, ContentModes& content, QString custResourceDir,
              Hooks hooks);

    // State operations.
    void patchFindUI();
    void findTheReflooms();
    void patchProgressUI();
    void doPatchYes();
    // Back while a copy is offered.
    void doPatchNo();

    int findAllReflooms();
    // True when it FAILED: the dry run (`justTesting`) or the privileged launch. A real run
    // that launched answers false even when the tool itself failed. Intended.
    bool patchRefloom(QString const& folder, bool justTesting);
    QString setupCurrentRefloom();
    void updatePatchTextField(QString const& folder);
    void patchError(QString const& text);
    void setPatchActions();
    void unSetPatchActions(QString const& label);
    void disableButtonsInPatch();
    void nextRefloom();

    QStringList const& reflooms() const { return m_reflooms; }
    QList<Copy> const& copies() const { return m_copies; }
    // A line a copy found, as the Finish page, the terminal and the log say it.
    QStringList outcomeLines() const;

private:
    QString tool() const { return m_custResourceDir + QStringLiteral("/applyPatch"); }
    QString version(QString const& folder) const;
    Copy* record(QString const& folder);
    // Why the real run just made did not update the copy.
    QString failureOfRealRun(int launched) const;
    // The final page's text: each copy's outcome and where the log is.
    void showOutcomes(QString const& label);

    IntegrationContext& m_context;
    AppLookup& m_applications;
    ContentModes& m_content;
    QString m_custResourceDir;
    Hooks m_hooks;
    QStringList m_reflooms;
    int m_rfCounter = 0;
    int m_rfIndex = 0;
    QList<Copy> m_copies;
};

} // namespace Refloom
