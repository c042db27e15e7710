// makePatch OLD_FOLDER NEW_FOLDER -o PATCH --key PRIVATE_KEY [--content FILE] [--level N] [--threads N]
// makePatch --genkey NAME     writes NAME.key (private) and NAME.pub (public, for applyPatch)
#include <charconv>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "tools/applypatch/cores.h"
#include "tools/applypatch/crypto.h"
#include "tools/applypatch/maker.h"

using namespace Refloom::Patch;

namespace {

constexpr char kHelp[] =
    "usage: makePatch OLD_FOLDER NEW_FOLDER -o PATCH --key PRIVATE_KEY [--content FILE] [--level N] [--threads N]\n"
    "       makePatch --genkey NAME\n"
    "Makes a signed patch that turns OLD_FOLDER into NEW_FOLDER (files, folders, links and modes).\n"
    "\n"
    "  -o PATCH          the patch file to write\n"
    "  --key KEY         the private key that signs it (NAME.key of --genkey)\n"
    "  --content FILE    content entries to carry: one \"value,key\" line each (applyPatch -C prints them)\n"
    "  --level N         zstd level of the payloads, 1 to 19 (default 19; higher levels\n"
    "                    would need more memory to apply than applyPatch allows)\n"
    "  --threads N       cores to use: files made at once, and the threads that search and\n"
    "                    compress a large file (default: the machine's cores)\n"
    "  --genkey NAME     write a new key pair: NAME.key (private, readable by its owner only) and\n"
    "                    NAME.pub (public: ship it beside applyPatch as applyPatch.pub); neither\n"
    "                    file may exist yet\n"
    "  --help            this text\n"
    "\n"
    "Exit status: 0 done; 1 usage; 8 the keys could not be made; a patch that could not be made\n"
    "exits with the status applyPatch gives the same failure.\n";

int usage() {
    std::fputs(kHelp, stderr);
    return 1;
}

// The whole of `text` as a number from `low` to `high`, or nothing.
bool numberIn(std::string const& text, int low, int high, int& value) {
    int parsed = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), parsed);
    if (error != std::errc() || end != text.data() + text.size() || parsed < low || parsed > high) return false;
    value = parsed;
    return true;
}

} // namespace

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    if (args.size() == 1 && args[0] == "--help") {
        std::fputs(kHelp, stdout);
        return 0;
    }
    if (args.size() == 2 && args[0] == "--genkey") {
        std::string error;
        if (!generateKeyPair(args[1] + ".key", args[1] + ".pub", error)) {
            std::fprintf(stderr, "makePatch: %s\n", error.c_str());
            return 8;
        }
        return 0;
    }
    MakeOptions options;
    options.threads = machineCores();
    std::vector<std::string> folders;
    std::string contentFile;
    for (std::size_t i = 0; i < args.size(); ++i) {
        bool const hasValue = i + 1 < args.size();
        if (args[i] == "-o" && hasValue) options.output = args[++i];
        else if (args[i] == "--key" && hasValue) options.privateKey = args[++i];
        else if (args[i] == "--content" && hasValue) contentFile = args[++i];
        else if (args[i] == "--level" && hasValue) {
            if (!numberIn(args[++i], 1, 19, options.level)) {
                std::fprintf(stderr, "makePatch: --level takes a number from 1 to 19, not \"%s\"\n", args[i].c_str());
                return 1;
            }
        } else if (args[i] == "--threads" && hasValue) {
            if (!numberIn(args[++i], 1, 1024, options.threads)) {
                std::fprintf(stderr, "makePatch: --threads takes a number from 1 to 1024, not \"%s\"\n", args[i].c_str());
                return 1;
            }
        } else if (!args[i].starts_with("-")) folders.push_back(args[i]);
        else return usage();
    }
    if (folders.size() != 2 || options.output.empty() || options.privateKey.empty()) return usage();
    options.oldFolder = folders[0];
    options.newFolder = folders[1];
    try {
        if (!contentFile.empty()) options.content = readContentFile(contentFile);
        auto const start = std::chrono::steady_clock::now();
        MakeReport const report = makePatch(options);
        double const seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        std::fprintf(stderr, "makePatch: %zu changes (%zu deltas), %llu bytes, %.1f s\n", report.entries, report.deltas,
                     static_cast<unsigned long long>(report.patchSize), seconds);
        return 0;
    } catch (PatchError const& error) {
        std::fprintf(stderr, "makePatch: %s\n", error.what());
        return error.status();
    }
}
