// Run by run_as_user.sh as an unprivileged user who may start only the helper, through
// "sudo -n", against folders that belong to root.
#include <gtest/gtest.h>

#include "tests/fixtures/privileged.h"
#include "tests/privileged/as_user.h"

using namespace Refloom;
using rf_test::AsUser;
namespace fs = std::filesystem;

TEST(AsUnprivilegedUser, LockedRootFolderIsRemovedAsAdministratorAfterOnePrompt) {
    SKIP_UNLESS_RUN_BY_THE_SCRIPT();
    rf_test::ScopedEnv elevate("RF_ELEVATE", "/usr/bin/sudo -n");
    AsUser u;
    QString const locked = u.spotlight + QStringLiteral("/locked folder");
    QString const other = u.spotlight + QStringLiteral("/second");
    ASSERT_TRUE(QFileInfo::exists(locked));
    EXPECT_FALSE(u.files.removeFile(locked));
    EXPECT_FALSE(QFileInfo::exists(locked));
    EXPECT_FALSE(u.files.removeFile(other));  // the same authorization, no second question
    EXPECT_FALSE(QFileInfo::exists(other));

    QStringList const lines = u.messages();
    EXPECT_EQ(lines.count(QStringLiteral("Authenticate")), 1);
    EXPECT_TRUE(lines.contains(QStringLiteral("Authentication status :Succeeded")));
    EXPECT_TRUE(lines.contains(QStringLiteral("Running as admin: /bin/rm -rf -- ") + locked + QStringLiteral(" Result: 0")));
}

TEST(AsUnprivilegedUser, AFakeElevationIsNeverBelieved) {
    SKIP_UNLESS_RUN_BY_THE_SCRIPT();
    std::string const bin = qEnvironmentVariable("RF_PRIVILEGED_SANDBOX").toStdString() + "/log/fake-bin";
    std::string const marker = bin + "/ran";
    fs::create_directories(bin);
    // Tools named like the elevation tools, first in PATH, that run the helper as the user.
    for (char const* name : {"pkexec", "sudo"}) {
        std::ofstream(bin + "/" + name) << "#!/bin/sh\ntouch " << marker << "\n[ \"$1\" = -n ] && shift\nexec \"$@\"\n";
        fs::permissions(bin + "/" + name, fs::perms::owner_all);
    }
    rf_test::ScopedEnv path("PATH", (bin + ":" + qEnvironmentVariable("PATH").toStdString()).c_str());
    std::string const fakeSudo = bin + "/sudo -n";
    // The last is a forger of the helper that greets as root and says yes to everything: only
    // the kernel's word on the helper's user is believed.
    char const* const elevations[] = {nullptr, "", "sudo -n", fakeSudo.c_str(), "/usr/bin/env", RF_FORGED_HELPER};
    int asked = 0;  // one log for the test: each elevation adds its one question
    for (char const* elevation : elevations) {
        rf_test::ScopedEnv elevate("RF_ELEVATE", elevation);
        AsUser u;
        QString const kept = u.spotlight + QStringLiteral("/kept");
        EXPECT_FALSE(u.runner.authenticate()) << (elevation ? elevation : "(unset)");
        EXPECT_FALSE(u.files.removeFile(kept));  // the refusal's usual "done"
        EXPECT_TRUE(QFileInfo::exists(kept));
        EXPECT_FALSE(u.runner.authenticate());  // asks nothing more
        EXPECT_EQ(u.messages().count(QStringLiteral("Authenticate")), ++asked);
        EXPECT_TRUE(u.messages().contains(QStringLiteral("Authentication status :Failed")));
        EXPECT_TRUE(u.messages().filter(QStringLiteral("Running as admin")).isEmpty());
    }
    // Only the absolute fake was ever started, and it was not believed.
    EXPECT_TRUE(fs::exists(marker));
    fs::remove(marker);
    {
        rf_test::ScopedEnv elevate("RF_ELEVATE", nullptr);
        AsUser u;
        EXPECT_FALSE(u.runner.authenticate());
    }
    EXPECT_FALSE(fs::exists(marker));  // pkexec is taken by its absolute path, never from PATH
}
