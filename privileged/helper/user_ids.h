// Who asked the helper, as ids a process can take on: a child that must act with no more
// rights than that user (reading a copy's source, running a tool over the user's own tree)
// drops to them for good before it does anything.
#pragma once

#include <sys/types.h>
#include <vector>

namespace Refloom::Helper {

struct UserIds {
    uid_t uid;
    gid_t gid;
    std::vector<gid_t> groups; // the supplementary groups the system gives the user

    // The user's ids: the channel's peer, with the groups of its entry in the user database
    // (none when it has no entry).
    static UserIds of(uid_t uid, gid_t gid);
    bool isRoot() const { return uid == 0; }
};

// Takes on the user's ids, real, effective and saved, so that nothing can take root's back;
// false, with the process unchanged or partly changed, when any step fails: the caller must
// then give up (a child exits at once).
bool becomeUser(UserIds const& user);

} // namespace Refloom::Helper
