#include "tools/applypatch/maker.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <future>

#include "tools/applypatch/cores.h"
#include "tools/applypatch/crypto.h"
#include "tools/applypatch/delta.h"
#include "tools/applypatch/tree.h"
#include "tools/applypatch/zstd_stream.h"

namespace Refloom::Patch {
namespace {

// A file whose payload is still to be made, and what it became.
struct Job {
    std::size_t entry;
    std::string oldPath;  // empty: no old file to delta against
    std::string newPath;
    std::string payload;
    PayloadKind kind = PayloadKind::whole;
};

// Compiler bitcode, bit-packed: LLVM's magic "BC" 0xC0DE, or its wrapper's 0x0B17C0DE.
bool isBitcode(std::string_view bytes) {
    return bytes.starts_with(std::string_view("BC\xC0\xDE", 4)) || bytes.starts_with(std::string_view("\xDE\xC0\x17\x0B", 4));
}

// Seeing a file as eight copies takes eight times the memory and time of the search; bitcode
// files are small, and a larger one keeps the plain delta.
constexpr std::size_t kBitViewLimit = 8 << 20;

// The delta when it is the smaller, else the whole file. A fast whole-file estimate decides
// whether the full-strength whole-file payload is worth making at all.
void makePayload(Job& job, int level, int threads) {
    std::string const next = readWholeFile(job.newPath);
    // Content that does not compress (compressed images and archives, encrypted or signed
    // blobs) is stored as the quick pass left it, a few bytes a block over its own size; and
    // when the old file holds none of it either, no delta is searched for. The quick pass runs
    // at once for a small file, and for one whose start does not compress (its result decides
    // whether to search); otherwise beside the delta's suffix sort, which holds one core.
    bool const now = next.size() <= (1u << 20) || startBarelyShrinks(next, 3);
    std::future<std::string> later = now ? std::future<std::string>() : std::async(std::launch::async, [&next] { return compress(next, 3); });
    std::string quick = now ? compress(next, 3) : std::string();
    bool incompressible = now && barelyShrinks(quick.size(), next.size());
    if (!job.oldPath.empty()) {
        std::string const old = readWholeFile(job.oldPath);
        if (incompressible && barelyShrinks(sizeAfter(old, next), next.size())) {
            job.payload = std::move(quick);
            job.kind = PayloadKind::whole;
            return;
        }
        bool const bitPacked = isBitcode(old) && isBitcode(next) && old.size() <= kBitViewLimit;
        job.payload = makeDelta(old, next, level, threads, bitPacked ? OldView::bits : OldView::bytes);
        job.kind = bitPacked ? PayloadKind::bit_delta : PayloadKind::delta;
    }
    if (!now) quick = later.get();
    incompressible = barelyShrinks(quick.size(), next.size());
    if (job.kind != PayloadKind::whole && quick.size() >= job.payload.size()) return;
    std::string whole = incompressible ? std::move(quick) : compress(next, level, threads > 1 && next.size() >= (4u << 20) ? threads : 0);
    if (job.payload.empty() || whole.size() < job.payload.size()) {
        job.payload = std::move(whole);
        job.kind = PayloadKind::whole;
    }
}

Entry entryFor(std::string const& path, TreeItem const* old, TreeItem const* next) {
    Entry e;
    e.path = path;
    if (old) e.source = old->node;
    if (next) {
        e.target = next->node;
        e.mtimeSeconds = next->mtimeSeconds;
        e.mtimeNanoseconds = next->mtimeNanoseconds;
    }
    if (!old) e.op = Op::add;
    else if (!next) e.op = Op::remove;
    else if (old->node.kind != next->node.kind || old->node.link != next->node.link) e.op = Op::replace;
    else if (old->node.kind == Kind::file && old->node.sha256 != next->node.sha256) e.op = Op::delta;
    else e.op = Op::mode;
    if (e.target.kind == Kind::file && e.op != Op::mode) e.payload = PayloadKind::whole;
    return e;
}

// Nothing to do: same node, and for a file the same time too.
bool unchanged(TreeItem const& old, TreeItem const& next) {
    return old.node == next.node && (old.node.kind != Kind::file || (old.mtimeSeconds == next.mtimeSeconds &&
                                                                     old.mtimeNanoseconds == next.mtimeNanoseconds));
}

} // namespace

std::vector<std::pair<std::string, std::string>> readContentFile(std::string const& path) {
    std::ifstream in(path);
    if (!in) throw PatchError(Refusal::failed, "cannot read the content file " + path);
    std::vector<std::pair<std::string, std::string>> content;
    for (std::string line; std::getline(in, line);) {
        if (line.empty()) continue;
        auto comma = line.find(',');
        if (comma == std::string::npos || line.find(',', comma + 1) != std::string::npos)
            throw PatchError(Refusal::failed, "content lines are \"value,key\": " + line);
        content.emplace_back(line.substr(0, comma), line.substr(comma + 1));
    }
    return content;
}

MakeReport makePatch(MakeOptions const& options) {
    auto const oldTree = scanTree(options.oldFolder);
    auto const newTree = scanTree(options.newFolder);

    Manifest manifest;
    manifest.content = options.content;
    std::vector<Job> jobs;
    auto o = oldTree.begin();
    auto n = newTree.begin();
    while (o != oldTree.end() || n != newTree.end()) {
        bool const takeOld = n == newTree.end() || (o != oldTree.end() && o->first <= n->first);
        bool const takeNew = o == oldTree.end() || (n != newTree.end() && n->first <= o->first);
        TreeItem const* old = takeOld ? &o->second : nullptr;
        TreeItem const* next = takeNew ? &n->second : nullptr;
        std::string const& path = takeOld ? o->first : n->first;
        if (!(old && next && unchanged(*old, *next))) {
            Entry e = entryFor(path, old, next);
            if (e.payload != PayloadKind::none)
                jobs.push_back({manifest.entries.size(), e.op == Op::delta ? options.oldFolder + "/" + path : "",
                                options.newFolder + "/" + path, {}, PayloadKind::whole});
            manifest.entries.push_back(std::move(e));
        }
        if (takeOld) ++o;
        if (takeNew) ++n;
    }

    int const threads = std::max(1, options.threads);
    forEachOnThreads(jobs.size(), threads, [&](std::size_t i) { makePayload(jobs[i], options.level, threads); });
    MakeReport report;
    for (Job const& job : jobs) {
        Entry& e = manifest.entries[job.entry];
        e.payload = job.kind;
        if (job.kind == PayloadKind::whole && e.op == Op::delta) e.op = Op::replace;
        if (isDelta(job.kind)) ++report.deltas;
        e.payloadOffset = manifest.payloadTotal;
        e.payloadSize = job.payload.size();
        e.payloadSha256 = hashBytes(job.payload);
        manifest.payloadTotal += job.payload.size();
    }

    std::string const body = serialize(manifest);
    std::string const header = signedHeader(body.size());
    std::string const signature = sign(options.privateKey, header + body);

    std::string const temporary = options.output + ".partial";
    {
        std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
        out << header << signature << body;
        for (Job const& job : jobs) out << job.payload;
        if (!out.flush()) {
            std::remove(temporary.c_str());
            throw PatchError(Refusal::failed, "cannot write " + options.output);
        }
    }
    if (std::rename(temporary.c_str(), options.output.c_str()) != 0) {
        std::remove(temporary.c_str());
        throw PatchError(Refusal::failed, "cannot write " + options.output);
    }
    report.entries = manifest.entries.size();
    report.patchSize = header.size() + signature.size() + body.size() + manifest.payloadTotal;
    return report;
}

} // namespace Refloom::Patch
