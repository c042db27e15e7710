// The page on which the user names a copy of Word and its startup folder, changes or forgets
// such a choice, or takes the add-in out of a folder; the choices are kept as breadcrumbs.
// The page's list ("acTbl") is discovery's Word-and-startup records; a row is a breadcrumb row
// when a breadcrumb equals its record, ignoring case.
#pragma once

#include <QAbstractTableModel>
#include <QString>

#include "integrations/breadcrumbs.h"
#include "integrations/integration_context.h"
#include "integrations/word_discovery.h"

namespace Refloom {

// The records as a table: "wordPath", "startupPath" and "wordversion" (shown by name).
class WordTableModel : public QAbstractTableModel {
public:
    enum Column { wordPath, startupPath, wordversion, column_count };
    explicit WordTableModel(WordDiscovery& word) : m_word(word) {}

    void refresh();
    // 10 "X", 11 "2004", 12 "2008", 14 "2011", 15 and 16 "2016", anything else empty.
    static QString versionName(int version);

    int rowCount(QModelIndex const& parent = QModelIndex()) const override;
    int columnCount(QModelIndex const& parent = QModelIndex()) const override;
    QVariant data(QModelIndex const& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

private:
    WordDiscovery& m_word;
};

class StartupFolders {
public:
    // `mrgnPathAdded` is set whenever the user adds or changes a folder, so that the next
    // change pass installs the add-in there whatever its tick says.
    StartupFolders(IntegrationContext& context, WordDiscovery& word, Breadcrumbs& crumbs, AppLookup& applications,
                   bool& mrgnPathAdded);

    WordTableModel& model() { return m_model; }

    QString askUserForApp(QString const& folder, QString const& message);
    QString askUserForDir(QString const& folder, QString const& message);
    QString askUserForStartupFolder(QString const& folder);
    // Asks for a copy of Word, then whether to set its startup folder; answers whether the
    // breadcrumbs changed (which nothing here sets).
    bool askUserForWord();
    void alertDidEndWord(int returnCode);
    void doACplus();
    void doACminus();
    void minusAlertDidEnd(int returnCode, int row);
    void doACchange();
    void doACReset();
    void skipToAltMRGN();
    void doAltMRGN();
    void updateAltMRGNControls();

private:
    void reload();
    bool isBreadcrumbRow(int row) const;
    int ask(char const* message, char const* defaultButton, char const* alternateButton);

    IntegrationContext& m_context;
    WordDiscovery& m_word;
    Breadcrumbs& m_crumbs;
    AppLookup& m_applications;
    bool& m_bMRGN_path_added;
    WordTableModel m_model;
    QString m_crumb_word;
    int m_crumb_version = 0;
    QString m_crumb_startup;
    bool m_breadCrumbsUpdated = false;
};

} // namespace Refloom
