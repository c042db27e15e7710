// The privileged helper: started once per run through the platform's elevation, it carries out
// the named file operations of its policy with administrator rights, and nothing else. It
// talks only over the socket pair of the process that started it and exits when that closes
// or when a frame is malformed.
//   rf-privileged-helper [--root DIR --home DIR]
#include <fcntl.h>
#include <pwd.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "privileged/helper/helper_operations.h"
#include "privileged/helper_protocol.h"

using namespace Refloom;
using namespace Refloom::Helper;

namespace {

[[noreturn]] void fail(std::string const& why) {
    std::fprintf(stderr, "rf-privileged-helper: %s\n", why.c_str());
    std::exit(1);
}

pid_t parentOf(pid_t pid) {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    std::getline(stat, line);
    // "pid (name) state ppid ...": the name may hold blanks and brackets, so read after the last ')'.
    size_t const close = line.rfind(')');
    if (close == std::string::npos) return 0;
    std::istringstream rest(line.substr(close + 1));
    char state;
    pid_t parent = 0;
    rest >> state >> parent;
    return parent;
}

// The user on the other end of the channel, which must be a socket held by the process that
// started us (directly, or through the elevation tool and its monitor).
uid_t peerOfChannel() {
    struct stat info;
    int type = 0;
    socklen_t length = sizeof type;
    if (fstat(0, &info) != 0 || !S_ISSOCK(info.st_mode) || getsockopt(0, SOL_SOCKET, SO_TYPE, &type, &length) != 0 ||
        type != SOCK_STREAM)
        fail("the channel must be a socket pair");
    ucred peer{};
    length = sizeof peer;
    if (getsockopt(0, SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0) fail("cannot tell who is on the channel");
    pid_t ancestor = getppid();
    for (int level = 0; level < 4 && ancestor > 1; ++level, ancestor = parentOf(ancestor))
        if (ancestor == peer.pid) return peer.uid;
    fail("the channel belongs to a process that did not start the helper");
}

// The bundle around the helper (Contents/MacOS/helper), never a path a caller gives.
std::string contentsFolder(uid_t& owner) {
    char self[PATH_MAX];
    if (!realpath("/proc/self/exe", self)) fail("cannot find its own bundle");
    struct stat info;
    if (::stat(self, &info) != 0) fail("cannot look at itself");
    owner = info.st_uid;
    std::string path(self);
    path = path.substr(0, path.rfind('/'));  // Contents/MacOS
    return path.substr(0, path.rfind('/'));  // Contents
}

PolicyFile readPolicy(std::string const& contents, uid_t owner) {
    int fd = open((contents + "/helper-policy").c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    struct stat info;
    if (fd < 0 || fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) || info.st_size > (1 << 20))
        fail("cannot read the policy beside Info.plist");
    if (info.st_uid != owner || (info.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        fail("the policy may be changed by others than the helper's owner");
    std::string text(size_t(info.st_size), '\0');
    bool const read = pread(fd, text.data(), text.size(), 0) == ssize_t(text.size());
    close(fd);
    std::string why;
    std::optional<PolicyFile> policy = read ? PolicyFile::parse(text, why) : std::nullopt;
    if (!policy) fail(read ? why : "cannot read the policy");
    return *policy;
}

// A system root may only be a folder of the requesting user's own: everything the helper does
// there stays in that user's tree.
void checkSandbox(std::string const& root, std::string const& home, uid_t user) {
    std::string why;
    std::optional<Pinned> pinned = pin(root, why);
    if (!pinned || !pinned->isFolder() || pinned->info.st_uid != user)
        fail("the system root must be a folder of the user's own, with no link on its way: " + root);
    if (!isWithin(home, root, true) || !isCleanAbsolute(home)) fail("the home folder must lie in the system root");
}

} // namespace

int main(int argc, char** argv) {
    signal(SIGPIPE, SIG_IGN);
    uid_t const user = peerOfChannel();
    std::string root, home;
    for (int i = 1; i + 1 < argc; i += 2) {
        std::string const option = argv[i];
        (option == "--root" ? root : option == "--home" ? home : (fail("unknown option " + option), root)) = argv[i + 1];
    }
    if (argc % 2 == 0) fail("usage: rf-privileged-helper [--root DIR --home DIR]");
    if (!root.empty()) {
        checkSandbox(root, home, user);
    } else {
        passwd const* account = getpwuid(user);
        if (!account || !account->pw_dir) fail("the requesting user has no home folder");
        home = account->pw_dir;
    }
    uid_t owner = 0;
    std::string const contents = contentsFolder(owner);
    Context const context{Policy(readPolicy(contents, owner), root, home), contents + "/Resources", user, owner};

    if (!HelperProtocol::writeFrame(1, HelperProtocol::encodeGreeting(geteuid()))) return 1;
    std::string body;
    bool closed = false;
    for (std::uint32_t expected = 1;; ++expected) {
        if (!HelperProtocol::readFrame(0, body, HelperProtocol::kMaxRequest, &closed)) return closed ? 0 : 2;
        auto request = HelperProtocol::decodeRequest(body);
        if (!request || request->first != expected) return 2;  // out of step: trust nothing more
        Outcome const outcome = carryOut(context, request->second);
        if (!HelperProtocol::writeFrame(1, HelperProtocol::encodeReply({expected, outcome.status, outcome.output})))
            return 1;
    }
}
