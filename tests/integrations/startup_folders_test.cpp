#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QDir>
#include <plist/plist.h>

#include <filesystem>

#include "integrations/startup_folders.h"
#include "support/plist_bridge.h"
#include "tests/integrations/word_fixture.h"

using namespace Refloom;
using rf_test::WordSandbox;
namespace fs = std::filesystem;

namespace {

struct Page : WordSandbox {
    bool mrgnPathAdded = false;
    QString prefs = system.map(QString::fromLatin1(Breadcrumbs::kPreferences));
    std::unique_ptr<Breadcrumbs> crumbs;
    std::unique_ptr<WordDiscovery> word;
    std::unique_ptr<StartupFolders> page;

    explicit Page(std::function<QStringList(Page const&)> const& crumbsOf = {}) {
        if (crumbsOf) writePlistFile(prefs, QVariantMap{{"Word", crumbsOf(*this)}});
        crumbs = std::make_unique<Breadcrumbs>(log, system, context.bundlePath);
        word = std::make_unique<WordDiscovery>(context, applications, *crumbs, mrgnPathAdded, [] {});
        page = std::make_unique<StartupFolders>(context, *word, *crumbs, applications, mrgnPathAdded);
        word->constructWordAndStartupPaths();
    }
    QStringList saved() const { return readPlistFile(prefs).toMap().value("Word").toStringList(); }
};

// The preferences file as `bytes` left it, read by breadcrumbs of an installer at /inst/U.app.
struct Prefs : WordSandbox {
    QString path = system.map(QString::fromLatin1(Breadcrumbs::kPreferences));
    std::string folder = fs::path(path.toStdString()).parent_path();
    explicit Prefs(QByteArray const& bytes) { scratch.write(fs::relative(path.toStdString(), scratch.root()).string(), bytes.toStdString()); }
    Breadcrumbs crumbs() { return Breadcrumbs(log, system, QStringLiteral("/inst/U.app")); }
};

} // namespace

TEST(Breadcrumbs, AnUnreadableFileIsKeptAsideByteForByte) {
    QByteArray const garbage = "<plist><dict><key>Word</key><array><string>half";
    Prefs p(garbage);
    p.crumbs().addWordCrumb(QStringLiteral("/A/Word.app|||/S|||16"));
    QStringList const aside = QDir(QString::fromStdString(p.folder)).entryList({"*.unreadable-*"});
    ASSERT_EQ(aside.size(), 1);
    EXPECT_EQ(rf_test::read_file(p.folder + "/" + aside[0].toStdString()), garbage.toStdString());
    EXPECT_EQ(readPlistFile(p.path).toMap().value("Refloom").toString(), QString("/inst/U.app"));
    EXPECT_EQ(p.messages().filter("Preferences could not be read and were kept as: ").size(), 1);
}

TEST(Breadcrumbs, AFileThatCannotBeKeptAsideIsNeverWritten) {
    if (geteuid() == 0) GTEST_SKIP() << "root writes into a read-only folder all the same";
    Prefs p("not a property list");
    chmod(p.folder.c_str(), 0555);
    p.crumbs().addWordCrumb(QStringLiteral("/A/Word.app|||/S|||16"));
    chmod(p.folder.c_str(), 0755);
    EXPECT_EQ(rf_test::read_file(p.path.toStdString()), "not a property list");
}

TEST(Breadcrumbs, BinaryFilesAreReadAndSamePathsReplaced) {
    QByteArray const xml = plistToXml(QVariantMap{{"Word", QStringList{"/A/Word.app|||/S|||15", "/B/Word.app|||/T|||16"}}});
    plist_t value = nullptr;
    plist_from_xml(xml.constData(), uint32_t(xml.size()), &value);
    char* binary = nullptr;
    uint32_t length = 0;
    plist_to_bin(value, &binary, &length);
    Prefs p(QByteArray(binary, qsizetype(length)));
    free(binary);
    plist_free(value);
    Breadcrumbs crumbs = p.crumbs();
    EXPECT_EQ(crumbs.words().size(), 2);
    crumbs.addWordCrumb(QStringLiteral("/a/WORD.app|||/New|||15"));
    EXPECT_EQ(crumbs.words(), (QStringList{"/a/WORD.app|||/New|||15", "/B/Word.app|||/T|||16"}));
    crumbs.deleteWordCrumb(5);  // out of range: nothing dropped, the file written all the same
    crumbs.deleteWordCrumb(0);
    EXPECT_EQ(readPlistFile(p.path).toMap().value("Word").toStringList(), QStringList{"/B/Word.app|||/T|||16"});
}

TEST(Breadcrumbs, ANulByteInAStringIsReadNotFatal) {
    Prefs p(QByteArray("<plist><dict><key>Word</key><array><string>/A\0B|||/S|||16</string></array></dict></plist>", 89));
    EXPECT_EQ(p.crumbs().words().size(), 1);
}

TEST(StartupFolders, AddingACopyOfWordAsksAndRemembers) {
    Page p;
    std::string const chosen = p.root + "/home/u/Chosen Startup";
    // Not in an Office installation: a sheet says so and nothing is stored.
    p.view.chosen.enqueue(p.at(p.word16));
    EXPECT_FALSE(p.page->askUserForWord());
    EXPECT_TRUE(p.view.questions.last().contains("does not seem to be in a Microsoft Word installation directory"));
    EXPECT_TRUE(p.saved().isEmpty());
    // In one, answered "Set" with a folder: stored, and the next change pass reinstalls.
    p.view.chosen.enqueue(p.at(p.office2016));
    p.view.answers.enqueue(sheet_alternate);
    p.view.chosen.enqueue(p.at(chosen));
    p.page->doACplus();
    EXPECT_EQ(p.saved(), QStringList{p.at(p.office2016) + "|||" + p.at(chosen) + "|||15"});
    EXPECT_TRUE(p.mrgnPathAdded);
    EXPECT_TRUE(p.view.choosers.contains("Select your Microsoft Word startup folder in " + p.at(p.office2016)));
    EXPECT_TRUE(p.view.choosers.first().endsWith(" of app,APPL"));
    EXPECT_EQ(p.word->wordAndStartupPaths().first(), p.at(p.office2016) + "|||" + p.at(chosen) + "|||15");
}

TEST(StartupFolders, RowsControlsAndTheTable) {
    Page p([](Page const& s) { return QStringList{s.at(s.office2016) + "|||" + s.at(s.root + "/home/u/Mine") + "|||15"}; });
    std::string const mine = p.root + "/home/u/Mine";
    WordTableModel& model = p.page->model();
    ASSERT_EQ(model.rowCount(), 2);
    EXPECT_EQ(model.data(model.index(0, WordTableModel::wordversion)).toString(), QString("2016"));

    p.view.rows["acTbl"] = 1;  // the Office365 row: no breadcrumb
    p.page->updateAltMRGNControls();
    EXPECT_FALSE(p.view.enabled.value("acMinusBtn"));
    EXPECT_TRUE(p.view.enabled.value("acChange"));
    p.view.rows["acTbl"] = 0;
    p.page->updateAltMRGNControls();
    EXPECT_TRUE(p.view.enabled.value("acResetBtn"));

    // Minus takes the add-in files out of the breadcrumb's folder and forgets it.
    p.scratch.write("root/home/u/Mine/Refloom MRGN Word 2016.bundle/x", "x");
    p.scratch.write("root/home/u/Mine/Other.bundle/x", "x");
    p.view.answers.enqueue(sheet_alternate);
    p.page->doACminus();
    EXPECT_FALSE(fs::exists(mine + "/Refloom MRGN Word 2016.bundle"));
    EXPECT_TRUE(fs::exists(mine + "/Other.bundle"));
    EXPECT_TRUE(p.saved().isEmpty());
    EXPECT_EQ(model.rowCount(), 2);  // back to the built-in folder for that copy

    // Change gives a row a folder of the user's; Reset forgets it again, files untouched.
    p.view.chosen.enqueue(p.at(mine));
    p.page->doACchange();
    EXPECT_EQ(p.saved(), QStringList{p.at(p.office2016) + "|||" + p.at(mine) + "|||15"});
    p.page->doACReset();
    EXPECT_TRUE(p.saved().isEmpty());
    EXPECT_TRUE(fs::exists(mine + "/Other.bundle"));
}
