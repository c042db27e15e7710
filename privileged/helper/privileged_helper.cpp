// The privileged helper: started once per run through the platform's elevation, it runs the
// tools the program asks for, with administrator rights, and nothing else. It listens only to
// the pipe of the process that started it and exits when that pipe closes.
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <string>
#include <vector>

#include "privileged/helper/allow_list.h"
#include "privileged/helper_protocol.h"

using namespace Refloom;

namespace {

// The resource folder of the bundle the helper belongs to: Contents/MacOS/helper beside
// Contents/Resources. Taken from where the helper itself lies, so no caller can change it.
std::string resourceFolder() {
    char self[PATH_MAX];
    ssize_t length = readlink("/proc/self/exe", self, sizeof self - 1);
    if (length <= 0) return {};
    std::string folder(self, static_cast<size_t>(length));
    folder = folder.substr(0, folder.rfind('/')) + "/../Resources";
    char resolved[PATH_MAX];
    return realpath(folder.c_str(), resolved) ? std::string(resolved) : std::string();
}

// Runs the tool with a clean environment and no shell; its output and errors come back merged.
std::int32_t run(std::vector<std::string> const& argv, std::string& output) {
    int out[2], failure[2];
    if (pipe2(out, O_CLOEXEC) != 0) return HelperProtocol::kExecuteFailed;
    if (pipe2(failure, O_CLOEXEC) != 0) {
        close(out[0]);
        close(out[1]);
        return HelperProtocol::kExecuteFailed;
    }
    std::vector<char*> args;
    for (std::string const& item : argv) args.push_back(const_cast<char*>(item.c_str()));
    args.push_back(nullptr);
    char* environment[] = {const_cast<char*>("PATH=/usr/sbin:/usr/bin:/sbin:/bin"),
                           const_cast<char*>("LC_ALL=C"), nullptr};

    pid_t child = fork();
    if (child == 0) {
        int nothing = open("/dev/null", O_RDONLY);
        dup2(nothing, 0);
        dup2(out[1], 1);
        dup2(out[1], 2);
        execve(args[0], args.data(), environment);
        int error = errno;
        ssize_t ignored = write(failure[1], &error, sizeof error);
        (void)ignored;
        _exit(127);
    }
    close(out[1]);
    close(failure[1]);
    int error = 0;
    bool const started = child > 0 && read(failure[0], &error, sizeof error) != sizeof error;
    close(failure[0]);

    char buffer[4096];
    for (ssize_t n; (n = read(out[0], buffer, sizeof buffer)) != 0;) {
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) break;
        // Past the limit the output is drained and dropped, so the tool is never blocked.
        size_t room = HelperProtocol::kMaxOutput - output.size();
        output.append(buffer, std::min(room, static_cast<size_t>(n)));
    }
    close(out[0]);
    if (child > 0)
        while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
        }
    return started ? 0 : HelperProtocol::kExecuteFailed;
}

} // namespace

int main() {
    signal(SIGPIPE, SIG_IGN);
    std::string const resources = resourceFolder();
    if (write(1, HelperProtocol::kReady, sizeof HelperProtocol::kReady - 1) < 0) return 1;
    std::vector<std::string> argv;
    while (HelperProtocol::readRequest(0, argv)) {
        std::string output;
        std::int32_t status = isAllowedTool(argv.front(), resources) ? run(argv, output)
                                                                      : HelperProtocol::kDenied;
        if (!HelperProtocol::writeReply(1, status, output)) return 1;
    }
    return 0;
}
