#include "archive/zip_io.h"

#include <sys/stat.h>
#include <utime.h>

#include <cstdio>
#include <ctime>
#include <ios>
#include <sstream>
#include <string>
#include <utility>

#include "cp/string_converter.h"
#include "support/local_string.h"

namespace Lumenary::Archive {
namespace {

thread_local std::exception_ptr t_open_failure;

// Every archive file gets a large buffer: minizip reads in small pieces and seeks often.
constexpr size_t kStreamBuffer = 1 << 16;

voidpf ZCALLBACK zopen_file(voidpf, void const* filename, int mode) {
    char const* fopen_mode = nullptr;
    if ((mode & ZLIB_FILEFUNC_MODE_READWRITEFILTER) == ZLIB_FILEFUNC_MODE_READ)
        fopen_mode = "rb";
    else if (mode & ZLIB_FILEFUNC_MODE_EXISTING)
        fopen_mode = "r+b";
    else if (mode & ZLIB_FILEFUNC_MODE_CREATE)
        fopen_mode = "wb";
    if (!filename || !fopen_mode) return nullptr;

    auto const* name = static_cast<char const*>(filename);
    FILE* file = std::fopen(name, fopen_mode);
    if (file) {
        std::setvbuf(file, nullptr, _IOFBF, kStreamBuffer);
        return file;
    }
    // The message carries the address of the localised text, not its words, and the same key
    // serves every mode, the open key being looked up to no purpose. Both intended.
    std::wstring const create_text = Common::wLocalString("IDS_ZIP_MODE_CREATE_ERR");
    std::wstring const open_text = Common::wLocalString("IDS_ZIP_MODE_OPEN_ERR");
    std::ostringstream message;
    message << static_cast<void const*>(create_text.c_str()) << name << ")";
    t_open_failure = std::make_exception_ptr(std::ios_base::failure(message.str(), std::io_errc::stream));
    return nullptr;
}

uLong ZCALLBACK zread_file(voidpf, voidpf stream, void* buffer, uLong size) {
    return static_cast<uLong>(std::fread(buffer, 1, size, static_cast<FILE*>(stream)));
}

uLong ZCALLBACK zwrite_file(voidpf, voidpf stream, void const* buffer, uLong size) {
    return static_cast<uLong>(std::fwrite(buffer, 1, size, static_cast<FILE*>(stream)));
}

ZPOS64_T ZCALLBACK ztell64_file(voidpf, voidpf stream) {
    return static_cast<ZPOS64_T>(ftello(static_cast<FILE*>(stream)));
}

long ZCALLBACK zseek64_file(voidpf, voidpf stream, ZPOS64_T offset, int origin) {
    int whence;
    switch (origin) {
    case ZLIB_FILEFUNC_SEEK_SET: whence = SEEK_SET; break;
    case ZLIB_FILEFUNC_SEEK_CUR: whence = SEEK_CUR; break;
    case ZLIB_FILEFUNC_SEEK_END: whence = SEEK_END; break;
    default: return -1;
    }
    return fseeko(static_cast<FILE*>(stream), static_cast<off_t>(offset), whence);
}

int ZCALLBACK zclose_file(voidpf, voidpf stream) { return std::fclose(static_cast<FILE*>(stream)); }

int ZCALLBACK zerror_file(voidpf, voidpf stream) { return std::ferror(static_cast<FILE*>(stream)); }

voidpf ZCALLBACK zopen64_file(voidpf opaque, void const* filename, int mode) {
    return zopen_file(opaque, filename, mode);
}

} // namespace

zlib_filefunc64_def zlib_utf8filefuncs = {
    zopen64_file, zread_file, zwrite_file, ztell64_file, zseek64_file, zclose_file, zerror_file,
    nullptr,
};

std::exception_ptr take_open_failure() { return std::exchange(t_open_failure, nullptr); }

int filetime(wchar_t const* path, tm_zip* out, unsigned long*) {
    std::string name = static_cast<char const*>(Common::ToUTF8(path));
    time_t when = 0;
    int found = 0;
    if (name != "-") {
        if (!name.empty() && name.back() == '/') name.pop_back();
        struct stat info;
        if (::stat(name.c_str(), &info) == 0) {
            when = info.st_mtime;
            found = 1;
        }
    }
    std::tm local{};
    localtime_r(&when, &local);
    if (out) {
        out->tm_sec = static_cast<uInt>(local.tm_sec);
        out->tm_min = static_cast<uInt>(local.tm_min);
        out->tm_hour = static_cast<uInt>(local.tm_hour);
        out->tm_mday = static_cast<uInt>(local.tm_mday);
        out->tm_mon = static_cast<uInt>(local.tm_mon);
        out->tm_year = static_cast<uInt>(local.tm_year);
    }
    return found;
}

void change_file_date(wchar_t const* path, unsigned long, tm_unz date) {
    std::tm local{};
    local.tm_sec = static_cast<int>(date.tm_sec);
    local.tm_min = static_cast<int>(date.tm_min);
    local.tm_hour = static_cast<int>(date.tm_hour);
    local.tm_mday = static_cast<int>(date.tm_mday);
    local.tm_mon = static_cast<int>(date.tm_mon);
    local.tm_year = static_cast<int>(date.tm_year > 1900 ? date.tm_year - 1900 : date.tm_year);
    local.tm_isdst = -1;
    utimbuf times{};
    times.actime = times.modtime = std::mktime(&local);
    ::utime(static_cast<char const*>(Common::ToUTF8(path)), &times);
}

} // namespace Lumenary::Archive
