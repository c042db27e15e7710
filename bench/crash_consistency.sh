#!/usr/bin/env bash
# Kills applyPatch with SIGKILL between two of its file-system calls, at points spread evenly over
# a whole run (staging, commit, clean-up), many times over, and checks after each that the next run
# leaves exactly the old tree before the journal says "committed" and exactly the new one after.
#   bench/crash_consistency.sh [TRIALS]   (default 500; scripts/test runs a handful)
set -euo pipefail
cd "$(dirname "$0")/.."
trials=${1:-500}
scripts/bootstrap
cmake --preset default >/dev/null
cmake --build --preset default --target applypatch_tests applyPatch makePatch
RF_CRASH_TRIALS=$trials build/default/tests/tools/applypatch_tests --gtest_filter='*Killed*' | grep -E 'runs killed|PASSED|FAILED'
