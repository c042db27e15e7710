// applyPatch -d FOLDER -i PATCH [-n] [-C]
//   -n  dry run: exit 0 only when the folder is exactly in the patch's source or target state
//   -C  print the patch's content entries, one "value,key" line each
// The public key is "applyPatch.pub" beside this executable. Exit statuses: 0 done or already up
// to date, 1 usage, 2 unreadable patch, 3 bad signature, 4 unknown format version, 5 unsafe path,
// 6 folder in neither state, 7 payload or result hash mismatch, 8 failed and restored.
#include <malloc.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstring>
#include <string>

#include "tools/applypatch/applier.h"

using namespace Refloom::Patch;

namespace {

constexpr char kHelp[] =
    "usage: applyPatch -d FOLDER -i PATCH [-n] [-C]\n"
    "Applies a signed patch to FOLDER: every file the patch changes is checked to be exactly as\n"
    "the patch expects, the new files are staged beside the folder, and the change is committed\n"
    "under a journal, so that any failure or crash leaves the folder as it was or as patched.\n"
    "A folder already exactly as the patch would leave it is left alone: applyPatch says so and\n"
    "exits 0, so running a patch twice does no harm.\n"
    "\n"
    "  -d FOLDER   the folder to patch (for the updater, the folder that holds the application)\n"
    "  -i PATCH    the patch file\n"
    "  -n          dry run: check only; exit 0 when the folder is exactly in the patch's source state,\n"
    "              9 when it is already in its target state (which it then says)\n"
    "  -C          print the patch's content entries, one \"value,key\" line each (no folder needed)\n"
    "  --help      this text\n"
    "\n"
    "The public key that must have signed the patch is \"applyPatch.pub\" beside this program\n"
    "(made with makePatch --genkey).\n"
    "\n"
    "Exit status: 0 done, or already up to date; 1 usage; 2 unreadable patch; 3 bad signature;\n"
    "4 unknown format version; 5 unsafe path in the patch; 6 folder in neither the patch's source nor its target state;\n"
    "7 payload or result hash mismatch; 8 failed, and the folder was restored; 9 (dry run) already up to date.\n";

int usage() {
    std::fputs(kHelp, stderr);
    return 1;
}

std::string publicKeyBesideTool() {
    char self[PATH_MAX];
    ssize_t length = readlink("/proc/self/exe", self, sizeof self - 1);
    if (length <= 0) return "applyPatch.pub";
    std::string path(self, std::size_t(length));
    return path.substr(0, path.rfind('/') + 1) + "applyPatch.pub";
}

// One line: the folder the run was about, when there is one, so that a message about a file of
// one copy among several says which copy.
void refuse(std::string const& folder, char const* why) {
    if (folder.empty())
        std::fprintf(stderr, "applyPatch: %s\n", why);
    else
        std::fprintf(stderr, "applyPatch: in \"%s\": %s\n", folder.c_str(), why);
}

} // namespace

int main(int argc, char** argv) {
    // Buffers of a large delta (decoder dictionaries, the old file's cache) are given back to the
    // system when it is done, so that the next, on another thread, does not add its own: glibc
    // would otherwise keep them in each thread's heap once the first was freed.
    mallopt(M_MMAP_THRESHOLD, 256 << 10);
    std::string folder, patchPath;
    bool dryRun = false, content = false;
    for (int i = 1; i < argc; ++i) {
        std::string const arg = argv[i];
        if (arg == "--help") {
            std::fputs(kHelp, stdout);
            return 0;
        }
        if ((arg == "-d" || arg == "-i") && i + 1 < argc)
            (arg == "-d" ? folder : patchPath) = argv[++i];
        else if (arg == "-n")
            dryRun = true;
        else if (arg == "-C")
            content = true;
        else
            return usage();
    }
    if (patchPath.empty() || (folder.empty() && !content)) return usage();
    try {
        PatchFile const patch(patchPath, publicKeyBesideTool());
        if (content) {
            for (auto const& [value, key] : patch.manifest().content) std::printf("%s,%s\n", value.c_str(), key.c_str());
            return 0;
        }
        if (applyPatch(patch, {folder, dryRun, isatty(2) == 1}) != Outcome::up_to_date) return 0;
        std::printf("applyPatch: \"%s\" is already up to date; nothing was changed\n", folder.c_str());
        return dryRun ? kDryRunUpToDate : 0;
    } catch (PatchError const& error) {
        refuse(folder, error.what());
        return error.status();
    } catch (std::exception const& error) {
        refuse(folder, error.what());
        return int(Refusal::failed);
    }
}
