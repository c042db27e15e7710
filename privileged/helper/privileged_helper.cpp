// The privileged helper: started once per run through the platform's elevation, it carries out
// the named file operations of its policy with administrator rights, and nothing else. It
// talks only over the socket pair of the process that started it and exits when that closes
// or when a frame is malformed.
//   rf-privileged-helper [--root DIR --home DIR]
// The greeting goes out with the ids the helper will act with; the program believes those only
// as the kernel reports them with the frame.
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
#include "privileged/helper/user_ids.h"
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

// The process on the other end of the channel, which must be a socket made by the process that
// started us (directly, or through the elevation tool and its monitor).
ucred peerOfChannel() {
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
        if (ancestor == peer.pid) return peer;
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

// A system root that only root can have laid out: root's, writable by root alone, with no link
// on its way and only folders of root's on its way that nobody else may rename entries of.
bool laidOutByRoot(std::string const& root) {
    for (size_t end = root.find('/', 1);; end = root.find('/', end + 1)) {
        std::string why;
        std::optional<Pinned> step = pin(root.substr(0, end), why);
        if (!step || !step->isFolder() || step->info.st_uid != 0) return false;
        bool const last = end == std::string::npos;
        mode_t const mode = step->info.st_mode;
        if ((mode & (S_IWGRP | S_IWOTH)) != 0 && (last || (mode & S_ISVTX) == 0)) return false;
        if (last) return true;
    }
}

// A system root is the user's own, or one only root may change (as the tests' is). One of the
// user's own gives the helper nothing: it answers true, and the helper takes on the user's ids
// for good. Root asking for a root of its own is given nothing new either way.
bool sandboxGivesNothing(std::string const& root, std::string const& home, uid_t user) {
    if (!isWithin(home, root, true) || !isCleanAbsolute(home)) fail("the home folder must lie in the system root");
    std::string why;
    std::optional<Pinned> pinned = pin(root, why);
    if (!pinned || !pinned->isFolder()) fail("the system root must be a folder with no link on its way: " + root);
    if (user == 0) return false;
    if (pinned->info.st_uid == user) return true;
    if (!laidOutByRoot(root)) fail("the system root must be the user's own or one only root may change: " + root);
    return false;
}

} // namespace

int main(int argc, char** argv) {
    signal(SIGPIPE, SIG_IGN);
    umask(022);
    ucred const peer = peerOfChannel();
    // From here on the kernel names the sender of every request.
    if (!HelperProtocol::passCredentials(0)) fail("cannot tell who writes on the channel");
    UserIds const user = UserIds::of(peer.uid, peer.gid);
    std::string root, home;
    for (int i = 1; i + 1 < argc; i += 2) {
        std::string const option = argv[i];
        (option == "--root" ? root : option == "--home" ? home : (fail("unknown option " + option), root)) = argv[i + 1];
    }
    if (argc % 2 == 0) fail("usage: rf-privileged-helper [--root DIR --home DIR]");
    if (!root.empty()) {
        if (sandboxGivesNothing(root, home, user.uid) && !becomeUser(user)) fail("cannot take on the user's ids");
    } else {
        passwd const* account = getpwuid(user.uid);
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
        ucred sender{};
        if (!HelperProtocol::readFrame(0, body, HelperProtocol::kMaxRequest, &closed, &sender)) return closed ? 0 : 2;
        // Only the process that started the helper may ask: not one that took the channel.
        if (sender.pid != peer.pid || sender.uid != peer.uid) return 2;
        auto request = HelperProtocol::decodeRequest(body);
        if (!request || request->first != expected) return 2;  // out of step: trust nothing more
        Outcome const outcome = carryOut(context, request->second);
        if (!HelperProtocol::writeFrame(1, HelperProtocol::encodeReply({expected, outcome.status, outcome.exitStatus, outcome.output})))
            return 1;
    }
}
