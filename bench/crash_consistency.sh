#!/usr/bin/env bash
# Two checks of a run's crash consistency, larger than scripts/test runs them:
# - kills applyPatch with SIGKILL between two of its file-system calls, at points spread evenly over
#   a whole run (staging, commit, clean-up), and checks after each that the next run leaves exactly
#   the old tree before the journal says "committed" and exactly the new one after;
# - builds the disk states a power cut could leave at every moment of a run on a larger tree
#   (every subset of the unflushed operations up to 2^EXHAUSTIVE of them at one moment, past that
#   those leaving out or adding two), and checks the next run's recovery on each.
#   bench/crash_consistency.sh [TRIALS] [SCALE] [EXHAUSTIVE]   (defaults 500, 3, 16)
set -euo pipefail
cd "$(dirname "$0")/.."
trials=${1:-500}
scale=${2:-3}
exhaustive=${3:-16}
scripts/bootstrap
cmake --preset default >/dev/null
cmake --build --preset default --target applypatch_tests applyPatch makePatch rf_fs_call_shim
RF_CRASH_TRIALS=$trials build/default/tests/tools/applypatch_tests --gtest_filter='*Killed*' | grep -E 'runs killed|PASSED|FAILED'
RF_CRASH_SCALE=$scale RF_CRASH_EXHAUSTIVE=$exhaustive build/default/tests/tools/applypatch_tests --gtest_filter='*PowerCut*' |
  grep -E 'crash states|PASSED|FAILED'
