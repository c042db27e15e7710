#include "integrations/startup_folders.h"

#include <QFileInfo>

#include "wizard/state_tables.h"

namespace Refloom {
namespace {

constexpr char kTable[] = "acTbl";
constexpr char const* kColumns[] = {"wordPath", "startupPath", "wordversion"};
constexpr char const* kHeaders[] = {QT_TRID_NOOP("Word"), QT_TRID_NOOP("Startup folder"), QT_TRID_NOOP("Version")};

} // namespace

void WordTableModel::refresh() {
    beginResetModel();
    endResetModel();
}

QString WordTableModel::versionName(int version) {
    switch (version) {
    case 10: return QStringLiteral("X");
    case 11: return QStringLiteral("2004");
    case 12: return QStringLiteral("2008");
    case 14: return QStringLiteral("2011");
    case 15:
    case 16: return QStringLiteral("2016");
    default: return QString();
    }
}

int WordTableModel::rowCount(QModelIndex const& parent) const {
    return parent.isValid() ? 0 : int(m_word.wordAndStartupPaths().size());
}

int WordTableModel::columnCount(QModelIndex const& parent) const { return parent.isValid() ? 0 : column_count; }

QVariant WordTableModel::data(QModelIndex const& index, int role) const {
    // Paths are shortened in the middle to fit; the tooltip gives them whole.
    if (!index.isValid() || (role != Qt::DisplayRole && role != Qt::ToolTipRole) || index.row() >= rowCount()) return {};
    QStringList const fields = recordFields(m_word.wordAndStartupPaths().at(index.row()));
    if (index.column() == wordversion) return versionName(fields.value(2).toInt());
    return fields.value(index.column());
}

QVariant WordTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || section < 0 || section >= column_count) return {};
    if (role == Qt::DisplayRole) return localized(kHeaders[section]);
    if (role == Qt::UserRole) return QString::fromLatin1(kColumns[section]);  // the identifier
    return {};
}

StartupFolders::StartupFolders(IntegrationContext& context, WordDiscovery& word, Breadcrumbs& crumbs,
                               AppLookup& applications, bool& mrgnPathAdded)
    : m_context(context), m_word(word), m_crumbs(crumbs), m_applications(applications),
      m_bMRGN_path_added(mrgnPathAdded), m_model(word) {}

void StartupFolders::reload() {
    m_model.refresh();
    m_context.view.reload(QString::fromLatin1(kTable));
}

int StartupFolders::ask(char const* message, char const* defaultButton, char const* alternateButton) {
    return m_context.view.askSheet(localized("Updater"), localized(message), localized(defaultButton),
                                   alternateButton ? localized(alternateButton) : QString(), QString());
}

QString StartupFolders::askUserForApp(QString const& folder, QString const& message) {
    QString const chosen = m_context.view.chooseApplication(message, folder, {QStringLiteral("app"), QStringLiteral("APPL")});
    return chosen.isEmpty() ? QString() : chosen;
}

QString StartupFolders::askUserForDir(QString const& folder, QString const& message) {
    QString const chosen = m_context.view.chooseFolder(message, folder);
    return chosen.isEmpty() ? QString() : chosen;
}

QString StartupFolders::askUserForStartupFolder(QString const& folder) {
    return askUserForDir(folder, localized("Select your Microsoft Word startup folder"));
}

bool StartupFolders::askUserForWord() {
    m_breadCrumbsUpdated = false;
    QString const chosen = askUserForApp(QString(), localized("Please locate your installed copy of Microsoft Word"));
    if (chosen.isNull()) return m_breadCrumbsUpdated;
    m_crumb_word = chosen;
    m_crumb_version = m_applications.getMajorVersion(chosen);
    QString const folder = QFileInfo(chosen).path();
    // A copy of Word straight in /Applications has no "Office" beside it and cannot be added
    // this way. Intended.
    if (!QFileInfo::exists(folder + QStringLiteral("/Office"))) {
        ask(QT_TRID_NOOP("The item you picked does not seem to be in a Microsoft Word installation directory.  Please try again."), QT_TRID_NOOP("OK"), nullptr);
        return m_breadCrumbsUpdated;
    }
    // The folder, not the application, as it always was; an empty answer is guarded below.
    m_crumb_startup = m_word.getWordStartupFolders(folder).value(0);
    alertDidEndWord(ask(QT_TRID_NOOP("If you have configured Word to use a different Startup Folder, Or you are using a non-English "
                                      "Language version of Word, Click 'Set' to set the Startup Folder location."),
                        QT_TRID_NOOP("No"), QT_TRID_NOOP("Set")));
    return m_breadCrumbsUpdated;
}

void StartupFolders::alertDidEndWord(int returnCode) {
    QString folder;
    if (returnCode == sheet_default)
        folder = m_word.getWordStartupFolders(QFileInfo(m_crumb_word).path()).value(0);
    else if (returnCode == sheet_alternate)
        folder = askUserForStartupFolder(m_crumb_word);
    if (folder.isEmpty()) return;  // nothing to remember: the breadcrumbs stay as they are
    m_crumbs.addWordCrumb(QStringLiteral("%1|||%2|||%3").arg(m_crumb_word, folder).arg(m_crumb_version));
    // The user has named a new folder: the next change pass puts the add-in there.
    m_bMRGN_path_added = true;
    m_word.constructWordAndStartupPaths();
    reload();
}

void StartupFolders::doACplus() {
    askUserForWord();
    reload();
}

void StartupFolders::doACminus() {
    int const row = m_context.view.selectedRow(QString::fromLatin1(kTable));
    if (row == -1) return;
    minusAlertDidEnd(ask(QT_TRID_NOOP("Uninstall Margina components from the selected folder, immediately?"), QT_TRID_NOOP("Cancel"),
                         QT_TRID_NOOP("Uninstall")), row);
}

void StartupFolders::minusAlertDidEnd(int returnCode, int row) {
    if (returnCode == sheet_alternate) {
        // The list's row indexes the breadcrumbs; the two agree only when the breadcrumbs lead
        // the list in the same order. Kept as it is.
        QStringList const words = m_crumbs.words();
        if (m_crumbs.hasWords() && row < words.size())
            for (QString const& path : WordDiscovery::getOldMRGNFiles(recordFields(words[row]).value(1)))
                m_context.files.removeFile(path);
        m_crumbs.deleteWordCrumb(row);
        m_word.constructWordAndStartupPaths();
        m_context.view.setEnabled(QStringLiteral("acMinusBtn"), false);
        m_context.view.setEnabled(QStringLiteral("acResetBtn"), false);
    }
    reload();
}

void StartupFolders::doACchange() {
    int const row = m_context.view.selectedRow(QString::fromLatin1(kTable));
    if (row < 0 || row >= m_word.wordAndStartupPaths().size()) return;
    QStringList const fields = recordFields(m_word.wordAndStartupPaths().at(row));
    QString const folder = askUserForStartupFolder(QFileInfo(fields.value(0)).path());
    if (folder.isNull()) return;
    m_crumbs.addWordCrumb(QStringLiteral("%1|||%2|||%3").arg(fields.value(0), folder, fields.value(2)));
    m_bMRGN_path_added = true;
    m_word.constructWordAndStartupPaths();
    reload();
    m_context.view.setEnabled(QStringLiteral("acMinusBtn"), true);
    m_context.view.setEnabled(QStringLiteral("acResetBtn"), true);
}

void StartupFolders::doACReset() {
    int const row = m_context.view.selectedRow(QString::fromLatin1(kTable));
    if (row < 0 || row >= m_word.wordAndStartupPaths().size()) return;
    QString const record = m_word.wordAndStartupPaths().at(row);
    QStringList const words = m_crumbs.words();
    for (int index = 0; index < words.size(); ++index) {
        if (words[index].compare(record, Qt::CaseInsensitive) != 0) continue;
        m_crumbs.deleteWordCrumb(index);
        m_word.constructWordAndStartupPaths();
        reload();
        m_context.view.setEnabled(QStringLiteral("acResetBtn"), false);
        m_context.view.setEnabled(QStringLiteral("acMinusBtn"), false);
        return;
    }
}

void StartupFolders::skipToAltMRGN() { m_context.engine.skipToState(QStringLiteral("altMRGN")); }

void StartupFolders::doAltMRGN() {
    m_context.view.setHidden(QStringLiteral("uninstallBtn"), true);
    reload();
}

bool StartupFolders::isBreadcrumbRow(int row) const {
    if (row < 0 || row >= m_word.wordAndStartupPaths().size()) return false;
    return m_crumbs.words().contains(m_word.wordAndStartupPaths().at(row), Qt::CaseInsensitive);
}

void StartupFolders::updateAltMRGNControls() {
    int const row = m_context.view.selectedRow(QString::fromLatin1(kTable));
    bool const crumb = isBreadcrumbRow(row);
    m_context.view.setEnabled(QStringLiteral("acMinusBtn"), crumb);
    m_context.view.setEnabled(QStringLiteral("acResetBtn"), crumb);
    m_context.view.setEnabled(QStringLiteral("acChange"), row != -1);
}

} // namespace Refloom
