#!/usr/bin/env bash
# What administrator rights cost through the privileged helper: COUNT chmod requests over one
# helper session (every path resolved and pinned, the tool run on the pinned descriptors)
# against COUNT plain runs of /bin/chmod, the least anything could do, and COUNT runs through
# "sudo -n", as a script with administrator rights would. Needs root (the helper
# then runs without elevation) and hyperfine (scripts/bootstrap --bench).
#   bench/privileged.sh [COUNT]
set -euo pipefail
cd "$(dirname "$0")/.."
count=${1:-1000}
[[ $(id -u) -eq 0 ]] || { echo "bench/privileged.sh: run as root" >&2; exit 1; }
scripts/bootstrap --bench
cmake --preset default >/dev/null && cmake --build --preset default --target rf_helper_bench rf-privileged-helper >/dev/null
build=$PWD/build/default
root=$(mktemp -d /tmp/rf-helper-bench.XXXXXX)
trap 'rm -rf "$root"' EXIT
mkdir -p "$root/Library/Spotlight" "$root/home"
touch "$root/Library/Spotlight/target"
hyperfine --warmup 2 --runs 10 \
  -n "helper: $count chmod requests" "$build/bench/rf_helper_bench helper '$build/Refloom 2025 Updater.app/Contents/MacOS/rf-privileged-helper' $root $count" \
  -n "direct: $count runs of /bin/chmod" "$build/bench/rf_helper_bench direct $root $count" \
  -n "sudo: $count runs of sudo -n /bin/chmod" "$build/bench/rf_helper_bench sudo $root $count"
