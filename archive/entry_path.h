// Where a zip entry may land: never outside the folder it is extracted into.
#pragma once

#include <string>
#include <string_view>
#include <unordered_set>

namespace Lumenary::Archive {

// An absolute name, or one with a ".." component, would leave the destination.
bool climbs_out(std::string_view entry_name);

// True when some existing component of `entry_name` under `destination` (UTF-8) is a symbolic
// link, which would carry the write elsewhere. Folders found safe are remembered in `safe`.
bool passes_through_link(std::string const& destination, std::string_view entry_name,
                         std::unordered_set<std::string>& safe);

} // namespace Lumenary::Archive
