// A copy of the privileged helper in a bundle of the test's own, with a policy whose roots lie
// in a sandbox system root the test owns, started directly with the test's own rights: the
// policy is the helper's whatever user it runs as.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "privileged/helper_client.h"
#include "tests/fixtures/scratch.h"

namespace rf_test {

// A snapshot of everything below `folder`: names, modes, owners and contents, a line each.
std::string treeState(std::string const& folder);

struct HelperBundle {
    Scratch scratch;
    std::string contents = scratch / "Test.app/Contents";
    std::string resources = contents + "/Resources";
    std::string helper = contents + "/MacOS/rf-privileged-helper";
    std::string root = scratch / "root";
    std::string home = root + "/home/u";
    std::string spotlight = root + "/Library/Spotlight";  // an install root
    std::string outside = root + "/outside";              // in no root: must never change
    std::string product = root + "/Applications/Refloom 2025";

    HelperBundle();
    // Writes the policy; `scripts` are names in the resources whose current hash is listed.
    void writePolicy(std::vector<std::string> const& scripts);
    std::unique_ptr<Refloom::HelperClient> start();
    std::string outsideState() const { return treeState(outside); }
};

} // namespace rf_test
