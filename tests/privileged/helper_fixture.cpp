#include "tests/privileged/helper_fixture.h"

#include <sys/stat.h>

#include <QCryptographicHash>
#include <QFile>

#include <filesystem>
#include <fstream>

#include "tests/fixtures/privileged.h"

namespace fs = std::filesystem;

namespace rf_test {

HelperBundle::HelperBundle() {
    fs::create_directories(resources);
    fs::create_directories(fs::path(helper).parent_path());
    std::string const built = bundleResources().toStdString();
    fs::copy_file(helperPath().toStdString(), helper);
    for (char const* tool : {"rf-ditto", "rf-unlock", "applyPatch"}) fs::copy_file(built + "/" + tool, resources + "/" + tool);
    scratch.write("Test.app/Contents/Resources/Patchfile.patch", "not a real patch");
    scratch.write("Test.app/Contents/Resources/ok.sh", "#!/bin/sh\necho \"ran $#: $1\"\n");
    fs::permissions(resources + "/ok.sh", fs::perms::owner_all | fs::perms::group_read | fs::perms::others_read);
    writePolicy({"ok.sh"});

    fs::create_directories(spotlight);
    fs::create_directories(home);
    scratch.write("root/outside/secret", "secret");
    fs::permissions(outside + "/secret", fs::perms::owner_read | fs::perms::owner_write);
    scratch.write("root/Applications/Refloom 2025/Refloom 2025.APP/Contents/Info.plist",
                  "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>CFBundleIdentifier</key>"
                  "<string>com.example.product</string></dict></plist>");
    fs::create_directories(product + "/Product-Support");
}

void HelperBundle::writePolicy(std::vector<std::string> const& scripts) {
    std::string policy =
        "install-root /Library/Spotlight\nowner-root /Library/Owned\napplication-folder /Applications\n"
        "product-bundle Refloom 2025.app\nproduct-identifier com.example.product\nproduct-part Product-Support\n"
        "addin-name Addin.bundle\naddin-folder /Library\n";
    for (std::string const& name : scripts) {
        QFile script(QString::fromStdString(resources + "/" + name));
        script.open(QIODevice::ReadOnly);
        policy += "script " + QCryptographicHash::hash(script.readAll(), QCryptographicHash::Sha256).toHex().toStdString() +
                  " " + name + "\n";
    }
    std::ofstream(contents + "/helper-policy") << policy;
    fs::permissions(contents + "/helper-policy", fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
}

std::unique_ptr<Refloom::HelperClient> HelperBundle::start() {
    std::uint32_t user = 0;
    return Refloom::HelperClient::spawn({QString::fromStdString(helper), "--root", QString::fromStdString(root), "--home",
                                         QString::fromStdString(home)},
                                        {}, user);
}

std::string treeState(std::string const& folder) {
    std::string state;
    for (auto const& entry : fs::recursive_directory_iterator(folder)) {
        struct stat info;
        lstat(entry.path().c_str(), &info);
        state += entry.path().string() + " " + std::to_string(info.st_mode) + " " + std::to_string(info.st_uid);
        if (entry.is_regular_file() && !entry.is_symlink()) state += " " + read_file(entry.path().string());
        state += "\n";
    }
    return state;
}

} // namespace rf_test
