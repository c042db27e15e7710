// Copies of the product: a folder holds one when it has the product's bundle (its name matched
// ignoring case) whose Info.plist carries the product's identifier.
#pragma once

#include <string>

#include "privileged/helper/helper_policy.h"

namespace Refloom::Helper {

bool holdsProduct(PolicyFile const& policy, std::string const& folder);
// A path inside one of a copy's parts ("Product-Support"), in an application folder.
bool isProductPart(Policy const& policy, std::string const& path, bool strictly);

} // namespace Refloom::Helper
