#!/usr/bin/env bash
# Builds the disk states a power cut could leave at every moment of a run on a larger tree than
# scripts/test uses (every subset of the unflushed operations up to 2^EXHAUSTIVE of them at one
# moment, past that those leaving out or adding one or two), and checks the next run's recovery
# on each: exactly the old tree, or the new one once "committed" is on the disk.
#   bench/crash_consistency.sh [SCALE] [EXHAUSTIVE]   (defaults 3, 16)
set -euo pipefail
cd "$(dirname "$0")/.."
scale=${1:-3}
exhaustive=${2:-16}
scripts/bootstrap
cmake --preset default >/dev/null
cmake --build --preset default --target applypatch_tests applyPatch makePatch rf_fs_call_shim
RF_CRASH_SCALE=$scale RF_CRASH_EXHAUSTIVE=$exhaustive build/default/tests/tools/applypatch_tests --gtest_filter='*PowerCut*' |
  grep -E 'crash states|PASSED|FAILED'
