#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <filesystem>

#include "components/install_driver.h"
#include "integrations/word_addin.h"
#include "integrations/word_discovery.h"
#include "support/plist_bridge.h"
#include "tests/integrations/word_fixture.h"

using namespace Refloom;
using rf_test::WordSandbox;
namespace fs = std::filesystem;

namespace {

// Discovery over the sandbox, with breadcrumbs written first.
struct Word : WordSandbox {
    bool mrgnPathAdded = true;
    int checks = 0;
    std::unique_ptr<Breadcrumbs> crumbs;
    std::unique_ptr<WordDiscovery> word;
    std::unique_ptr<WordAddin> addin;

    // `crumbs` gives the breadcrumbs to start with, from this sandbox's paths.
    explicit Word(std::function<QStringList(Word const&)> const& crumbsOf = {}) {
        QStringList const records = crumbsOf ? crumbsOf(*this) : QStringList();
        if (!records.isEmpty())
            writePlistFile(system.map(QString::fromLatin1(Breadcrumbs::kPreferences)), QVariantMap{{"Word", records}});
        crumbs = std::make_unique<Breadcrumbs>(log, system, context.bundlePath);
        word = std::make_unique<WordDiscovery>(context, applications, *crumbs, mrgnPathAdded, [this] { ++checks; });
        addin = std::make_unique<WordAddin>(context, *word, applications);
    }
};

constexpr char kBundle2016[] = "Refloom MRGN Word 2016.bundle";
constexpr char kBundle16[] = "Refloom MRGN Word 16.bundle";

} // namespace

TEST(WordDiscovery, FindsEachCopyOnceAndItsFirstStartupFolder) {
    // One breadcrumb spells the 2016 copy in other letter case: that spelling is the one kept
    // (and, on a file system that minds case, it then leads nowhere). Another gives the 16
    // copy a folder of the user's, which comes before Office365's.
    auto spelled = [](Word const& s) { return s.at(s.office2016).replace("Microsoft Word.app", "microsoft word.APP"); };
    auto mineOf = [](Word const& s) { return s.at(s.root + "/home/u/My Startup"); };
    Word w([&](Word const& s) {
        return QStringList{spelled(s) + "|||/elsewhere|||15", "", s.at(s.word16) + "|||" + mineOf(s) + "|||16"};
    });
    EXPECT_EQ(w.word->wordPaths(), (QStringList{spelled(w), w.at(w.word16), w.at(w.office2011)}));
    w.word->constructWordAndStartupPaths();
    // The 2011 copy (14) has no startup folder.
    EXPECT_EQ(w.word->wordAndStartupPaths(), QStringList{w.at(w.word16) + "|||" + mineOf(w) + "|||16"});
    EXPECT_TRUE(w.word->checkWordExists());
    EXPECT_EQ(w.messages().filter("Determine Word Paths: (").size(), 1);
    EXPECT_TRUE(w.messages().contains("    --> \"" + w.at(w.office365) + "\""));
}

TEST(WordDiscovery, PageTextCountsTheCopies) {
    struct Case {
        std::vector<std::string> words;
        char const* text;
    };
    Case const cases[] = {
        {{}, "The Updater could not find Microsoft Word 2016 nor 2019 installed on this computer."},
        {{"16.1"}, "The Updater will install the Margina add-in for the instance of Microsoft Word 2016 or 2019 installed on this computer."},
        {{"16.1", "15.2", "16.3"}, "The Updater will install the Margina add-in for the 3 instances of Microsoft Word 2016 or 2019 installed on this computer."},
    };
    for (Case const& c : cases) {
        Word w;
        fs::remove_all(w.root + "/Applications");
        for (size_t i = 0; i < c.words.size(); ++i)
            w.makeWord(w.root + "/Applications/Office " + std::to_string(i) + "/Microsoft Word.app", c.words[i].c_str());
        w.word->constructWordAndStartupPaths();
        w.word->doFoundMSWord();
        EXPECT_EQ(w.view.texts.value("numOfMSWordsText"), QString(c.text));
        EXPECT_TRUE(w.view.hidden.value("uninstallBtn"));
    }
}

TEST(WordDiscovery, NextIsHeldWhileWordRuns) {
    Word w;
    std::string const executable = w.word16 + "/Contents/MacOS/Microsoft Word";
    fs::copy_file("/bin/sleep", executable);
    char* argv[] = {const_cast<char*>(executable.c_str()), const_cast<char*>("30"), nullptr};
    pid_t running = -1;
    ASSERT_EQ(posix_spawn(&running, executable.c_str(), nullptr, nullptr, argv, nullptr), 0);
    w.view.selectPage(9);
    for (int press = 0; press < 2; ++press) {
        w.word->wordQuitHandler();
        EXPECT_EQ(w.view.page, WordDiscovery::kQuitWordPage);
        EXPECT_FALSE(w.view.buttons[Button::back].enabled);
        EXPECT_EQ(w.view.buttons[Button::next].title, QString("Retry"));
    }
    kill(running, SIGKILL);
    waitpid(running, nullptr, 0);
    w.word->wordQuitHandler();  // Word has quit: the state's own page comes back
    EXPECT_EQ(w.view.page, w.engine.currentTab());
}

TEST(WordAddin, InstallsTheVersionsBundleInEveryStartupFolderAndRemovesBothNames) {
    // The breadcrumb's folder is missing: the install makes it.
    Word w([](Word const& s) { return QStringList{s.at(s.office2016) + "|||" + s.at(s.root + "/home/u/Startup 2016") + "|||15"}; });
    std::string const mine = w.root + "/home/u/Startup 2016";
    EXPECT_EQ(w.addin->installWordMode(mode_check, 0, QString(), QString()), 0);
    EXPECT_EQ(w.addin->installWordMode(mode_copy, 0, QString(), QString()), 1);
    EXPECT_TRUE(fs::exists(mine + "/" + kBundle2016 + "/Contents/Info.plist"));
    EXPECT_TRUE(fs::exists(w.office365 + "/" + kBundle16));  // the 16 copy's folder
    EXPECT_TRUE(fs::exists(w.office365 + "/" + kBundle2016));  // the 2016 copy's second folder
    EXPECT_EQ(w.addin->installWordMode(mode_check, 0, QString(), QString()), 1);
    EXPECT_EQ(w.addin->installWordMode(mode_remove, 0, QString(), QString()), 1);
    EXPECT_FALSE(fs::exists(mine + "/" + kBundle2016));
    EXPECT_FALSE(fs::exists(w.office365 + "/" + kBundle16));
    EXPECT_FALSE(fs::exists(w.office365 + "/" + kBundle2016));
    EXPECT_EQ(w.addin->installWordMode(mode_remove, 0, QString(), QString()), 0);
    EXPECT_TRUE(w.messages().contains("Processing Startup Folder: " + w.at(mine)));
}

TEST(WordAddin, AStartupFolderThatLeadsOutOfTheRootIsLeftAlone) {
    Word w([](Word const& s) { return QStringList{s.at(s.word16) + "|||" + s.at(s.root + "/home/u/Linked") + "|||16"}; });
    std::string const outside = w.scratch / "outside";
    fs::create_directories(outside);
    fs::create_directories(w.root + "/home/u");
    fs::create_directory_symlink(outside, w.root + "/home/u/Linked");
    EXPECT_EQ(w.addin->installWordMode(mode_copy, 0, QString(), QString()), 1);  // Office365's folder
    EXPECT_TRUE(fs::is_empty(outside));
    EXPECT_TRUE(w.messages().contains("Startup folder leads out of the system root; left alone: " + w.at(w.root + "/home/u/Linked")));
}

TEST(WordAddin, SubModesAndAbsentWord) {
    for (int mode : {32, 36, 35, 0}) {
        Word w;
        w.subMode = mode;
        EXPECT_EQ(w.addin->installWordMode(mode_check, 0, QString(), QString()), mode == 32 || mode == 36 ? 1 : 0) << mode;
    }
    Word none;
    fs::remove_all(none.root + "/Applications");
    none.subMode = 32;
    EXPECT_EQ(none.addin->installWordMode(mode_check, 0, QString(), QString()), -1);
    EXPECT_EQ(none.addin->installWordMode(mode_copy, 0, QString(), QString()), -1);
}

TEST(WordAddin, StagesTheStandAloneFolderFromTheArchive) {
    Word w;
    w.addin->prepareMrgnFolder();
    QString const staging = w.addin->m_tmpMrgnFolder;
    ASSERT_FALSE(staging.isNull());
    EXPECT_TRUE(fs::exists((staging + "/" + kBundle16).toStdString()));
    std::string const standAlone = w.root + "/Applications/Refloom Margina";
    EXPECT_TRUE(fs::exists(standAlone + "/" + kBundle2016 + "/Contents/Info.plist"));
    EXPECT_TRUE(fs::exists(standAlone + "/Refloom 2025 Updater.app/Contents/Info.plist"));
    w.addin->cleanupMrgnFolder();
    EXPECT_TRUE(w.addin->m_tmpMrgnFolder.isNull());
    EXPECT_FALSE(fs::exists(staging.toStdString()));
    EXPECT_TRUE(fs::exists(fs::path(staging.toStdString()).parent_path()));  // left behind, as always
    fs::remove_all(fs::path(staging.toStdString()).parent_path());
}
