// libFuzzer target for what the privileged helper reads from its channel and then does: request
// bodies, the frames around them, and each request carried out in a sandbox system root of its
// own under the helper's policy. Whatever the bytes, decoding answers or refuses without
// reading past the data; a refused request changes nothing at all; a carried-out one changes
// nothing outside what the policy lets it change, leaves no set-id bit and no staging folder.
// Every absolute path of a request is placed inside the sandbox, so no input reaches beyond it.
#include "privileged/helper/helper_operations.h"
#include "privileged/helper_protocol.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

using namespace Refloom;
using namespace Refloom::HelperProtocol;
namespace fs = std::filesystem;

namespace {

struct Sandbox {
    std::string base;
    std::string root;
    std::optional<Helper::Context> context;

    Sandbox() {
        char pattern[] = "/tmp/rf-fuzz-helper-XXXXXX";
        if (!mkdtemp(pattern)) std::abort();
        base = pattern;
        root = base + "/root";
    }

    void write(std::string const& relative, std::string const& content, mode_t mode = 0644) const {
        fs::create_directories(fs::path(base + "/" + relative).parent_path());
        std::ofstream(base + "/" + relative) << content;
        chmod((base + "/" + relative).c_str(), mode);
    }

    // A fresh root: install roots with files, folders and links, an owner root, a copy of the
    // product, root's outside folder with a hard link into an install root, and a source tree.
    void lay() {
        std::error_code ignored;
        fs::remove_all(base, ignored);
        write("Test.app/Contents/Resources/ok.sh", "#!/bin/sh\necho ran\n", 0755);
        write("root/Library/Spotlight/a", "a");
        write("root/Library/Spotlight/folder/b", "b");
        write("root/Library/Owned/Ext/f.json", "{}");
        write("root/home/u/Library/Spotlight/c", "c");
        write("root/Applications/Refloom 2025/Refloom 2025.app/Contents/Info.plist",
              "<plist><dict><key>CFBundleIdentifier</key><string>com.example.product</string></"
              "dict></plist>");
        write("root/Applications/Refloom 2025/Product-Support/d", "d");
        write("root/outside/secret", "secret", 0600);
        write("root/outside/folder/e", "e");
        write("source/f", "f", 06755);
        write("source/sub/g", "g");
        fs::create_symlink(root + "/outside", root + "/Library/Spotlight/link");
        fs::create_symlink("../../outside/secret", root + "/Library/Spotlight/relative");
        fs::create_hard_link(root + "/outside/secret", root + "/Library/Spotlight/hard");
        mkfifo((base + "/source/fifo").c_str(), 0644);
    }

    void start() {
        lay();
        std::string const policy =
            "install-root /Library/Spotlight\ninstall-root ~/Library/Spotlight\nowner-root "
            "/Library/Owned\n"
            "application-folder /Applications\nproduct-bundle Refloom 2025.app\nproduct-identifier "
            "com.example.product\n"
            "product-part Product-Support\naddin-name Addin.bundle\naddin-folder /Library\n"
            "script 0000000000000000000000000000000000000000000000000000000000000000 ok.sh\n";
        std::string why;
        std::optional<Helper::PolicyFile> file = Helper::PolicyFile::parse(policy, why);
        if (!file) std::abort();
        context.emplace(Helper::Context{Helper::Policy(*file, root, root + "/home/u"),
                                        base + "/Test.app/Contents/Resources",
                                        Helper::UserIds::of(getuid(), getgid()), getuid()});
    }

    // Everything below a folder: names, kinds, modes, owners, sizes and, unless left out, how
    // many names each item has (removing a hard link's other name changes that, and only that).
    std::string state(std::string const& folder, bool names = true) const {
        std::string text;
        std::error_code error;
        for (fs::recursive_directory_iterator it(folder, error), end; it != end;
             it.increment(error)) {
            struct stat info;
            if (lstat(it->path().c_str(), &info) != 0) continue;
            text += it->path().string() + " " + std::to_string(info.st_mode) + " " +
                    std::to_string(info.st_uid) + " " +
                    (names ? std::to_string(info.st_nlink) : "") + " " +
                    std::to_string(info.st_size) + "\n";
        }
        return text;
    }

    // The parts no request may change: root's outside folder, the source, the bundles.
    std::string untouchable() const {
        return state(root + "/outside", false) + state(base + "/source") +
               state(base + "/Test.app") +
               state(root + "/Applications/Refloom 2025/Refloom 2025.app");
    }

    // What a carried-out request may never leave behind.
    void checkAfterwards(std::string const& untouchableBefore) const {
        if (untouchable() != untouchableBefore) std::abort();
        std::error_code error;
        for (fs::recursive_directory_iterator it(root, error), end; it != end;
             it.increment(error)) {
            struct stat info;
            if (lstat(it->path().c_str(), &info) != 0) continue;
            if (!S_ISLNK(info.st_mode) && (info.st_mode & 07000) != 0) std::abort();
            if (it->path().filename().string().starts_with(".rf-staging")) std::abort();
        }
    }
};

Sandbox& sandbox() {
    static Sandbox* made = [] {
        auto* s = new Sandbox;
        s->start();
        std::atexit([] {
            std::error_code ignored;
            fs::remove_all(sandbox().base, ignored);
        });
        return s;
    }();
    return *made;
}

void carryOutInSandbox(Request request) {
    Sandbox& s = sandbox();
    for (std::string& operand : request.operands)
        if (operand.starts_with("/"))
            operand = (operand.starts_with("/source") ? s.base : s.root) + operand;
    std::string const everything = s.state(s.base), untouchable = s.untouchable();
    Helper::Outcome const outcome = Helper::carryOut(*s.context, request);
    if (outcome.status == kDenied) {
        if (s.state(s.base) != everything) std::abort(); // a refusal changes nothing
        return;
    }
    if (outcome.status != 0 && outcome.status != kExecuteFailed) std::abort();
    s.checkAfterwards(untouchable);
    s.lay();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, size_t size) {
    std::string const body(reinterpret_cast<char const*>(data), size);
    if (auto request = decodeRequest(body)) {
        std::optional<std::string> again = encodeRequest(request->first, request->second);
        if (!again || *again != body) std::abort();
        carryOutInSandbox(request->second);
    }
    decodeReply(body);
    decodeGreeting(body);
    // The same bytes as they would arrive on the channel.
    int ends[2];
    if (pipe(ends) != 0) return 0;
    if (size <= 65536 && write(ends[1], data, size) == ssize_t(size)) {
        close(ends[1]);
        std::string frame;
        while (readFrame(ends[0], frame, kMaxRequest))
            decodeRequest(frame);
    } else {
        close(ends[1]);
    }
    close(ends[0]);
    return 0;
}
