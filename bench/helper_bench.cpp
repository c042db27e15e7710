// Times administrator runs through the privileged helper against the tool run on its own.
//   rf_helper_bench helper HELPER ROOT COUNT    COUNT chmod requests over one helper session
//   rf_helper_bench direct ROOT COUNT           COUNT runs of /bin/chmod, each its own process
//   rf_helper_bench sudo ROOT COUNT             COUNT runs of "sudo -n /bin/chmod", as a script would
// Run as root (the helper then needs no elevation); ROOT is a sandbox root the user owns, whose
// Library/Spotlight holds the file "target". bench/privileged.sh drives it with hyperfine.
#include <spawn.h>
#include <sys/wait.h>

#include <QCoreApplication>

#include <cstdio>
#include <string>

#include "privileged/helper_client.h"

extern char** environ;

using namespace Refloom;

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    std::string const mode = argc > 1 ? argv[1] : "";
    if (mode == "helper" && argc == 5) {
        QString const root = QString::fromLocal8Bit(argv[3]);
        std::uint32_t user = 0;
        auto helper = HelperClient::spawn({QString::fromLocal8Bit(argv[2]), "--root", root, "--home", root + "/home"}, {}, user);
        if (!helper) return 1;
        std::string const target = (root + "/Library/Spotlight/target").toStdString();
        for (int i = 0, count = std::atoi(argv[4]); i < count; ++i)
            if (helper->run({FileTool::chmod, {target, i % 2 ? "644" : "600"}}).status != 0) return 1;
        return 0;
    }
    if ((mode == "direct" || mode == "sudo") && argc == 4) {
        std::string const target = std::string(argv[2]) + "/Library/Spotlight/target";
        int const skip = mode == "direct" ? 2 : 0;
        for (int i = 0, count = std::atoi(argv[3]); i < count; ++i) {
            char const* all[] = {"/usr/bin/sudo", "-n", "/bin/chmod", "--", i % 2 ? "644" : "600", target.c_str(), nullptr};
            char const* const* arguments = all + skip;
            pid_t pid;
            if (posix_spawn(&pid, arguments[0], nullptr, nullptr, const_cast<char**>(arguments), environ) != 0) return 1;
            int status = 0;
            waitpid(pid, &status, 0);
        }
        return 0;
    }
    std::fputs("usage: rf_helper_bench helper HELPER ROOT COUNT | direct ROOT COUNT | sudo ROOT COUNT\n", stderr);
    return 2;
}
