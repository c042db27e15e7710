#include "tests/integrations/word_fixture.h"

#include <filesystem>

namespace fs = std::filesystem;

namespace rf_test {

WordSandbox::WordSandbox() : IntegrationBase("/bin/false", "", "Refloom 2025 Updater.app") {
    makeWord(office2016, "15.41");
    makeWord(word16, "16.89.1");
    makeWord(office2011, "14.7.7");
    fs::create_directories(root + "/Applications/Microsoft Office 2016/Office");
    fs::create_directories(root + "/home/u/Library/Preferences");
    // The installer with its add-ins beside it, as the build lays them out.
    fs::path const built = fs::path(RF_TEST_BUNDLE).parent_path();
    fs::create_directories(installer);
    fs::copy(built / "Margina", fs::path(installer) / "Margina", fs::copy_options::recursive);
    fs::copy(built / "Refloom 2025 Updater.app", fs::path(installer) / "Refloom 2025 Updater.app", fs::copy_options::recursive);
    engine.startTables(Refloom::flowFor(Refloom::flow_custom, 0)->states, Refloom::flowFor(Refloom::flow_custom, 0)->navigation);
}

void WordSandbox::makeWord(std::string const& path, char const* version) const {
    std::string const plist = std::string("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>") +
                              "<key>CFBundleIdentifier</key><string>com.microsoft.Word</string>" +
                              "<key>CFBundleShortVersionString</key><string>" + version + "</string></dict></plist>";
    fs::create_directories(path + "/Contents/MacOS");
    scratch.write(fs::relative(path + "/Contents/Info.plist", scratch.root()).string(), plist);
}

} // namespace rf_test
