#include "tests/tools/patch_fixture.h"

#include <filesystem>
#include <fstream>

#include "tools/applypatch/crypto.h"

namespace fs = std::filesystem;
using namespace Refloom::Patch;

namespace rf_test {

PatchFixture::PatchFixture() {
    fs::create_directories(scratch / "tool");
    tool = scratch / "tool/applyPatch";
    fs::copy_file(RF_PATCH_TOOLS "/applyPatch", tool);
    privateKey = scratch / "test.key";
    std::string error;
    if (!generateKeyPair(privateKey, scratch / "tool/applyPatch.pub", error)) throw std::runtime_error(error);
}

std::string PatchFixture::make(std::string const& oldFolder, std::string const& newFolder, std::string const& name) {
    std::string const patch = scratch / name;
    std::string const command = "'" RF_PATCH_TOOLS "/makePatch' '" + oldFolder + "' '" + newFolder + "' -o '" + patch +
                                "' --key '" + privateKey + "' 2>/dev/null";
    if (run(command) != 0) throw std::runtime_error("makePatch failed");
    return patch;
}

int PatchFixture::apply(std::string const& folder, std::string const& patch, std::string const& flags) {
    return run("'" + tool + "' -d '" + folder + "' -i '" + patch + "' " + flags + " 2>/dev/null");
}

std::string PatchFixture::write(Manifest const& manifest, std::string const& payloads, std::string const& name,
                                std::string const& key) {
    std::string const body = serialize(manifest);
    std::string const header = signedHeader(body.size());
    std::string const path = scratch / name;
    std::ofstream(path, std::ios::binary) << header << sign(key.empty() ? privateKey : key, header + body) << body
                                          << payloads;
    return path;
}

std::map<std::string, TreeItem> snapshot(std::string const& folder) {
    auto tree = scanTree(folder);
    for (auto& [path, item] : tree)
        if (item.node.kind != Kind::file) item.mtimeSeconds = 0, item.mtimeNanoseconds = 0;  // folders change as they fill
    return tree;
}

bool sameTree(std::string const& a, std::string const& b) {
    auto const left = snapshot(a), right = snapshot(b);
    if (left.size() != right.size()) return false;
    for (auto l = left.begin(), r = right.begin(); l != left.end(); ++l, ++r)
        if (l->first != r->first || !(l->second.node == r->second.node) || l->second.mtimeSeconds != r->second.mtimeSeconds ||
            l->second.mtimeNanoseconds != r->second.mtimeNanoseconds)
            return false;
    return true;
}

} // namespace rf_test
