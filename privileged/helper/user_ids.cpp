#include "privileged/helper/user_ids.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

namespace Refloom::Helper {

UserIds UserIds::of(uid_t uid, gid_t gid) {
    UserIds ids{uid, gid, {}};
    passwd const* account = getpwuid(uid);
    if (!account) return ids;
    int count = 64;
    for (int attempt = 0; attempt < 2; ++attempt) {
        ids.groups.resize(size_t(count));
        if (getgrouplist(account->pw_name, gid, ids.groups.data(), &count) >= 0) {
            ids.groups.resize(size_t(count));
            return ids;
        }
    }
    ids.groups.clear();
    return ids;
}

bool becomeUser(UserIds const& user) {
    // Groups first, while the rights to change them are still there.
    if (geteuid() == 0 && setgroups(user.groups.size(), user.groups.data()) != 0) return false;
    if (setresgid(user.gid, user.gid, user.gid) != 0 ||
        setresuid(user.uid, user.uid, user.uid) != 0)
        return false;
    uid_t real, effective, saved;
    return getresuid(&real, &effective, &saved) == 0 && real == user.uid && effective == user.uid &&
           saved == user.uid;
}

} // namespace Refloom::Helper
