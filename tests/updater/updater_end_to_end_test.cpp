// The updater as users and scripts run it: the real program, the real patch tool and the real
// privileged helper on the demo sandbox, answers typed on standard input or none at all.
#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRandomGenerator>
#include <QThread>

#include <filesystem>

#include "tests/fixtures/log_lines.h"
#include "tests/fixtures/privileged.h"
#include "tests/fixtures/scratch.h"

using rf_test::Scratch;
namespace fs = std::filesystem;

namespace {

// A copy of the built bundle (the sandbox puts its patch and key into it) and a demo root.
struct Demo {
    Scratch scratch;
    std::string bundle = scratch / "Refloom 2025 Updater.app";
    std::string root = scratch / "root";
    std::string first = root + "/Applications/Refloom 2025";
    std::string second = root + "/home/demo/Applications/Refloom Lab";
    std::string report = scratch / "report.json";

    Demo() {
        fs::copy(RF_TEST_BUNDLE, bundle, fs::copy_options::recursive);
        for (char const* beside : {"Margina", "Services", "Product-Support", "Extras"})
            fs::copy(fs::path(RF_TEST_BUNDLE).parent_path() / beside, scratch / beside, fs::copy_options::recursive);
        EXPECT_TRUE(makeSandbox());
    }
    // The demo sandbox: two old copies in the root, the patch in the bundle.
    bool makeSandbox() const {
        QStringList const arguments{RF_SOURCE_DIR "/scripts/demo-sandbox", QString::fromStdString(root), QString::fromStdString(bundle)};
        return QProcess::execute(QStringLiteral("bash"), arguments) == 0;
    }

    struct Run {
        int status;
        QString output;
    };
    void start(QProcess& program, QStringList const& arguments, QProcessEnvironment environment = QProcessEnvironment::systemEnvironment()) const {
        environment.insert(QStringLiteral("HOME"), QStringLiteral("/home/demo"));
        program.setProcessEnvironment(environment);
        program.setProcessChannelMode(QProcess::MergedChannels);
        program.start(QString::fromStdString(bundle + "/Contents/MacOS/Refloom 2025 Updater"),
                      QStringList{"--root", QString::fromStdString(root), "--report", QString::fromStdString(report)} + arguments);
    }
    Run run(QStringList const& arguments, QByteArray const& input = {}, QProcessEnvironment const& environment = QProcessEnvironment::systemEnvironment()) const {
        QProcess program;
        start(program, arguments, environment);
        program.write(input);
        program.closeWriteChannel();
        program.waitForFinished(120000);
        return {program.exitStatus() == QProcess::NormalExit ? program.exitCode() : -1, QString::fromLocal8Bit(program.readAll())};
    }
    QJsonObject reportJson() const {
        QFile file(QString::fromStdString(report));
        file.open(QIODevice::ReadOnly);
        return QJsonDocument::fromJson(file.readAll()).object();
    }
    QStringList log() const { return rf_test::logMessages(QString::fromStdString(root + "/home/demo/Library/Logs/Refloom 2025 Update.log")); }
    // Byte for byte, links and modes included, against the new version.
    bool isNew(std::string const& copy) const {
        return QProcess::execute(QStringLiteral("bash"), {"-c", QStringLiteral("diff -r --no-dereference '%1/work/new/Refloom 2025/Refloom 2025.app' '%2/Refloom 2025.app' >/dev/null && "
                                                                              "[ \"$(cd '%1/work/new/Refloom 2025' && find . -path ./Product-Support -prune -o -printf '%m %p\\n' | sort)\" = "
                                                                              "\"$(cd '%2' && find . -path ./Product-Support -prune -o -printf '%m %p\\n' | sort)\" ]")
                                                                   .arg(QString::fromStdString(root), QString::fromStdString(copy))}) == 0;
    }
};

// The real run always applies the patch as administrator, as the product does.
#define SKIP_UNLESS_ROOT() \
    if (!rf_test::is_root()) GTEST_SKIP() << "the patch is applied as administrator: run the suite as root, as CI does"

} // namespace

TEST(Updater, UnattendedPatchesEveryCopyAsAdministratorAndASecondRunChangesNothing) {
    SKIP_UNLESS_ROOT();
    Demo d;
    Demo::Run const run = d.run({"--unattended"});
    ASSERT_EQ(run.status, 0) << run.output.toStdString();
    EXPECT_TRUE(d.isNew(d.first));
    EXPECT_TRUE(d.isNew(d.second));
    QJsonArray const copies = d.reportJson()["copies"].toArray();
    ASSERT_EQ(copies.size(), 2);
    for (QJsonValue const& copy : copies) {
        EXPECT_EQ(copy["patch"].toString(), QString("patched"));
        EXPECT_EQ(copy["versionBefore"].toString(), QString("2025.1"));
        EXPECT_EQ(copy["versionAfter"].toString(), QString("2025.3"));
    }
    QStringList const log = d.log();
    EXPECT_EQ(log.filter("**  Patcher Started ").size(), 1);
    EXPECT_TRUE(log.contains(QString("Found patchable candidate: %1.").arg(QString::fromStdString(d.first))));
    EXPECT_EQ(log.filter("Running as admin: ").filter(" Result: 0").size(), 2);

    // Every item's name, mode, time and content, but the log's, which records the run, and the
    // probe document's folder, where each search makes and removes the probe.
    auto state = [&d] {
        QProcess listing;
        listing.start("bash", {"-c", QStringLiteral("cd '%1' && find . \\( -path ./home/demo/Library/Logs -o -path ./tmp \\) -prune -o -printf '%p %m %T@\\n' | sort "
                                                    "&& find . -path ./home/demo/Library/Logs -prune -o -type f -print0 | sort -z | xargs -0 md5sum")
                                         .arg(QString::fromStdString(d.root))});
        listing.waitForFinished();
        return listing.readAll();
    };
    QByteArray const before = state();
    int const loggedBefore = int(d.log().size());
    QThread::msleep(20);  // a file written again would carry a later time

    // Pressed through its pages, it offers no copy, runs no tool as administrator, changes nothing.
    Demo::Run const again = d.run({"--console"}, "\n\n\n\n");
    EXPECT_EQ(again.status, 0) << again.output.toStdString();
    EXPECT_FALSE(again.output.contains("Would you like to update this copy?")) << again.output.toStdString();
    EXPECT_TRUE(again.output.contains(QString("Already up to date: %1 (2025.3)").arg(QString::fromStdString(d.second))));
    EXPECT_EQ(state().toStdString(), before.toStdString());
    QStringList const second = d.log().mid(loggedBefore);
    EXPECT_TRUE(second.filter("Running as admin").isEmpty());
    EXPECT_TRUE(second.filter("Processing").isEmpty());
    for (QJsonValue const& copy : d.reportJson()["copies"].toArray()) {
        EXPECT_EQ(copy["patch"].toString(), QString("up to date"));
        EXPECT_EQ(copy["dryRun"].toString(), QString("up to date"));
    }
    EXPECT_EQ(d.reportJson()["exitStatus"].toInt(), 0);
}

TEST(Updater, NoAndYesTypedAsWordsAnswerEachCopysQuestion) {
    SKIP_UNLESS_ROOT();
    Demo d;
    Demo::Run const run = d.run({"--console"}, "\n\nno\ny\n\n");
    EXPECT_EQ(run.status, 0) << run.output.toStdString();
    EXPECT_FALSE(d.isNew(d.first));
    EXPECT_TRUE(d.isNew(d.second));
}

TEST(Updater, AChangedCopyIsNeverOffered) {
    SKIP_UNLESS_ROOT();
    Demo d;
    fs::remove(d.second + "/Refloom 2025.app/Contents/Info.plist");
    d.scratch.write("root/home/demo/Applications/Refloom Lab/Refloom 2025.app/Contents/Info.plist",
                    "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>com.Veltmark.Refloom2025</string>"
                    "<key>CFBundleDocumentTypes</key><array><dict><key>CFBundleTypeExtensions</key><array><string>enl</string></array></dict></array></dict></plist>");
    Demo::Run const run = d.run({"--unattended"});
    EXPECT_EQ(run.status, 0) << run.output.toStdString();
    EXPECT_TRUE(d.log().contains(QString("Found unpatchable instance: %1.").arg(QString::fromStdString(d.second))));
    EXPECT_EQ(d.reportJson()["copies"].toArray().at(1).toObject()["patch"].toString(), QString("not offered"));
}

TEST(Updater, NothingFoundAndRefusedRightsHaveTheirOwnStatus) {
    Demo empty;
    fs::remove_all(empty.first);
    fs::remove_all(empty.second);
    Demo::Run const nothing = empty.run({"--unattended"});
    EXPECT_EQ(nothing.status, 4) << nothing.output.toStdString();
    EXPECT_TRUE(nothing.output.contains("No copy of Refloom 2025 was found on this computer."));

    Demo d;
    QProcessEnvironment refuse = QProcessEnvironment::systemEnvironment();
    refuse.insert("RF_ELEVATE", "/bin/false");
    Demo::Run const refused = d.run({"--unattended"}, {}, refuse);
    EXPECT_EQ(refused.status, 5) << refused.output.toStdString();
    EXPECT_FALSE(d.isNew(d.first));
    EXPECT_EQ(d.reportJson()["authorization"].toString(), QString("refused"));
    EXPECT_TRUE(d.log().contains("Authentication status :Failed"));
    // Each copy says it failed, and why, in the report and on the screen.
    for (QJsonValue const& copy : d.reportJson()["copies"].toArray()) {
        EXPECT_EQ(copy["patch"].toString(), QString("failed"));
        EXPECT_TRUE(copy["reason"].toString().startsWith("administrator rights were refused")) << copy["reason"].toString().toStdString();
        EXPECT_EQ(copy["versionAfter"].toString(), QString("2025.1"));
    }
    EXPECT_TRUE(refused.output.contains(QString("Not updated: %1: administrator rights were refused").arg(QString::fromStdString(d.first))))
        << refused.output.toStdString();
    EXPECT_FALSE(refused.output.contains("up to date")) << refused.output.toStdString();
}

TEST(Updater, UsageErrorsSayWhatIsWrongAndCancelHasItsOwnStatus) {
    Demo d;
    struct Case {
        QStringList arguments;
        char const* says;
    };
    Case const cases[] = {{{"--bogus"}, "unknown option"},
                          {{"--flow", "sideways"}, "--flow takes"},
                          {{"--mode", "7"}, "--mode takes"},
                          {{"--select", "Styles"}, "go with --unattended"},
                          {{"--unattended", "--flow", "custom", "--select", "Nope"}, "no component is named \"Nope\"; the components are \"Word Add-in\", "}};
    for (Case const& c : cases) {
        Demo::Run const run = d.run(c.arguments);
        EXPECT_EQ(run.status, 2) << c.says;
        EXPECT_TRUE(run.output.contains(c.says)) << run.output.toStdString();
    }
    EXPECT_TRUE(d.run({"--help"}).output.contains("Exit status: 0 done"));
    Demo::Run const cancelled = d.run({"--console"}, "maybe\nc\n");  // "maybe" is no answer
    EXPECT_EQ(cancelled.status, 7);
    EXPECT_EQ(cancelled.output.count("Please answer with one of: "), 1) << cancelled.output.toStdString();
    EXPECT_TRUE(d.log().contains("Updater: User Cancelled"));
}

TEST(Updater, CustomRunsStopWhileWordRunsAndInstallWhatIsSelected) {
    Demo d;
    std::string const word = d.root + "/Applications/Microsoft Word.app/Contents/MacOS/Microsoft Word";
    fs::create_directories(fs::path(word).parent_path());
    fs::copy_file("/bin/sleep", word);
    QProcess running;
    running.start(QString::fromStdString(word), {"30"});
    ASSERT_TRUE(running.waitForStarted());
    Demo::Run const stopped = d.run({"--unattended", "--flow", "custom", "--select", "Styles"});
    running.kill();
    running.waitForFinished();
    EXPECT_EQ(stopped.status, 6) << stopped.output.toStdString();

    Demo::Run const done = d.run({"--unattended", "--flow", "custom", "--select", "Styles", "--deselect", "Fernwick Extension"});
    EXPECT_EQ(done.status, 0) << done.output.toStdString();
    EXPECT_TRUE(fs::exists(d.first + "/Product-Support/Content.bundle/Styles/Ashgrove.rfs"));
    QJsonArray const components = d.reportJson()["components"].toArray();
    auto styles = std::find_if(components.begin(), components.end(), [](QJsonValue const& c) { return c["name"] == "Styles"; });
    ASSERT_NE(styles, components.end());
    EXPECT_EQ(styles->toObject()["after"].toInt(), 1);
    // What nobody named is left as it was.
    auto spotlight = std::find_if(components.begin(), components.end(), [](QJsonValue const& c) { return c["name"] == "Spotlight Importer"; });
    ASSERT_NE(spotlight, components.end());
    EXPECT_EQ(spotlight->toObject()["chosen"].toInt(), -1);
}

TEST(Updater, ARunKilledDuringThePatchLeavesEachCopyWhole) {
    SKIP_UNLESS_ROOT();
    Demo d;
    for (int attempt = 0; attempt < 4; ++attempt) {
        ASSERT_TRUE(d.makeSandbox());
        QProcess program;
        d.start(program, {"--unattended"});
        program.waitForStarted();
        QThread::msleep(QRandomGenerator::global()->bounded(20, 400));
        program.kill();
        program.waitForFinished();
        // Whatever the moment, a second run finishes the job and every copy ends new.
        Demo::Run const again = d.run({"--unattended"});
        EXPECT_TRUE(again.status == 0 || again.status == 4) << again.output.toStdString();
        EXPECT_TRUE(d.isNew(d.first)) << attempt;
        EXPECT_TRUE(d.isNew(d.second)) << attempt;
    }
}

TEST(Updater, AnsweredNoAndYesInTheTerminalAsTheReadMeShows) {
    SKIP_UNLESS_ROOT();
    Demo d;
    QFile readMe(RF_SOURCE_DIR "/README.md");
    ASSERT_TRUE(readMe.open(QIODevice::ReadOnly));
    QString const text = QString::fromUtf8(readMe.readAll());
    qsizetype const start = text.indexOf("```text\n", text.indexOf("What you see in a terminal")) + 8;
    QString const shown = text.mid(start, text.indexOf("```", start) - start);
    // Typed answers are echoed when piped, as a terminal echoes them.
    Demo::Run const run = d.run({"--console"}, "\n\nb\n\n\n");
    auto plain = [](QString t) {
        QStringList lines = t.split('\n');
        for (QString& line : lines)
            while (line.endsWith(' ')) line.chop(1);
        return lines.join('\n').trimmed();
    };
    QString output = run.output;
    output.replace(QString::fromStdString(d.root), "DEMO");
    EXPECT_EQ(plain(output).toStdString(), plain(shown).toStdString());
    EXPECT_FALSE(d.isNew(d.first));
    EXPECT_TRUE(d.isNew(d.second));
    EXPECT_TRUE(d.log().contains(QString("Left as it was (the answer was No): %1").arg(QString::fromStdString(d.first))));
    EXPECT_TRUE(d.log().contains(QString("Summary: Updated: %1 (2025.1 -> 2025.3)").arg(QString::fromStdString(d.second))));
    EXPECT_EQ(d.reportJson()["copies"].toArray().at(0).toObject()["patch"].toString(), QString("declined"));
}
