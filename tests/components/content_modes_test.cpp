#include <gtest/gtest.h>

#include <filesystem>

#include "components/content_modes.h"
#include "components/install_driver.h"
#include "tests/fixtures/privileged.h"
#include "tests/fixtures/scratch.h"

using namespace Refloom;
using rf_test::read_file;
using rf_test::Scratch;
namespace fs = std::filesystem;

namespace {

constexpr char kRules[] = "Tips.txt|0|a file|inst_File|Extras/Tips.txt\n"
                          "Library|0|a folder|inst_Dir|~/Documents/Library|Extras/Library\n"
                          "Uninstall|0|remove all|inst_Uninst\n"
                          "Styles|0|styles|inst_Category|Styles\n"
                          "Content|0|content|inst_allCategories\n"
                          "Gone|0|not shipped|inst_Category|Gone\n";

// An installer folder with its extras and content bundle, and an empty system root. The
// administrator retries are refused, so every change is the user's own.
struct Modes {
    rf_test::ScopedEnv refuse{"RF_ELEVATE", "/bin/false"};
    Scratch scratch;
    std::string installer = scratch / "installer";
    std::string root = scratch / "root";
    std::string content = root + "/Applications/Refloom 2025/Product-Support/Content.bundle";
    rfRules rules{QString::fromStdString(scratch.write("rules.txt", kRules))};
    SystemRoot system{QString::fromStdString(root), QStringLiteral("/home/u")};
    InstallerLog log{system};
    CommandRunner runner{log, {QString(), rf_test::helperPath(), rf_test::bundleResources(), system}};
    FileOperations files{runner, log};
    QStringList shown;
    ContentModes modes{rules, files, log, [this](QString const& name, int mode) { shown << name + " " + QString::number(mode); },
                       {QString::fromStdString(installer), system}};

    Modes() {
        scratch.write("installer/Extras/Tips.txt", "tips");
        scratch.write("installer/Extras/Library/refs.txt", "refs");
        for (char const* style : {"A.rfs", "B.rfs"}) scratch.write(std::string("installer/Product-Support/Content.bundle/Styles/") + style, style);
        scratch.write("installer/Product-Support/Content.bundle/Most Popular/Styles/A.rfs", "A");
        scratch.write("installer/Product-Support/Content.bundle/Most Popular/Filters/P.rfi", "P");
    }
    QString at(std::string const& path) const { return QString::fromStdString(path); }
};

} // namespace

TEST(ContentModes, FileRulesInstallBesideTheInstallerAndAreNeverRemoved) {
    Modes m;
    QString const dest = m.at(m.installer);
    EXPECT_EQ(m.modes.installFileMode(mode_check, 0, QString(), dest), -1);  // absent: not available
    EXPECT_EQ(m.modes.installFileMode(mode_copy, 0, QString(), dest), 1);
    EXPECT_EQ(read_file(m.installer + "/Tips.txt"), "tips");
    EXPECT_EQ(m.modes.installFileMode(mode_check, 0, QString(), dest), 1);
    EXPECT_EQ(m.modes.installFileMode(mode_copy, 0, QString(), dest), 0);  // already there
    EXPECT_EQ(m.modes.installFileMode(mode_remove, 0, QString(), dest), 0);
    EXPECT_TRUE(fs::exists(m.installer + "/Tips.txt"));
}

TEST(ContentModes, FolderRulesKeepAFolderTheUserChanged) {
    Modes m;
    std::string const library = m.root + "/home/u/Documents/Library";
    fs::create_directories(m.root + "/home/u/Documents");
    EXPECT_EQ(m.modes.installDirMode(mode_check, 1, QString(), QString()), -1);
    EXPECT_EQ(m.modes.installDirMode(mode_copy, 1, QString(), QString()), 1);
    EXPECT_EQ(read_file(library + "/refs.txt"), "refs");
    EXPECT_EQ(m.modes.installDirMode(mode_check, 1, QString(), QString()), 1);
    m.scratch.write("root/home/u/Documents/Library/mine.txt", "mine");
    EXPECT_EQ(m.modes.installDirMode(mode_remove, 1, QString(), QString()), 0);
    EXPECT_TRUE(fs::exists(library + "/mine.txt"));
    fs::remove(library + "/mine.txt");
    EXPECT_EQ(m.modes.installDirMode(mode_remove, 1, QString(), QString()), 1);
    EXPECT_FALSE(fs::exists(library));
}

TEST(ContentModes, CategoriesPassTheFolderOperationsAnswerThrough) {
    Modes m;
    EXPECT_EQ(m.modes.installCategoryMode(mode_check, 3, QString(), QString()), 0);
    // copyPath answers false on success: the category handler reports that as 0. Intended.
    EXPECT_EQ(m.modes.installCategoryMode(mode_copy, 3, QString(), QString()), 0);
    EXPECT_EQ(read_file(m.content + "/Styles/B.rfs"), "B.rfs");
    EXPECT_EQ(m.modes.installCategoryMode(mode_check, 3, QString(), QString()), 1);
    m.scratch.write("root/Applications/Refloom 2025/Product-Support/Content.bundle/Styles/Mine.rfs", "mine");
    EXPECT_EQ(m.modes.installCategoryMode(mode_remove, 3, QString(), QString()), 1);
    EXPECT_EQ(fs::directory_iterator(m.content + "/Styles")->path().filename(), "Mine.rfs");  // only ours went
    // A copy that fails (a category the installer does not ship) answers 1.
    EXPECT_EQ(m.modes.installCategoryMode(mode_copy, 5, QString(), QString()), 1);
    EXPECT_EQ(m.shown.first(), QString("Refloom Content Files 1"));
}

TEST(ContentModes, AllCategoriesWorkOnTheMostPopularFolders) {
    Modes m;
    EXPECT_EQ(m.modes.installAllCategoriesMode(mode_check, 4, QString(), QString()), 0);
    m.modes.installAllCategoriesMode(mode_copy, 4, QString(), QString());
    EXPECT_EQ(read_file(m.content + "/Most Popular/Filters/P.rfi"), "P");
    EXPECT_EQ(m.modes.installAllCategoriesMode(mode_check, 4, QString(), QString()), 1);
    m.modes.installAllCategoriesMode(mode_remove, 4, QString(), QString());
    EXPECT_FALSE(fs::exists(m.content + "/Most Popular/Styles"));
    fs::remove_all(m.installer + "/Product-Support/Content.bundle/Most Popular");
    EXPECT_EQ(m.modes.installAllCategoriesMode(mode_check, 4, QString(), QString()), 1);  // nothing listed
}

TEST(ContentModes, SomeOrAllItemsOfAFolderButNeverOfAnEmptyOne) {
    Modes m;
    m.scratch.write("a/x", "");
    m.scratch.write("a/y", "");
    m.scratch.write("b/y", "");
    fs::create_directories(m.scratch / "empty");
    QString const a = m.at(m.scratch / "a"), b = m.at(m.scratch / "b");
    EXPECT_TRUE(m.modes.someItemsAtPath(a, b));
    EXPECT_FALSE(m.modes.itemsAtPath(a, b));
    EXPECT_FALSE(m.modes.itemsAtPath(m.at(m.scratch / "empty"), b));
}

TEST(ContentModes, PatchContentCopiesCategoriesTheCopyAlreadyHas) {
    Modes m;
    std::string const copy = m.scratch / "copy/Content.bundle";
    m.scratch.write("copy/Content.bundle/Styles/A.rfs", "old");
    m.modes.installPatchCategoriesItems(QVariantMap{{"styles", "Styles"}, {"filters", "Filters"}, {"number", 3}},
                                        m.at(copy));
    EXPECT_EQ(read_file(copy + "/Styles/B.rfs"), "B.rfs");
    EXPECT_FALSE(fs::exists(copy + "/Filters"));  // the copy had none of these
    m.modes.installPatchCategoriesItems(std::nullopt, m.at(copy));
}
