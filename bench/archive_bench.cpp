// Runs one archive-library operation from the command line, so that an outside timer
// (bench/archive.sh uses hyperfine) can compare it with the system's own tools.
//   rf_archive_bench unzip ARCHIVE DEST   extract ARCHIVE under DEST
//   rf_archive_bench crc FILE             print the CRC-32 of FILE in hex
//   rf_archive_bench size PATH            print the bytes of a file or folder tree
#include <cstdio>
#include <exception>
#include <string_view>

#include "archive/checksum.h"
#include "archive/zip_reader.h"
#include "cp/path.h"
#include "cp/string_converter.h"

namespace {

int usage() {
    std::fputs("usage: rf_archive_bench unzip ARCHIVE DEST\n"
               "       rf_archive_bench crc FILE\n"
               "       rf_archive_bench size PATH\n",
               stderr);
    return 2;
}

int unzip(char const* archive, char const* destination) {
    CZipReader reader(nullptr);
    if (!reader.Open(Common::UTF8ToWide(archive))) {
        std::fprintf(stderr, "rf_archive_bench: not a zip archive: %s\n", archive);
        return 1;
    }
    bool const done = reader.Unzip(Common::UTF8ToWide(destination));
    reader.Close();
    return done ? 0 : 1;
}

int crc(char const* file) {
    unsigned long sum = 0;
    if (!CalculateCRC32Sum(Lumenary::CP::CPath(file), sum)) {
        std::fprintf(stderr, "rf_archive_bench: cannot read %s\n", file);
        return 1;
    }
    std::printf("%08lx\n", sum);
    return 0;
}

int size(char const* path) {
    std::printf("%llu\n", static_cast<unsigned long long>(
                              GetFileOrFolderSize(Lumenary::CP::CPath(path))));
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) return usage();
    std::string_view const command = argv[1];
    try {
        if (command == "unzip" && argc == 4) return unzip(argv[2], argv[3]);
        if (command == "crc" && argc == 3) return crc(argv[2]);
        if (command == "size" && argc == 3) return size(argv[2]);
    } catch (std::exception const& error) {
        std::fprintf(stderr, "rf_archive_bench: %s\n", error.what());
        return 1;
    }
    return usage();
}
