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
[[ -n "${RF_KEEP_SANDBOX:-}" ]] && trap - EXIT

id "$user" >/dev/null 2>&1 || useradd --system --no-create-home --shell /usr/sbin/nologin "$user"
# sudoers wants the blanks of a command path escaped.
printf '%s ALL=(root) NOPASSWD: %s\n' "$user" "${helper// /\\ }" >"$sudoers"
chmod 0440 "$sudoers"
visudo -cf "$sudoers" >/dev/null

# The system root belongs to root, as the real one does: a root of the user's own would give
# the helper no rights at all. In it, root's folders that the user may look in but not change:
# an install root holding a locked folder, links planted towards root's files outside every
# root, and hard links that an administrator's tool, or a system without hard-link
# protection, may have left; beside them a folder root keeps closed.
root=$sandbox/root
spotlight=$root/Library/Spotlight
chrome="$root/Library/Application Support/Google/Chrome/External Extensions"
mkdir -p "$spotlight/locked folder/inner" "$spotlight/second" "$spotlight/kept" "$root/outside" "$root/vault" \
  "$chrome" "$sandbox/log"
touch "$spotlight/locked folder/inner/file" "$spotlight/movable" "$spotlight/target"
chattr +i "$spotlight/locked folder/inner/file" 2>/dev/null || true
echo secret >"$root/outside/secret"
echo "root's linked" >"$root/outside/linked"
chmod 600 "$root/outside/secret" "$root/outside/linked"
echo "vault secret" >"$root/vault/secret"
chmod 644 "$root/vault/secret"
chmod 700 "$root/vault"
ln -s ../../outside/secret "$spotlight/link"
ln -s ../../outside "$spotlight/folder link"
ln "$root/outside/linked" "$spotlight/hard link"
echo "the user's" >"$sandbox/log/owned by the user"
ln "$sandbox/log/owned by the user" "$chrome/hard link"
chmod 755 "$sandbox" "$root" "$root/Library" "$spotlight" "$root/outside"
# The user's home in that root, with an install root of the user's own where the user may
# plant and swap links.
mkdir -p "$root/home/u/Library/Spotlight"
chown "$user" "$sandbox/log" "$sandbox/log/owned by the user"
chown -R "$user" "$root/home/u"

runuser -u "$user" -- env RF_PRIVILEGED_SANDBOX="$sandbox" RF_PRIVILEGED_HELPER="$helper" HOME=/nonexistent "$tests"
