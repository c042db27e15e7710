#include <gtest/gtest.h>

#include <QProcess>

#include <filesystem>

#include "components/install_driver.h"
#include "integrations/spotlight_services.h"
#include "tests/integrations/integration_base.h"

using namespace Refloom;
namespace fs = std::filesystem;

namespace {

constexpr char kRules[] = "Spotlight Importer|0|the importer|inst_Spotlight|Refloom.mdimporter\n"
                          "Services Helper|0|the helper|inst_Services|RFService.app\n"
                          "Extension|0|the extension|inst_Fernwick\n";

// An installer folder with both components, an empty system root, and the location page. The
// administrator retries are refused, so every change is the user's own, as root or not.
struct Harness : rf_test::IntegrationBase {
    Harness() : IntegrationBase("/bin/false", kRules) {
        scratch.write("installer/Up.app/Contents/Library/Spotlight/Refloom.mdimporter/Contents/Info.plist", "importer");
        scratch.write("installer/Services/RFService.app/Contents/Info.plist", "helper");
    }
    SpotlightServices modes{context};

    // The user-level ("~") or system-level copy of the importer or the helper.
    std::string at(bool spotlight, bool userLevel) const {
        return root + (userLevel ? "/home/u" : "") +
               (spotlight ? "/Library/Spotlight/Refloom.mdimporter" : "/Library/Services/RFService.app");
    }
    void place(bool spotlight, bool userLevel) const { fs::create_directories(at(spotlight, userLevel) + "/Contents"); }
    int call(bool spotlight, int mode) {
        return spotlight ? modes.installSpotlightMode(mode, 0, QString(), QString())
                         : modes.installServicesMode(mode, 1, QString(), QString());
    }
};

} // namespace

TEST(SpotlightServices, CheckAnswersByHostSubMode) {
    struct Case {
        bool spotlight;
        int subMode;
        bool user, system;
        int expected;
        QStringList found; // the "Found" and "CHECK" lines
    };
    Case const cases[] = {
        {true, 0, true, true, 0, {}},  // neither the host's nor the look-up mode: nothing is looked at
        {true, 32, false, false, 1, {}},
        {true, 35, false, false, 0, {"CHECK: Did not find installed Spotlight"}},
        {false, 0, false, false, 1, {}}, // the helper's answer starts at 1. Intended.
        {false, 35, true, true, 1, {"Found User-level Services", "Found System-level Services"}},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(testing::Message() << c.spotlight << " " << c.subMode << " " << c.user << c.system);
        Harness h;
        h.subMode = c.subMode;
        if (c.user) h.place(c.spotlight, true);
        if (c.system) h.place(c.spotlight, false);
        EXPECT_EQ(h.call(c.spotlight, mode_check), c.expected);
        EXPECT_EQ(h.lines("(Found|CHECK)"), c.found);
        EXPECT_EQ(h.lines("State").value(0), c.spotlight ? "State: Spotlight Support Mode: mode_check"
                                                          : "State: Refloom Services Mode: mode_check");
    }
}

TEST(SpotlightServices, CopiesGoToTheLevelsTheCheckBoxesChoose) {
    for (bool spotlight : {true, false}) {
        for (int cells = 0; cells < 4; ++cells) {
            bool const user = cells & 1, system = cells & 2;
            SCOPED_TRACE(testing::Message() << spotlight << " " << user << system);
            Harness h;
            QString const outlet = spotlight ? "spotBtns" : "servBtns";
            h.view.cells[outlet + "0"] = user;
            h.view.cells[outlet + "1"] = system;
            // The importer answers 0 even to a copy that worked. Intended.
            EXPECT_EQ(h.call(spotlight, mode_copy), spotlight ? 0 : 1);
            EXPECT_EQ(fs::exists(h.at(spotlight, true) + "/Contents/Info.plist"), user);
            EXPECT_EQ(fs::exists(h.at(spotlight, false) + "/Contents/Info.plist"), system);
            EXPECT_EQ(h.lines("Run: KillRFService.sh").size(), spotlight ? 0 : 1);
        }
    }
}

TEST(SpotlightServices, RemoveTakesEveryLevelAwayAfterEndingTheHelper) {
    for (bool spotlight : {true, false}) {
        Harness h;
        h.place(spotlight, true);
        h.place(spotlight, false);
        EXPECT_EQ(h.call(spotlight, mode_remove), spotlight ? 0 : 1);
        EXPECT_FALSE(fs::exists(h.at(spotlight, true)));
        EXPECT_FALSE(fs::exists(h.at(spotlight, false)));
        QStringList const steps = h.lines("(Run:|Remove File:)");
        ASSERT_EQ(steps.size(), spotlight ? 2 : 3);
        EXPECT_EQ(steps[0] == "Run: KillRFService.sh -> Params: (null)", !spotlight);
    }
}

TEST(SpotlightServices, AHelperShippedDisabledIsRenamedOnAnyCall) {
    Harness h;
    fs::rename(h.installer + "/Services/RFService.app", h.installer + "/Services/RFService.app.disabled");
    EXPECT_EQ(h.call(false, mode_check), 1);
    EXPECT_TRUE(fs::exists(h.installer + "/Services/RFService.app/Contents/Info.plist"));
    EXPECT_FALSE(fs::exists(h.installer + "/Services/RFService.app.disabled"));
    h.call(false, mode_check);
    EXPECT_EQ(h.lines("Rename File").size(), 1);
}

TEST(SpotlightServices, LocationPageOffersOnlyNewlyChosenComponents) {
    struct Case {
        int spotNow, spotBefore, servNow, servBefore;
        bool spotOffered, servOffered;
    };
    Case const cases[] = {
        {1, 0, 0, 0, true, false},  {1, 1, 1, 0, false, true},  {1, 0, 1, 0, true, true},
        {1, 1, 1, 1, false, false}, {0, 0, 0, 1, false, false},
    };
    for (Case const& c : cases) {
        Harness h;
        h.rules.setInitialItemState(0, c.spotBefore);
        h.rules.setItemState(0, c.spotNow);
        h.rules.setInitialItemState(1, c.servBefore);
        h.rules.setItemState(1, c.servNow);
        h.rules.setInitialItemState(2, 0);
        h.rules.setItemState(2, 1); // a new extension needs no location
        h.engine.startState(flow_custom);
        h.engine.nextState();
        h.engine.nextState(); // the location page
        int const page = h.engine.state();
        h.modes.adjustServSpot();
        EXPECT_EQ(h.view.enabled.value("spotText"), c.spotOffered);
        EXPECT_EQ(h.view.enabled.value("spotBtns"), c.spotOffered);
        EXPECT_EQ(h.view.enabled.value("servText"), c.servOffered);
        EXPECT_EQ(h.view.enabled.value("servBtns"), c.servOffered);
        bool const skipped = !c.spotOffered && !c.servOffered;
        EXPECT_EQ(h.engine.state(), skipped ? page + 1 : page);
    }
}

TEST(SpotlightServices, KillScriptEndsOnlyHelpersInsideTheirBundle) {
    Harness h;
    std::string const helper = h.scratch / "Apps/RFService.app/Contents/MacOS/RFService";
    std::string const namesake = h.scratch / "elsewhere/RFService";
    for (std::string const& path : {helper, namesake}) {
        fs::create_directories(fs::path(path).parent_path());
        fs::copy_file("/bin/sleep", path);
    }
    QProcess running, other;
    running.start(QString::fromStdString(helper), {"30"});
    other.start(QString::fromStdString(namesake), {"30"});
    ASSERT_TRUE(running.waitForStarted() && other.waitForStarted());
    EXPECT_FALSE(h.runner.runResourceScript("KillRFService.sh", std::nullopt, false));
    EXPECT_TRUE(running.waitForFinished(10000));
    EXPECT_EQ(running.exitStatus(), QProcess::CrashExit);
    EXPECT_FALSE(other.waitForFinished(200));
    other.kill();
    other.waitForFinished();
}
