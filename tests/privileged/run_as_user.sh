#!/usr/bin/env bash
# Runs the privileged tests as an unprivileged user who may start the privileged helper, and
# nothing else, through "sudo -n". Needs root to set up; exits 77 (skipped) otherwise.
#   run_as_user.sh TEST_BINARY HELPER
set -euo pipefail
tests=$1
helper=$2
user=rf-priv-test

if [[ $(id -u) -ne 0 ]]; then
  echo "skipped: making a test user and a sudoers entry needs root"
  exit 77
fi
if ! command -v sudo >/dev/null; then
  echo "skipped: sudo is not installed (scripts/bootstrap installs it)"
  exit 77
fi

sandbox=$(mktemp -d /tmp/rf-privileged.XXXXXX)
sudoers=/etc/sudoers.d/rf-priv-test
cleanup() {
  chattr -R -i "$sandbox" 2>/dev/null || true
  rm -rf "$sandbox" "$sudoers"
  userdel "$user" 2>/dev/null || true
}
trap cleanup EXIT

id "$user" >/dev/null 2>&1 || useradd --system --no-create-home --shell /usr/sbin/nologin "$user"
# sudoers wants the blanks of a command path escaped.
printf '%s ALL=(root) NOPASSWD: %s\n' "$user" "${helper// /\\ }" >"$sudoers"
chmod 0440 "$sudoers"
visudo -cf "$sudoers" >/dev/null

# The system root is the user's own folder (the helper takes no other); inside it, root's
# folders that the user may look in but not change: an install root holding a locked folder
# and links planted towards root's files outside every install root.
root=$sandbox/root
spotlight=$root/Library/Spotlight
mkdir -p "$spotlight/locked folder/inner" "$spotlight/second" "$spotlight/kept" "$root/outside" "$sandbox/log"
touch "$spotlight/locked folder/inner/file" "$spotlight/movable" "$spotlight/target"
chattr +i "$spotlight/locked folder/inner/file" 2>/dev/null || true
echo secret >"$root/outside/secret"
chmod 600 "$root/outside/secret"
ln -s ../../outside/secret "$spotlight/link"
ln -s ../../outside "$spotlight/folder link"
chmod 755 "$sandbox" "$root/Library" "$spotlight" "$root/outside"
# The user's own install root (~/Library/Spotlight), where the user may plant and flip links.
mkdir -p "$root/home/u/Library/Spotlight"
chown "$user" "$sandbox" "$root" "$sandbox/log"
chown -R "$user" "$root/home"

runuser -u "$user" -- env RF_PRIVILEGED_SANDBOX="$sandbox" RF_PRIVILEGED_HELPER="$helper" HOME=/nonexistent "$tests"
