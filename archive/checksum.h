// File checksums and sizes over the portable paths.
#pragma once

#include <cstdint>

#include "cp/path.h"

// The zlib CRC-32 of a file's contents. True when the whole file was read; false, with `crc`
// untouched, for a missing path, a folder or a file that cannot be opened. Never raises.
bool CalculateCRC32Sum(Lumenary::CP::CPath const& file, unsigned long& crc);

// The bytes of a file, or of every file in a folder tree. Links are followed, but a folder is
// never entered again from inside itself. A deliberate early stop: once a folder's sum passes
// 4294967295 the walk ends and answers that partial sum, a lower bound. Anything unreadable
// counts 0.
std::uint64_t GetFileOrFolderSize(Lumenary::CP::CPath const& path);
