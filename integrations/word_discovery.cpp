#include "integrations/word_discovery.h"

#include <QDir>
#include <QFileInfo>

#include "components/install_driver.h"
#include "wizard/state_tables.h"

namespace Refloom {
namespace {

// Word's own startup folder for versions 15 and 16, from the root of the disk.
constexpr char kOffice365Startup[] = "/Library/Application Support/Microsoft/Office365/User Content.localized/Startup.localized/Word";

// How a list prints in the log: one quoted item a line, in brackets.
QString printed(QStringList const& list) {
    QString text = QStringLiteral("(");
    for (qsizetype i = 0; i < list.size(); ++i)
        text += QStringLiteral("\n    \"") + list[i] + (i + 1 < list.size() ? QStringLiteral("\",") : QStringLiteral("\""));
    return text + QStringLiteral("\n)");
}

} // namespace

WordDiscovery::WordDiscovery(IntegrationContext& context, AppLookup& applications, Breadcrumbs& crumbs,
                             bool& mrgnPathAdded, std::function<void()> installCheck)
    : m_context(context), m_applications(applications), m_crumbs(crumbs), m_bMRGN_path_added(mrgnPathAdded),
      m_installCheck(std::move(installCheck)) {}

bool WordDiscovery::isWordRunning() const {
    return m_applications.isAppWithBundleIDRunning(QString::fromLatin1(kWordIdentifier));
}

void WordDiscovery::wordQuitHandler() {
    WizardView& view = m_context.view;
    if (isWordRunning()) {
        if (view.selectedPage() == kQuitWordPage) return;
        view.selectPage(kQuitWordPage);
        view.setButtonEnabled(Button::back, false);
        view.setButtonTitle(Button::next, QStringLiteral("Retry"));
        view.redisplay();
        return;
    }
    int const page = m_context.engine.currentTab();
    if (page != -1) view.selectPage(page);
    view.redisplay();
}

void WordDiscovery::doCheckForWord() {
    m_context.logInstall(QStringLiteral("Searching for Microsoft Word"), mode_check);
    m_context.view.startSpinner(QStringLiteral("progress"));
    m_context.view.redisplay();
    // The texts name /Applications wherever the copies were found.
    if (checkWordExists()) {
        m_context.engine.skipToState(QStringLiteral("GotWord"));
        m_context.log.logMessage(QStringLiteral("Check For Word: exists in /Applications"));
    } else {
        m_context.log.logMessage(QStringLiteral("Check For Word: does not exist in /Applications"));
        m_context.engine.skipToNextState();
    }
}

void WordDiscovery::startToFind() {
    m_bMRGN_path_added = false;
    m_context.view.setButtonEnabled(Button::back, false);
    m_context.view.setButtonEnabled(Button::next, false);
    m_context.view.startSpinner(QStringLiteral("custProgress"));
    m_context.view.redisplay();
    constructWordAndStartupPaths();
    m_installCheck();
    m_context.engine.doNextState();
}

void WordDiscovery::doFoundMSWord() {
    qsizetype const found = m_wordAndStartupPaths.size();
    QString const updater = localized("Updater");
    QString text;
    if (found < 1)
        text = localized("The %@ could not find Microsoft Word 2016 nor 2019 installed on this computer.").replace(QStringLiteral("%@"), updater);
    else if (found == 1)
        text = localized("The %@ will install the Margina add-in for the instance of Microsoft Word 2016 or 2019 installed on this computer.").replace(QStringLiteral("%@"), updater);
    else
        text = localized("The %@ will install the Margina add-in for the %d instances of Microsoft Word 2016 or 2019 installed on this computer.")
                   .replace(QStringLiteral("%@"), updater)
                   .replace(QStringLiteral("%d"), QString::number(found));
    m_context.view.setText(QStringLiteral("numOfMSWordsText"), text);
    m_context.view.setHidden(QStringLiteral("uninstallBtn"), true);
}

QStringList WordDiscovery::wordPaths() {
    if (!m_wordPaths.isEmpty()) return m_wordPaths;
    if (m_crumbs.hasWords()) addToWordPaths(m_crumbs.words());
    if (auto found = m_applications.findApplicationsWithBundleIdentifier(QString::fromLatin1(kWordIdentifier), 12, 99))
        addToWordPaths(*found);
    addToWordPaths(m_applications.findApplication(QStringLiteral("Microsoft Word"), 10, 11));
    if (!m_wordPaths.isEmpty()) m_context.log.logMessage(QStringLiteral("Determine Word Paths: ") + printed(m_wordPaths));
    return m_wordPaths;
}

void WordDiscovery::addToWordPaths(QStringList const& records) {
    for (QString const& record : records) {
        if (record.isEmpty()) continue;  // an empty breadcrumb names nothing
        QString const path = recordFields(record).first();
        if (!m_wordPaths.contains(path, Qt::CaseInsensitive)) m_wordPaths.append(path);
    }
}

void WordDiscovery::constructWordAndStartupPaths() {
    m_wordAndStartupPaths.clear();
    m_wordPaths = wordPaths();
    for (QString const& entry : QStringList(m_wordPaths)) {
        QString const path = recordFields(entry).first();
        if (!QFileInfo::exists(path)) continue;
        int const version = m_applications.getMajorVersion(path);
        QStringList const folders = getWordStartupFolders(path);
        // Only the first folder of a copy of version 12 or later makes a record.
        if (version >= 12 && !folders.isEmpty())
            m_wordAndStartupPaths.append(QStringLiteral("%1|||%2|||%3").arg(path, folders.first()).arg(version));
    }
}

QStringList WordDiscovery::getWordStartupFolders(QString const& wordPath) {
    int const version = m_applications.getMajorVersion(wordPath);
    m_context.log.logMessage(QStringLiteral("Word Startup Folder(s) for: \"%1\", Version: %2.").arg(wordPath).arg(version));
    QStringList folders;
    auto found = [&](QString const& folder) {
        folders.append(folder);
        m_context.log.logMessage(QStringLiteral("    --> \"%1\"").arg(folder));
    };
    for (QString const& record : m_crumbs.words()) {
        if (record.isEmpty()) continue;
        QStringList const fields = recordFields(record);
        if (fields.first().compare(wordPath, Qt::CaseInsensitive) == 0 && fields.size() > 1 && !fields[1].isEmpty())
            found(fields[1]);
    }
    if (version == 15 || version == 16) found(m_context.root.map(QString::fromLatin1(kOffice365Startup)));
    return folders;
}

QString WordDiscovery::getWordTemplatesFolder(QString const& wordPath) const {
    for (QString const& relative : m_wordTemplateDirs) {
        QString const folder = wordPath + QLatin1Char('/') + relative;
        if (QFileInfo(folder).isDir()) return folder + QStringLiteral("/Refloom");
    }
    return {};
}

QStringList WordDiscovery::getOldMRGNFiles(QString const& folder) {
    QStringList found;
    for (QString const& name : QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System))
        if (name.startsWith(QLatin1String("Refloom"))) found.append(folder + QLatin1Char('/') + name);
    return found;
}

} // namespace Refloom
