// The file layer minizip reads archives through, and file dates for extracted entries.
#pragma once

#include <ioapi.h>
#include <unzip.h>
#include <zip.h>

#include <exception>

namespace Lumenary::Archive {

// minizip's 64-bit file-function record filled with the functions below; paths are UTF-8.
extern zlib_filefunc64_def zlib_utf8filefuncs;

// An archive the file layer could not open is an exception for the caller of minizip's open.
// minizip is C and cannot carry it, so the layer parks it here (per thread) and answers null;
// the caller takes it back out and raises it.
std::exception_ptr take_open_failure();

// A file's modification time as broken-down local time; 1 when the file was found, else 0 with
// time 0. One trailing "/" is ignored. "-" stands for standard input and has no time.
int filetime(wchar_t const* path, tm_zip* out, unsigned long* dos_date);
// Sets a file's access and modification times to an entry's local date. Years above 1900 are
// taken as full years, smaller ones as years since 1900; the DOS date is not used.
void change_file_date(wchar_t const* path, unsigned long dos_date, tm_unz date);

} // namespace Lumenary::Archive
