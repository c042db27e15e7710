#include <gtest/gtest.h>
#include <unistd.h>

#include <QFile>
#include <QRegularExpression>
#include <QStringList>

#include <thread>

#include "tests/fixtures/scratch.h"
#include "wizard/installer_log.h"

using namespace Refloom;
using rf_test::Scratch;

namespace {

struct LogHarness {
    Scratch scratch;
    SystemRoot root{QString::fromStdString(scratch.root().string()), QStringLiteral("/Users/tester")};
    InstallerLog log{root};

    // The messages, each line's date stamp and blank removed after checking them.
    QStringList messages() const {
        static QRegularExpression const stamp(QStringLiteral("^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d \\+0000 "));
        QFile file(log.path());
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
        EXPECT_EQ(lines.takeLast(), QString());  // every line ends in a line feed
        for (QString& line : lines) {
            EXPECT_TRUE(stamp.match(line).hasMatch()) << line.toStdString();
            line = line.mid(26);
        }
        return lines;
    }
};

} // namespace

TEST(InstallerLog, ChildOutputBecomesOneLinePerLine) {
    LogHarness h;
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    std::string const output = "first\n\nsecond \xC3\xBC\nlast without a line feed";
    ASSERT_EQ(write(fds[1], output.data(), output.size()), ssize_t(output.size()));
    close(fds[1]);
    h.log.dumpFDToLog(fds[0]);
    close(fds[0]);
    EXPECT_EQ(h.messages(), (QStringList{"first", "", "second \u00fc", "last without a line feed"}));
}

TEST(InstallerLog, ConcurrentWritersNeverMixInsideALine) {
    LogHarness h;
    auto writer = [&h](QChar fill) {
        InstallerLog log(h.root);
        for (int i = 0; i < 300; ++i) log.logMessage(QString(300, fill));
    };
    std::thread a(writer, QLatin1Char('a')), b(writer, QLatin1Char('b'));
    a.join();
    b.join();
    QStringList const lines = h.messages();
    EXPECT_EQ(lines.size(), 600);
    for (QString const& line : lines)
        EXPECT_TRUE(line == QString(300, QLatin1Char('a')) || line == QString(300, QLatin1Char('b')));
}

TEST(InstallerLog, UnwritableLogIsSilent) {
    Scratch scratch;
    std::string blocker = scratch.write("file", "");  // the home folder cannot be made under a file
    InstallerLog log(SystemRoot(QString::fromStdString(blocker), QStringLiteral("/home")));
    log.logMessage(QStringLiteral("dropped"));
    EXPECT_FALSE(QFile::exists(log.path()));
}

TEST(SystemRoot, MapsFixedLocationsAndHomeUnderTheRoot) {
    SystemRoot sandbox(QStringLiteral("/sandbox/"), QStringLiteral("/home/u"));
    EXPECT_EQ(sandbox.map(QStringLiteral("/Applications")), QStringLiteral("/sandbox/Applications"));
    EXPECT_EQ(sandbox.map(QStringLiteral("~/Library/Logs")), QStringLiteral("/sandbox/home/u/Library/Logs"));
    EXPECT_EQ(sandbox.map(QStringLiteral("~")), QStringLiteral("/sandbox/home/u"));
    EXPECT_EQ(sandbox.map(QStringLiteral("relative")), QStringLiteral("relative"));
    SystemRoot none(QString(), QStringLiteral("/home/u"));
    EXPECT_EQ(none.map(QStringLiteral("/Library/x")), QStringLiteral("/Library/x"));
    EXPECT_EQ(none.map(QStringLiteral("~/x")), QStringLiteral("/home/u/x"));
}
