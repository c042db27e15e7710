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

# Root's folders: the user may look in but change nothing; one holds a locked file.
mkdir -p "$sandbox/root-owned/locked folder/inner" "$sandbox/root-owned/second" "$sandbox/root-owned/kept" "$sandbox/log"
touch "$sandbox/root-owned/locked folder/inner/file"
chattr +i "$sandbox/root-owned/locked folder/inner/file" 2>/dev/null || true
chmod 755 "$sandbox" "$sandbox/root-owned"
chown "$user" "$sandbox/log"

runuser -u "$user" -- env RF_PRIVILEGED_SANDBOX="$sandbox" RF_PRIVILEGED_HELPER="$helper" HOME=/nonexistent "$tests"
