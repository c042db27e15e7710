#include "privileged/helper/tool_launch.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace Refloom::Helper {

Fd openResource(Context const& context, std::string const& name, int flags) {
    std::string why;
    std::optional<Pinned> item = pin(context.resources + "/" + name, why);
    if (!item) throw Refusal{why};
    Fd fd(openat(item->parent.get(), item->name.c_str(), flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat info;
    if (!fd || fstat(fd.get(), &info) != 0 || !S_ISREG(info.st_mode))
        throw Refusal{"not a file of the resources: " + name};
    if (info.st_uid != context.bundleOwner || (info.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        throw Refusal{"a resource that others may change is never run: " + name};
    return fd;
}

Launched launch(Command const& command, Context const& context, std::vector<Fd> const& held) {
    Fd tool;
    if (command.fromResources) tool = openResource(context, command.tool, O_RDONLY);
    std::string const path = command.fromResources ? descriptorPath(tool.get()) : command.tool;

    std::vector<char*> argv{const_cast<char*>(path.c_str())};
    for (std::string const& argument : command.arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    char* environment[] = {const_cast<char*>("PATH=/usr/sbin:/usr/bin:/sbin:/bin"),
                           const_cast<char*>("LC_ALL=C"), nullptr};
    std::vector<int> inherited;
    for (Fd const& fd : held) inherited.push_back(fd.get());
    if (tool) inherited.push_back(tool.get());

    int out[2], failure[2];
    if (pipe2(out, O_CLOEXEC) != 0) return {false, 127, {}};
    if (pipe2(failure, O_CLOEXEC) != 0) {
        close(out[0]);
        close(out[1]);
        return {false, 127, {}};
    }
    pid_t const child = fork();
    if (child == 0) {
        int nothing = open("/dev/null", O_RDONLY);
        dup2(nothing, 0);
        dup2(out[1], 1);
        dup2(out[1], 2);
        for (int fd : inherited) fcntl(fd, F_SETFD, 0);
        if (command.asUser && !becomeUser(context.user)) _exit(126);
        execve(argv[0], argv.data(), environment);
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

    std::string output;
    char buffer[4096];
    for (ssize_t n; (n = read(out[0], buffer, sizeof buffer)) != 0;) {
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) break;
        // Past the limit the output is drained and dropped, so the tool is never blocked.
        size_t const room = HelperProtocol::kMaxOutput - output.size();
        output.append(buffer, std::min(room, size_t(n)));
    }
    close(out[0]);
    int status = 0;
    if (child > 0)
        while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
    for (auto const& [descriptor, shown] : command.shownAs)
        for (size_t at = 0; (at = output.find(descriptor, at)) != std::string::npos; at += shown.size())
            output.replace(at, descriptor.size(), shown);
    // As the Mac's task API reports a termination status: the exit status, or the signal.
    int const exitStatus = !started ? 127 : WIFEXITED(status) ? WEXITSTATUS(status) : WIFSIGNALED(status) ? WTERMSIG(status) : 1;
    return {started, exitStatus, output};
}

} // namespace Refloom::Helper
