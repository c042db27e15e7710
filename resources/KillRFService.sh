#!/bin/sh
# Ends every running instance of the Services helper, so that its files can be replaced or
# removed. A process is the helper when its executable lies inside an "RFService.app" bundle
# (a copy whose files were already replaced still counts); one that merely has the same name
# elsewhere is left alone. Processes this user may not see or end are passed over. Always exits
# 0: a helper that is not running does not stop an install.

helpers() {
  for link in /proc/[0-9]*/exe; do
    target=$(readlink "$link" 2>/dev/null) || continue
    case $target in
      */RFService.app/*)
        pid=${link#/proc/}
        echo "${pid%/exe}"
        ;;
    esac
  done
}

pids=$(helpers)
[ -n "$pids" ] || exit 0
# shellcheck disable=SC2086 # one word per process id
kill -TERM $pids 2>/dev/null
# A few seconds to quit on their own, then the ones still there are ended outright.
tries=0
while pids=$(helpers) && [ -n "$pids" ]; do
  if [ "$tries" -ge 5 ]; then
    # shellcheck disable=SC2086
    kill -KILL $pids 2>/dev/null
    break
  fi
  sleep 1
  tries=$((tries + 1))
done
exit 0
