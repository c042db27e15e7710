// libFuzzer target for the zip reader: whatever the bytes, opening and extracting them answers,
// raises or refuses, never crashes, and writes nothing outside the destination folder.
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "archive/zip_reader.h"
#include "cp/path.h"

namespace fs = std::filesystem;

namespace {

struct Sandbox {
    std::string base;
    Sandbox() {
        char pattern[] = "/tmp/rf-fuzz-zip-XXXXXX";
        if (!mkdtemp(pattern)) std::abort();
        base = pattern;
        fs::create_directories(base + "/outside");
        std::ofstream(base + "/outside/kept") << "kept";
    }
    // Everything beside the destination: it must never change.
    std::string outside() const {
        std::string state;
        std::error_code error;
        std::string const to = base + "/to";
        for (fs::recursive_directory_iterator it(base, error), end; it != end; it.increment(error)) {
            std::string const path = it->path().string();
            if (path != base + "/archive.zip" && path != to && !path.starts_with(to + "/")) state += path + "\n";
        }
        return state;
    }
};

Sandbox& sandbox() {
    static Sandbox* made = [] {
        auto* s = new Sandbox;
        std::atexit([] {
            std::error_code ignored;
            fs::remove_all(sandbox().base, ignored);
        });
        return s;
    }();
    return *made;
}

std::wstring wide(std::string const& text) { return Lumenary::CP::CPath(text).str(); }

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, size_t size) {
    Sandbox& s = sandbox();
    std::string const archive = s.base + "/archive.zip", destination = s.base + "/to";
    {
        std::ofstream file(archive, std::ios::binary | std::ios::trunc);
        file.write(reinterpret_cast<char const*>(data), std::streamsize(size));
    }
    std::string const before = s.outside();
    fs::create_directories(destination);
    try {
        CZipReader reader(nullptr);
        if (reader.Open(wide(archive).c_str())) {
            reader.Unzip(wide(destination).c_str());
            reader.Close();
        }
    } catch (...) {
        // A refusal: what matters is what it left.
    }
    if (s.outside() != before) std::abort();
    std::error_code ignored;
    fs::permissions(destination, fs::perms::owner_all, fs::perm_options::add, ignored);
    fs::remove_all(destination, ignored);
    return 0;
}
