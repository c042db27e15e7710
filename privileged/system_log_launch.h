// The same two-step service as CommandRunner for code without a window controller: a tool run
// as the user, or as administrator through a helper of its own. Writes to the system log.
#pragma once

#include <QString>

#include "privileged/command_runner.h"
#include "privileged/helper_client.h"

namespace Refloom {

// A handle on administrator rights: a running privileged helper.
using AuthorizationRef = HelperClient*;

// Starts a helper (asking for the rights); null when refused. Free it with dethenticate.
AuthorizationRef authenticate(QString const& helperPath);
void dethenticate(AuthorizationRef authorization);
// The tool's exit status. Raises LaunchError when it cannot be started.
int launchApplication(QString const& tool, Params const& params);
// The launch status, 0 when the tool ran. With a null handle one is made (0 answered when that
// is refused); a handle made here is not freed. Intended: the caller never sees it.
int launchApplicationAsRoot(AuthorizationRef authorization, QString const& helperPath,
                            QString const& tool, Params const& params);

} // namespace Refloom
