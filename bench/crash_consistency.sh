#!/usr/bin/env bash
# Kills applyPatch with SIGKILL at random moments of a run, many times over, and checks after
# each that the next run leaves exactly the old tree or exactly the new one.
#   bench/crash_consistency.sh [TRIALS]   (default 200; scripts/test runs a handful)
set -euo pipefail
cd "$(dirname "$0")/.."
trials=${1:-200}
scripts/bootstrap
cmake --preset default >/dev/null
cmake --build --preset default --target applypatch_tests applyPatch makePatch
RF_CRASH_TRIALS=$trials build/default/tests/tools/applypatch_tests --gtest_filter='*Killed*' | grep -E 'runs killed|PASSED|FAILED'
