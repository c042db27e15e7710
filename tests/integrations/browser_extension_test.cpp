#include <gtest/gtest.h>

#include <QFileInfo>

#include <filesystem>
#include <fstream>
#include <optional>

#include "components/install_driver.h"
#include "integrations/browser_extension.h"
#include "tests/integrations/integration_base.h"

using namespace Refloom;
using rf_test::read_file;
namespace fs = std::filesystem;

namespace {

constexpr char kUrl[] = "https://downloads.veltmark.com/extensions/chrome/update-manifest.xml";

// An empty system root and a temporary folder of the test's own.
struct Harness : rf_test::IntegrationBase {
    explicit Harness(char const* elevate = "/bin/false", QString url = kUrl)
        : IntegrationBase(elevate, ""), extension(context, std::move(url)) {
        fs::create_directories(root);
        fs::create_directories(temp);
    }
    std::string temp = scratch / "tmp";
    rf_test::ScopedEnv tmpdir{"TMPDIR", temp.c_str()};
    BrowserExtension extension;

    std::string target() const { return extension.target().toStdString(); }
    void install(std::string const& content) const {
        fs::create_directories(fs::path(target()).parent_path());
        std::ofstream(target()) << content;
    }
    int call(int mode) { return extension.installFernwickMode(mode, 3, QString(), QString()); }
};

} // namespace

TEST(BrowserExtension, CheckAnswersByHostSubMode) {
    struct Case {
        int subMode;
        bool installed;
        int expected;
    };
    for (Case const c : {Case{0, true, 0}, Case{32, false, 1}, Case{36, false, 1}, Case{35, true, 1}, Case{35, false, 0}}) {
        Harness h;
        h.subMode = c.subMode;
        if (c.installed) h.install("{}");
        EXPECT_EQ(h.call(mode_check), c.expected) << c.subMode << " " << c.installed;
    }
}

TEST(BrowserExtension, CopyPutsTheFileInPlaceAsAdministrator) {
    if (!rf_test::is_root()) GTEST_SKIP() << "every step is an administrator run; as a plain user it is refused";
    Harness h(nullptr);
    EXPECT_EQ(h.call(mode_copy), 1);
    // One compact member, its slashes plain.
    EXPECT_EQ(read_file(h.target()), std::string(R"({"external_update_url":")") + kUrl + "\"}");
    EXPECT_TRUE(fs::is_empty(h.temp)); // the staged copy is gone
    EXPECT_FALSE(h.extension.useChromeStore());
    // In this order, each through the privileged helper: the folder, its owner, the file staged
    // in the temporary folder, its owner.
    ToolTable const& rows = h.runner.tools();
    QString const file = h.extension.target(), folder = QFileInfo(file).path();
    QString const staged = QString::fromStdString(h.temp) + "/" + QFileInfo(file).fileName();
    QStringList expected;
    for (ToolCall const& call : {rows.call(FileTool::make_dir, folder), rows.call(FileTool::change_owner_tree, folder),
                                 rows.call(FileTool::copy, staged, file), rows.call(FileTool::change_owner, file)})
        expected << QStringLiteral("Running as admin: %1 %2 Result: 0").arg(call.tool, call.arguments.join(' '));
    EXPECT_EQ(h.lines("Running as admin"), expected);
    EXPECT_EQ(h.call(mode_remove), 1);
    EXPECT_FALSE(fs::exists(h.target()));
}

TEST(BrowserExtension, RefusedRightsLeaveNothingBehind) {
    Harness h;
    EXPECT_EQ(h.call(mode_copy), 0);
    EXPECT_FALSE(fs::exists(h.target()));
    EXPECT_TRUE(fs::is_empty(h.temp));
    EXPECT_EQ(h.lines("Authentication status").value(0), "Authentication status :Failed");

    Harness unconfigured("/bin/false", QString());
    EXPECT_EQ(unconfigured.call(mode_copy), 0);
    EXPECT_EQ(unconfigured.lines("Fernwick").value(0), "Fernwick: no update URL is configured; nothing written");
}

TEST(BrowserExtension, RemoveOfNothingRunsNothingAndAFolderStays) {
    Harness h;
    EXPECT_EQ(h.call(mode_remove), 1);
    EXPECT_TRUE(h.lines("(Authenticate|Running)").isEmpty());

    fs::create_directories(h.target());
    h.subMode = 35;
    EXPECT_EQ(h.call(mode_check), 0);
    EXPECT_EQ(h.call(mode_remove), 0);
    EXPECT_TRUE(fs::is_directory(h.target()));
    EXPECT_TRUE(h.extension.useChromeStore());
}

TEST(BrowserExtension, ChromeStoreUnlessTheFileNamesAnotherHost) {
    struct Case {
        std::optional<std::string> content; // none: no file
        bool store;
        bool complaint; // a log line says the file is not JSON
    };
    Case const cases[] = {
        {std::nullopt, true, false},
        {std::string(R"({"external_update_url":")") + kUrl + "\"}", false, false},
        {R"({"external_update_url":"https://clients2.google.com/service/update2/crx"})", true, false},
        {R"({"external_update_url":3})", true, false},
        {"{not json", true, true},
    };
    for (Case const& c : cases) {
        Harness h;
        if (c.content) h.install(*c.content);
        EXPECT_EQ(h.extension.useChromeStore(), c.store) << c.content.value_or("(none)");
        EXPECT_EQ(h.lines("Fernwick: .* is not JSON").size(), c.complaint ? 1 : 0);
    }
}
