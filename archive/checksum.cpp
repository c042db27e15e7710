#include "archive/checksum.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <future>
#include <limits>
#include <memory>
#include <vector>

#include "cp/string_converter.h"

using Lumenary::CP::CPath;

namespace {

constexpr size_t kBlock = 1 << 17;  // fits the second-level cache, few calls
// Below this a second thread costs more than it saves.
constexpr off_t kParallelFrom = 8 << 20;
constexpr std::uint64_t kSizeLimit = 0xFFFFFFFFull;

struct Crc {
    uLong value = crc32(0, nullptr, 0);
    off_t length = 0;
    bool ok = true;
};

// The CRC of the bytes from `begin` up to `end` or the end of the file, whichever comes first.
Crc crc_of_range(int fd, off_t begin, off_t end) {
    Crc crc;
    auto buffer = std::make_unique<Bytef[]>(kBlock);
    while (begin < end) {
        size_t want = static_cast<size_t>(std::min<off_t>(end - begin, kBlock));
        ssize_t got = pread(fd, buffer.get(), want, begin);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) {
            crc.ok = false;
            break;
        }
        if (got == 0) break;
        crc.value = crc32_z(crc.value, buffer.get(), static_cast<size_t>(got));
        crc.length += got;
        begin += got;
    }
    return crc;
}

// zlib's CRC runs slower than the page cache delivers, so a large file's two halves are summed
// on both cores and the two CRCs combined.
bool crc_of_file(int fd, unsigned long& crc) {
    struct stat info;
    if (fstat(fd, &info) != 0) return false;
    constexpr off_t kToTheEnd = std::numeric_limits<off_t>::max();
    if (info.st_size < kParallelFrom) {
        Crc whole = crc_of_range(fd, 0, kToTheEnd);
        if (whole.ok) crc = whole.value;
        return whole.ok;
    }
    off_t const middle = info.st_size / 2;
    auto second = std::async(std::launch::async, crc_of_range, fd, middle, kToTheEnd);
    Crc first = crc_of_range(fd, 0, middle);
    Crc last = second.get();
    if (!first.ok || !last.ok) return false;
    // A file that shrank below the middle meanwhile has nothing past it.
    crc = first.length < middle ? first.value : crc32_combine(first.value, last.value, last.length);
    return true;
}

// The walk keeps names in the file system's form and stats each entry once, relative to its
// folder. A folder already on the way down (reached again through a link) is not entered twice.
struct FolderWalk {
    std::vector<std::pair<dev_t, ino_t>> open_folders;

    std::uint64_t size_of(int fd, struct stat const& folder) {
        DIR* listing = fdopendir(fd);
        if (!listing) {
            close(fd);
            return 0;
        }
        open_folders.emplace_back(folder.st_dev, folder.st_ino);
        std::uint64_t sum = 0;
        while (dirent* entry = readdir(listing)) {
            std::string_view name(entry->d_name);
            if (name == "." || name == "..") continue;
            struct stat info;
            if (fstatat(fd, entry->d_name, &info, 0) != 0) continue;  // unreadable counts 0
            if (S_ISDIR(info.st_mode)) {
                if (std::find(open_folders.begin(), open_folders.end(),
                              std::make_pair(info.st_dev, info.st_ino)) != open_folders.end())
                    continue;
                int child = openat(fd, entry->d_name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
                if (child >= 0) sum += size_of(child, info);
            } else if (info.st_size > 0) {
                sum += static_cast<std::uint64_t>(info.st_size);
            }
            if (sum > kSizeLimit) break;
        }
        open_folders.pop_back();
        closedir(listing);
        return sum;
    }
};

} // namespace

bool CalculateCRC32Sum(CPath const& file, unsigned long& crc) {
    try {
        if (!file.exists() || file.is_directory()) return false;
        std::wstring whole;
        file.copy_unicode_item(CPath::item_whole, whole);
        int fd = open(static_cast<char const*>(Common::ToUTF8(whole.c_str())), O_RDONLY | O_CLOEXEC);
        if (fd < 0) return false;
        bool done = crc_of_file(fd, crc);
        close(fd);
        return done;
    } catch (...) {
        return false;
    }
}

std::uint64_t GetFileOrFolderSize(CPath const& path) {
    std::string native = static_cast<std::string const&>(
        Lumenary::CP::CStringConverter(path.str(), Lumenary::CP::enc_utf8, 1252));
    struct stat info;
    if (native.empty() || ::stat(native.c_str(), &info) != 0) return 0;
    if (!S_ISDIR(info.st_mode)) return info.st_size > 0 ? static_cast<std::uint64_t>(info.st_size) : 0;
    int fd = open(native.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    return fd < 0 ? 0 : FolderWalk().size_of(fd, info);
}
