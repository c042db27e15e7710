#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QProcess>

#include <array>
#include <filesystem>

#include "privileged/app_lookup.h"
#include "support/plist_bridge.h"
#include "tests/fixtures/scratch.h"

using namespace Refloom;
using rf_test::Scratch;
namespace fs = std::filesystem;

namespace {

struct Applications {
    Scratch scratch;
    SystemRoot root{QString::fromStdString(scratch / "root"), QStringLiteral("/home/u")};
    InstallerLog log{root};
    AppLookup lookup{log, root};

    // A bundle under the root's /Applications with the given Info.plist entries.
    QString bundle(std::string const& relative, QVariantMap const& info) {
        std::string const path = scratch / ("root/Applications/" + relative);
        fs::create_directories(path + "/Contents/MacOS");
        EXPECT_TRUE(writePlistFile(QString::fromStdString(path + "/Contents/Info.plist"), info));
        return QString::fromStdString(path);
    }
    // Starts a copy of sleep inside `bundle`, named `name`.
    void launch(QProcess& process, QString const& bundle, QString const& name) {
        fs::copy_file("/bin/sleep", (bundle + "/Contents/MacOS/" + name).toStdString());
        process.start(bundle + "/Contents/MacOS/" + name, {QStringLiteral("30")});
        EXPECT_TRUE(process.waitForStarted());
    }
};

QVariantMap info(char const* identifier, QVariant version) {
    QVariantMap map{{"CFBundleIdentifier", identifier}};
    if (version.isValid()) map.insert("CFBundleShortVersionString", version);
    return map;
}

} // namespace

TEST(AppLookup, MajorVersionFromTheShortVersionString) {
    Applications a;
    struct Case {
        char const* name;
        QVariant version;
        int major;
    };
    Case const cases[] = {
        {"Word", "16.89.1", 16}, {"Big", "300.1", 44}, {"Text", "beta", 0},
        {"None", QVariant(), 255}, {"Number", 16, 255},  // a number where text belongs
    };
    for (Case const& c : cases) {
        QString const path = a.bundle(std::string(c.name) + ".app", info("x", c.version));
        EXPECT_EQ(a.lookup.getMajorVersion(path), c.major) << c.name;
        EXPECT_EQ(a.lookup.getMajorVersion(path.chopped(4)), c.major) << c.name << " without .app";
    }
    EXPECT_EQ(a.lookup.getMajorVersion(QString()), 255);
    EXPECT_EQ(a.lookup.getMajorVersion(QString::fromStdString(a.scratch.write("root/Applications/Classic", "x"))), 255);
}

TEST(AppLookup, BadInfoPlistsAnswerNothing) {
    Applications a;
    QByteArray const good = plistToXml(info("com.example", "12.0"));
    for (std::string const& bytes : {good.left(good.size() / 2).toStdString(), std::string("\x00\x01garbage\xff", 11),
                                     std::string("bplist00\xff\xff\xff"), std::string()}) {
        a.scratch.write("root/Applications/Bad.app/Contents/Info.plist", bytes);
        QString const path = QString::fromStdString(a.scratch / "root/Applications/Bad.app");
        EXPECT_EQ(a.lookup.getMajorVersion(path), 255);
        EXPECT_TRUE(a.lookup.getBundleStringForPath(path, QStringLiteral("CFBundleIdentifier")).isNull());
    }
    EXPECT_FALSE(a.lookup.findApplicationsWithBundleIdentifier(QStringLiteral("com.example"), 0, 255));
}

TEST(AppLookup, FindByNameTakesFoldersAlwaysAndFilesInRangeAndEntersNoApplicationOrBundle) {
    Applications a;
    QString const word = a.bundle("Microsoft Word.app", info("com.microsoft.Word", "16.0"));
    QString const nested = a.bundle("Office/Microsoft Word.app", info("com.microsoft.Word", "15.0"));
    std::string const classic = a.scratch.write("root/Applications/Tools/Microsoft Word.app", "a plain file");
    for (std::string const host : {"Host.app", "Foo.bundle", "Foo.framework", "Foo.plugin"})
        a.bundle(host + "/Contents/Microsoft Word.app", info("com.example.x", "1.0"));
    QString const applications = QString::fromStdString(a.scratch / "root/Applications/");
    QString const framework = applications + "Foo.framework/Contents/Microsoft Word.app";
    QString const plugin = applications + "Foo.plugin/Contents/Microsoft Word.app";
    EXPECT_EQ(a.lookup.findApplication(QStringLiteral("Microsoft Word.app"), 0, 10), (QStringList{framework, plugin, word, nested}));
    EXPECT_EQ(a.lookup.findApplication(QStringLiteral("Microsoft Word.app"), 0, 255),
              (QStringList{framework, plugin, word, nested, QString::fromStdString(classic)}));
    EXPECT_TRUE(a.lookup.findApplication(QStringLiteral("microsoft word.app"), 0, 255).isEmpty());
    // Looking for applications by identifier still enters no bundle of any kind.
    EXPECT_FALSE(a.lookup.findApplicationsWithBundleIdentifier(QStringLiteral("com.example.x"), 0, 255));
}

TEST(AppLookup, FileVersionTakesTheLeadingNumberOfEachPart) {
    Applications a;
    struct Case {
        char const* version;
        int major, minor, patch;
    };
    Case const cases[] = {
        {"3b1", 3, 0, 0}, {"1..2", 1, 2, 0}, {"10.4.11.9", 10, 4, 11}, {"beta.2", 0, 2, 0}, {"", 0, 0, 0},
    };
    for (Case const& c : cases) {
        QString const path = a.bundle("Versioned.app", info("x", c.version));
        int major = -1, minor = -1, patch = -1, build = -1;
        ASSERT_TRUE(a.lookup.getFileVersion(path, major, minor, patch, build)) << c.version;
        EXPECT_EQ((std::array{major, minor, patch, build}), (std::array{c.major, c.minor, c.patch, 0})) << c.version;
    }
}

TEST(AppLookup, FindByIdentifierInVersionRangeOrByDocumentExtension) {
    Applications a;
    std::string const home = a.scratch / "root/home/u/Applications/";
    fs::create_directories(home + "A.app/Contents");
    ASSERT_EQ(mkfifo((home + "A.app/Contents/Info.plist").c_str(), 0600), 0);  // passed over, never opened
    QVariantMap mine = info("com.microsoft.Word", "16.2");
    mine.insert("CFBundleDocumentTypes", QVariantList{QVariantMap{{"CFBundleTypeExtensions", QStringList{"ENL", "enlx"}}}});
    QString const current = a.bundle("Word.app", info("com.microsoft.Word", "16.0"));
    QString const old = a.bundle("Archive/Word 2011.app", info("com.microsoft.Word", "14.1"));
    a.bundle("Other.app", info("com.microsoft.Word.helper", "16.0"));
    a.bundle("../home/u/Applications/Mine.app", mine);
    QStringList const inHome{QString::fromStdString(home + "Mine.app")};
    QString const word = QStringLiteral("com.microsoft.Word");
    // A regression blocks in open() for good: the alarm ends the run instead of hanging it.
    alarm(60);
    EXPECT_EQ(a.lookup.findApplicationsWithBundleIdentifier(word, 15, 16), QStringList{current} + inHome);
    EXPECT_EQ(a.lookup.findApplicationsWithBundleIdentifier(word, 0, 14), QStringList{old});
    EXPECT_FALSE(a.lookup.findApplicationsWithBundleIdentifier(QStringLiteral("com.nobody"), 0, 255));
    EXPECT_EQ(a.lookup.findApplicationsForDocumentExtension(QStringLiteral("enl")), inHome);
    EXPECT_TRUE(a.lookup.findApplicationsForDocumentExtension(QStringLiteral("docx")).isEmpty());
    alarm(0);
}

TEST(AppLookup, RunningMeansALiveProcessInsideTheBundle) {
    Applications a;
    QString const bundle = a.bundle("Runner.app", info("com.refloom.runner", "1.0"));
    EXPECT_FALSE(a.lookup.isAppWithBundleIDRunning(QStringLiteral("com.refloom.runner")));
    QProcess runner, other;
    a.launch(runner, bundle, QStringLiteral("runner"));
    EXPECT_TRUE(a.lookup.isAppWithBundleIDRunning(QStringLiteral("com.refloom.runner")));
    EXPECT_FALSE(a.lookup.isAppWithBundleIDRunning(QStringLiteral("com.refloom.other")));
    EXPECT_FALSE(a.lookup.isAppWithBundleIDRunning(QString()));

    // A running bundle without an identifier must not answer for the empty one.
    a.launch(other, a.bundle("Nameless.app", {{"CFBundleShortVersionString", "1.0"}}), QStringLiteral("nameless"));
    EXPECT_FALSE(a.lookup.isAppWithBundleIDRunning(QStringLiteral("")));
    for (QProcess* process : {&other, &runner}) {
        process->kill();
        process->waitForFinished();
    }
}
