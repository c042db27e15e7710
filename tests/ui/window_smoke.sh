#!/usr/bin/env bash
# The real program in its window under Xvfb: it shows the window, and a click on Cancel ends the
# run with the log's closing line and the exit status of a cancelled run.
#   window_smoke.sh PROGRAM
set -uo pipefail
program=$1
if ! command -v xvfb-run >/dev/null || ! command -v xdotool >/dev/null; then
  echo "skipped: xvfb-run and xdotool are not installed (scripts/bootstrap installs them)"
  exit 77
fi
root=$(mktemp -d /tmp/rf-window-smoke.XXXXXX)
trap 'rm -rf "$root"' EXIT
# With no window manager nothing is active for the keyboard, so the test clicks: Cancel is the
# third button from the right in the bottom row.
timeout "${RF_SMOKE_SECONDS:-120}" xvfb-run -a bash -c '
  HOME=/home/u "$0" --root "$1" >/dev/null 2>&1 &
  program=$!
  window=$(xdotool search --sync --onlyvisible --name "Refloom 2025.3 Updater" | head -1)
  eval "$(xdotool getwindowgeometry --shell "$window")"
  xdotool mousemove --window "$window" $((WIDTH - 220)) $((HEIGHT - 18)) click 1
  wait "$program"' "$program" "$root"
status=$?
if [[ $status -ne 7 ]]; then
  echo "the window did not end as cancelled: exit status $status"
  exit 1
fi
grep -q "Updater: User Cancelled" "$root/home/u/Library/Logs/Refloom 2025 Update.log" || {
  echo "the log has no closing line"
  exit 1
}
echo "the window showed and Cancel ended it"
