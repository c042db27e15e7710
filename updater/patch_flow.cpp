#include "updater/patch_flow.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QVariantMap>

#include "components/install_driver.h"
#include "wizard/state_tables.h"

namespace Refloom {
namespace {

constexpr char kQuestion[] = "patchFound";
constexpr char kContentBundle[] = "Product-Support//Content.bundle";

} // namespace

PatchFlow::PatchFlow(IntegrationContext& context, AppLookup& applications, ContentModes& content,
                     QString custResourceDir, Hooks hooks)
    : m_context(context), m_applications(applications), m_content(content),
      m_custResourceDir(std::move(custResourceDir)), m_hooks(std::move(hooks)) {}

QString PatchFlow::version(QString const& folder) const {
    QDir const dir(folder);
    for (QString const& name : dir.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        if (name.compare(QLatin1String(kBundleName), Qt::CaseInsensitive) == 0)
            return m_applications.getBundleStringForPath(dir.filePath(name), QStringLiteral("CFBundleShortVersionString"));
    return {};
}

PatchFlow::Copy* PatchFlow::record(QString const& folder) {
    for (Copy& copy : m_copies)
        if (copy.folder == folder) return &copy;
    Copy copy;
    copy.folder = folder;
    copy.versionBefore = version(folder);
    m_copies.append(copy);
    return &m_copies.last();
}

void PatchFlow::patchFindUI() {
    m_context.view.startSpinner(QStringLiteral("custProgress"));
    m_context.view.redisplay();
    m_context.engine.doNextState();
}

void PatchFlow::findTheReflooms() {
    disableButtonsInPatch();
    m_context.view.startSpinner(QStringLiteral("custProgress"));
    m_context.view.redisplay();
    if (findAllReflooms() > 0)
        setPatchActions();
    else
        unSetPatchActions(QStringLiteral("Nothing"));
}

int PatchFlow::findAllReflooms() {
    // An empty document of the product's type: the applications that open it are the copies.
    QString const probe = m_context.root.map(QString::fromLatin1(kProbeDocument));
    if (!QFileInfo::exists(probe)) {
        QDir().mkpath(QFileInfo(probe).path());
        QFile(probe).open(QIODevice::WriteOnly);
    }
    QStringList applications = m_applications.findApplicationsForDocumentExtension(QFileInfo(probe).suffix());
    QString const defaultCopy = m_context.root.map(QString::fromLatin1(kDefaultCopy));
    if (QFileInfo::exists(defaultCopy) && !applications.contains(defaultCopy)) applications.append(defaultCopy);
    for (QString const& application : applications) {
        if (QFileInfo(application).fileName().compare(QLatin1String(kBundleName), Qt::CaseInsensitive) != 0) continue;
        QString const folder = QFileInfo(application).path();
        if (!patchRefloom(folder, true)) {
            m_reflooms.append(folder);
            m_context.log.logMessage(QStringLiteral("Found patchable candidate: %1.").arg(folder));
        } else {
            m_context.log.logMessage(QStringLiteral("Found unpatchable instance: %1.").arg(folder));
            // Why, in words: an up-to-date copy is no fault of anyone's.
            m_context.log.logMessage(record(folder)->line());
        }
    }
    if (QFileInfo::exists(probe)) QFile::remove(probe);
    m_rfCounter = int(m_reflooms.size());
    m_rfIndex = 0;
    return m_rfCounter;
}

bool PatchFlow::patchRefloom(QString const& folder, bool justTesting) {
    QStringList arguments{QStringLiteral("-d"), folder, QStringLiteral("-i"), m_custResourceDir + QStringLiteral("/Patchfile.patch")};
    Copy* copy = record(folder);
    if (justTesting) {
        copy->dryRun = m_context.runner.launchApp(tool(), arguments + QStringList{QStringLiteral("-n")});
        return copy->dryRun != 0;
    }

    int const launched = m_context.runner.launchRootApp(tool(), arguments);
    copy->administrator = m_context.runner.authorization() == CommandRunner::Authorization::granted;
    copy->versionAfter = version(folder);
    // The launch's status drives the flow; the report and the Finish page tell whether the
    // patch tool itself succeeded.
    copy->patched = launched == 0 && m_context.runner.exitOfLastRootRun() == 0;
    if (!copy->patched) copy->failure = failureOfRealRun(launched);
    if (launched != 0) return true;

    if (m_hooks.installWordMode) {
        m_hooks.installWordMode(mode_remove, folder);
        m_hooks.installWordMode(mode_copy, folder);
    }
    QString const content = folder + QLatin1Char('/') + QLatin1String(kContentBundle);
    QString const output = m_context.runner.execCmdLineApp(tool(), arguments + QStringList{QStringLiteral("-C")});
    QStringList const lines = output.split(QLatin1Char('\n'));
    if (!lines.isEmpty()) {
        QVariantMap categories;
        for (QString const& line : lines) {
            QStringList const fields = line.split(QLatin1Char(','));
            // "value,key": a pair is taken only when its key is really there in the line.
            if (fields.size() == 2 && !fields[1].isEmpty() && line.contains(fields[1])) categories.insert(fields[1], fields[0]);
        }
        m_content.installPatchCategoriesItems(categories, content);
    }
    return false;
}

QString PatchFlow::setupCurrentRefloom() {
    QString const folder = m_reflooms.value(m_rfIndex);
    updatePatchTextField(folder);
    m_context.view.setText(QStringLiteral("processingText"), QStringLiteral("Updating: %1").arg(folder));
    return folder;
}

void PatchFlow::updatePatchTextField(QString const& folder) {
    m_context.view.setText(QString::fromLatin1(kQuestion),
                           localized("\nA copy of Refloom was found at the following location:\n\n%@\n\nWould you like to update this copy?\n")
                               .replace(QStringLiteral("%@"), folder));
}

void PatchFlow::patchError(QString const& text) {
    m_context.view.setText(QString::fromLatin1(kQuestion),
                           localized("\nAn error occurred while attempting to update a copy of Refloom at this location:\n\n%@\n\nWould you like to try again?\n")
                               .replace(QStringLiteral("%@"), text));
}

void PatchFlow::setPatchActions() {
    m_context.engine.skipToState(QStringLiteral("Found"));
    record(setupCurrentRefloom())->offered = true;
    if (m_hooks.bindBackToNo) m_hooks.bindBackToNo(true);
    m_context.view.setButtonTitle(Button::back, localized("No"));
    m_context.view.setButtonTitle(Button::next, localized("Yes"));
}

void PatchFlow::unSetPatchActions(QString const& label) {
    showOutcomes(label);
    m_context.engine.skipToState(label);
    // A jump redraws nothing; after No (a button, not a row) nobody else would.
    m_context.engine.updateOutlineText();
    m_context.engine.updateTitleText();
    if (m_hooks.bindBackToNo) m_hooks.bindBackToNo(false);
}

void PatchFlow::disableButtonsInPatch() {
    m_context.view.setButtonEnabled(Button::back, false);
    m_context.view.setButtonEnabled(Button::next, false);
    m_context.view.redisplay();
}

void PatchFlow::patchProgressUI() {
    m_context.view.startSpinner(QStringLiteral("progress"));
    m_context.view.redisplay();
    m_context.engine.doNextState();
}

void PatchFlow::doPatchYes() {
    disableButtonsInPatch();
    m_context.view.setText(QStringLiteral("patchCount"), localized("%1 of %2").arg(m_rfIndex + 1).arg(m_rfCounter));
    QString const folder = setupCurrentRefloom();
    record(folder)->answered = true;
    // A real run that launched answers false, so the error text is written and the wizard goes
    // back to the question, which the next copy's question (or "Done") replaces. Intended.
    if (!patchRefloom(folder, false)) {
        patchError(QString());
        m_context.engine.skipToState(QStringLiteral("Found"));
    }
    nextRefloom();
}

void PatchFlow::doPatchNo() {
    if (m_rfIndex < m_rfCounter) m_context.log.logMessage(record(m_reflooms.value(m_rfIndex))->line());
    nextRefloom();
}

QString PatchFlow::failureOfRealRun(int launched) const {
    CommandRunner const& runner = m_context.runner;
    if (runner.authorization() == CommandRunner::Authorization::refused)
        return localized("administrator rights were refused (%@)").replace(QStringLiteral("%@"), runner.refusalReason());
    if (launched != 0)
        return localized("the patch could not be run with administrator rights (status %@)").replace(QStringLiteral("%@"), QString::number(launched));
    return Copy::refusal(runner.exitOfLastRootRun().value_or(1));
}

QStringList PatchFlow::outcomeLines() const {
    QStringList lines;
    for (Copy const& copy : m_copies) lines << copy.line();
    return lines;
}

void PatchFlow::showOutcomes(QString const& label) {
    QStringList lines = outcomeLines();
    if (lines.isEmpty()) lines << localized("No copy of Refloom 2025 was found on this computer.");
    lines << QString() << localized("The log of every step: %@").replace(QStringLiteral("%@"), m_context.log.path());
    m_context.view.setText(QString::fromLatin1(label == QLatin1String("Done") ? "doneText" : "nothingText"), lines.join(QLatin1Char('\n')));
}

void PatchFlow::nextRefloom() {
    ++m_rfIndex;
    if (m_rfIndex < m_rfCounter)
        setPatchActions();
    else
        unSetPatchActions(QStringLiteral("Done"));
}

} // namespace Refloom
