#include "archive/entry_path.h"

#include <sys/stat.h>

namespace Lumenary::Archive {

bool climbs_out(std::string_view entry_name) {
    if (!entry_name.empty() && entry_name.front() == '/') return true;
    size_t start = 0;
    while (start <= entry_name.size()) {
        size_t end = entry_name.find('/', start);
        if (end == std::string_view::npos) end = entry_name.size();
        if (entry_name.substr(start, end - start) == "..") return true;
        start = end + 1;
    }
    return false;
}

bool passes_through_link(std::string const& destination, std::string_view entry_name,
                         std::unordered_set<std::string>& safe) {
    size_t end = 0;
    while (end < entry_name.size()) {
        end = entry_name.find('/', end + 1);
        if (end == std::string_view::npos) end = entry_name.size();
        std::string prefix(entry_name.substr(0, end));
        bool is_folder = end < entry_name.size();
        if (is_folder && safe.count(prefix)) continue;
        struct stat info;
        if (::lstat((destination + "/" + prefix).c_str(), &info) != 0) return false;  // not there yet
        if (S_ISLNK(info.st_mode)) return true;
        if (is_folder && S_ISDIR(info.st_mode)) safe.insert(std::move(prefix));
    }
    return false;
}

} // namespace Lumenary::Archive
