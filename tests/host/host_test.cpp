#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTimer>

#include <filesystem>

#include "app/host_entry.h"
#include "tests/fixtures/privileged.h"
#include "tests/fixtures/scratch.h"
#include "tests/ui/offscreen_app.h"

using namespace Refloom;
namespace fs = std::filesystem;

namespace {

QString const kHostResources = QString::fromStdString(fs::path(RF_TEST_BUNDLE).parent_path().string());

// Presses Cancel on the wizard's first page as soon as its window shows.
void cancelWhenShown() {
    QTimer::singleShot(50, [] {
        for (QWidget* window : QApplication::topLevelWidgets())
            if (auto* cancel = window->findChild<QAbstractButton*>("cancelBtn"); cancel && window->isVisible()) {
                cancel->click();
                return;
            }
        cancelWhenShown();
    });
}

} // namespace

TEST(HostBundle, RunsTheWizardUntilCancelled) {
    rf_test::offscreenApplication();
    rf_test::Scratch scratch;
    rf_test::ScopedEnv root("RF_ROOT", (scratch / "root").c_str());
    cancelWhenShown();
    // Cancel ends the run before any exit operation sets the normal result.
    EXPECT_EQ(runCustomizer(kHostResources, 32), 0);
    // The log went under the sandbox root, and says the user cancelled.
    QFile log(QString::fromStdString(scratch / "root") + QDir::homePath() + "/Library/Logs/Refloom 2025 Update.log");
    ASSERT_TRUE(log.open(QIODevice::ReadOnly));
    EXPECT_TRUE(log.readAll().contains("Updater: User Cancelled"));
}

TEST(HostBundle, AMissingWindowFileOrBundleHasItsResult) {
    rf_test::offscreenApplication();
    rf_test::Scratch scratch;
    rf_test::ScopedEnv root("RF_ROOT", (scratch / "root").c_str());
    fs::copy(fs::path(RF_TEST_BUNDLE).parent_path() / "Customizer.bundle", scratch / "Customizer.bundle", fs::copy_options::recursive);
    fs::remove(scratch / "Customizer.bundle/Contents/Resources/Customizer.ui");
    EXPECT_EQ(runCustomizer(QString::fromStdString(scratch.root().string()), 32), 131);
    EXPECT_EQ(runCustomizer(QString::fromStdString(scratch / "nowhere"), 32), 129);  // nothing run
}

TEST(HostBundle, RunsOnlyWhenTheHostsModeAsks) {
    int terminated = 0;
    EXPECT_FALSE(runCustomizerIfNeeded(QStringLiteral("/nowhere"), [] { return 0; }, [&] { ++terminated; }));
    EXPECT_EQ(getAppMode(), 0);
    EXPECT_TRUE(runCustomizerIfNeeded(QStringLiteral("/nowhere"), [] { return 34; }, [&] { ++terminated; }));
    EXPECT_EQ(getAppMode(), 34);
    EXPECT_EQ(terminated, 0);  // nothing ran, which is the normal result: the host goes on
}
