// Makes a signed patch that turns the OLD folder tree into the NEW one.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace Refloom::Patch {

struct MakeOptions {
    std::string oldFolder;
    std::string newFolder;
    std::string output;
    std::string privateKey;
    std::vector<std::pair<std::string, std::string>> content;  // (value, key) entries
    int level = 19;    // zstd level of the payloads
    int threads = 2;   // cores to use: files made at once, and the pieces of a large one
};

struct MakeReport {
    std::size_t entries = 0;
    std::size_t deltas = 0;
    std::uint64_t patchSize = 0;
};

// Raises PatchError when a tree cannot be read or the patch cannot be written; the output
// appears whole or not at all.
MakeReport makePatch(MakeOptions const& options);

// Content entries from a file of "value,key" lines; raises PatchError for a malformed line.
std::vector<std::pair<std::string, std::string>> readContentFile(std::string const& path);

} // namespace Refloom::Patch
