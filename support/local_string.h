// Localised texts by key for the portable code. The table starts with the English texts of the
// keys the library uses; the application replaces it with its own string tables.
#pragma once

#include <map>
#include <string>

namespace Common {

using LocalStringTable = std::map<std::string, std::string, std::less<>>;

// The UTF-8 text of a key; empty for a null or unknown key.
std::string LocalString(char const* key);
std::wstring wLocalString(char const* key);

// Replaces the table for every thread. Safe while other threads look keys up.
void SetLocalStringTable(LocalStringTable table);
LocalStringTable const& DefaultLocalStringTable();

} // namespace Common
