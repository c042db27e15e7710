// Writes zip archives entry by entry with minizip, names exactly as given, hostile ones too.
#pragma once

#include <string>
#include <vector>

namespace rf_test {

struct ZipEntry {
    std::string name;
    std::string content;
};

void make_zip(std::string const& path, std::vector<ZipEntry> const& entries);

} // namespace rf_test
