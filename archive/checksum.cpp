#include "archive/checksum.h"

#include <zlib.h>

#include <memory>

#include "archive/stl_fstream.h"
#include "cp/dir.h"
#include "cp/file_utils.h"

using Lumenary::CP::CDir;
using Lumenary::CP::CFileUtils;
using Lumenary::CP::CPath;

namespace {

constexpr std::streamsize kBlock = 32768;
constexpr std::uint64_t kSizeLimit = 0xFFFFFFFFull;

} // namespace

bool CalculateCRC32Sum(CPath const& file, unsigned long& crc) {
    bool done = false;
    try {
        if (!file.exists() || file.is_directory()) return false;
        std::wstring whole;
        file.copy_unicode_item(CPath::item_whole, whole);
        stl_extensions::fstream in(whole.c_str(), std::ios::in | std::ios::binary);
        if (!in.is_open()) return false;
        crc = crc32(0, nullptr, 0);
        auto buffer = std::make_unique<char[]>(kBlock);
        while (!in.eof()) {
            in.read(buffer.get(), kBlock);
            crc = crc32(crc, reinterpret_cast<Bytef const*>(buffer.get()),
                        static_cast<uInt>(in.gcount()));
            if (!in && !in.eof()) return false;  // a read error, not the end
        }
        done = true;
    } catch (...) {
    }
    return done;
}

std::uint64_t GetFileOrFolderSize(CPath const& path) {
    if (path.is_directory()) {
        std::uint64_t sum = 0;
        CDir folder(path);
        for (CDir::iterator entry = folder.begin(); entry != folder.end(); ++entry) {
            sum += GetFileOrFolderSize(*entry);
            if (sum > kSizeLimit) break;
        }
        return sum;
    }
    long long size = 0;
    CFileUtils::size(path, size);
    return size > 0 ? static_cast<std::uint64_t>(size) : 0;
}
