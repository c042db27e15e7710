#!/usr/bin/env bash
# Times the patch tool (makePatch, applyPatch) on real updates of Debian packages against bsdiff,
# xdelta3 and zstd --patch-from, and its apply against copying the new tree with cp -a; prints one
# table (docs/performance.md explains the cases and keeps the latest figures).
#   bench/patch.sh
# Environment:
#   RF_BENCH_DIR    folder for data and results (default bench/out); the packages, the unpacked
#                   trees and the reference tools' figures found there are reused
#   RF_BENCH_RUNS   timed applies per command (default 3, after one warm-up run); makes run once
#   RF_BENCH_CASES  pairs or cases to run, separated by commas or spaces (default all):
#                   postgresql, libreoffice, openjdk, libjvm, firefox; NAME-file or NAME-tree for
#                   one case
#   RF_BENCH_TOOLS  the reference tools to run (default: bsdiff xdelta3 zstd); bsdiff alone takes
#                   over 20 minutes on the firefox pair
#   RF_BENCH_BASELINE  a commit whose makePatch is built and timed right after ours on each case,
#                   so that "no make slower" is judged within one run, not against figures from
#                   another day (default: none; the second version is 6ac89f0)
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
work=${RF_BENCH_DIR:-$root/bench/out}
runs=${RF_BENCH_RUNS:-3}
selected=${RF_BENCH_CASES:-postgresql libreoffice openjdk libjvm firefox}

# name, package, old version, new version: security updates of Debian 12, both versions in its
# archive while they are current. A pair no longer there falls back to the oldest and newest
# versions apt-cache madison lists (the table shows the versions used). The file case takes the
# largest changed file; a fifth field names another, and such a pair has no tree case (its tree
# is another pair's).
pairs=(
  "postgresql postgresql-15 15.18-0+deb12u1 15.20-0+deb12u1"
  "libreoffice libreoffice-core 4:7.4.7-1+deb12u13 4:7.4.7-1+deb12u14"
  "openjdk openjdk-17-jre-headless 17.0.19+10-1~deb12u2 17.0.21.1+2-1~deb12u1"
  "libjvm openjdk-17-jre-headless 17.0.19+10-1~deb12u2 17.0.21.1+2-1~deb12u1 usr/lib/jvm/java-17-openjdk-amd64/lib/server/libjvm.so"
  "firefox firefox-esr 140.12.0esr-1~deb12u1 153.7.0esr-1~deb12u1"
)
read -r -a reference_tools <<<"${RF_BENCH_TOOLS-bsdiff xdelta3 zstd}"

step() { printf '\n== %s\n' "$*" >&2; }
quote() { printf '%q' "$1"; }
helper() { python3 "$root/bench/patch_data.py" "$@"; }
# Deletes folder trees and notes when (see the apply timing below).
remove_trees() {
  rm -rf "$@"
  date +%s >"$work/.freed"
}
wanted() {   # wanted NAME KIND: is the case selected?
  local word
  for word in ${selected//,/ }; do
    [[ $word == "$1" || $word == "$1-$2" ]] && return 0
  done
  return 1
}

step "tools and build"
cd "$root"
scripts/bootstrap --bench
missing=()
for package in bsdiff xdelta3 zstd; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done
if [[ ${#missing[@]} -gt 0 ]]; then
  sudo=()
  [[ $(id -u) -ne 0 ]] && sudo=(sudo)
  DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
cmake --preset release -DRF_BUILD_BENCH=ON >/dev/null
cmake --build --preset release --target makePatch applyPatch -- -j2
resources="$root/build/release/Refloom 2025 Updater.app/Contents/Resources"

mkdir -p "$work/patch"
work=$(cd "$work" && pwd)
base=$work/patch
results=$base/results
graveyard=$base/graveyard
rm -rf "$results"
mkdir -p "$results" "$base/tools" "$base/run"

# applyPatch takes its public key from beside itself, so it runs from a copy with the bench key.
tools=$base/tools
cp "$resources/makePatch" "$resources/applyPatch" "$tools/"
[[ -f $tools/bench.key ]] || "$tools/makePatch" --genkey "$tools/bench"
cp "$tools/bench.pub" "$tools/applyPatch.pub"
# The baseline's makePatch, built once per commit from its own sources.
baseline=${RF_BENCH_BASELINE:-}
baseline_tool=
if [[ -n $baseline ]]; then
  baseline=$(git -C "$root" rev-parse --short "$baseline^{commit}")
  baseline_tool=$base/baseline/$baseline/makePatch
  if [[ ! -x $baseline_tool ]]; then
    step "building makePatch at $baseline"
    rm -rf "$base/baseline/$baseline"
    mkdir -p "$base/baseline/$baseline/src"
    git -C "$root" archive "$baseline" | tar -x -C "$base/baseline/$baseline/src"
    (cd "$base/baseline/$baseline/src" && cmake --preset release >/dev/null &&
      cmake --build --preset release --target makePatch -- -j2 >/dev/null)
    cp "$base/baseline/$baseline/src/build/release/Refloom 2025 Updater.app/Contents/Resources/makePatch" "$baseline_tool"
    rm -rf "$base/baseline/$baseline/src"
  fi
  echo "$baseline" >"$results/baseline"
fi

# Which sources the figures are for: the commit, and whether the patch tool differed from it.
if commit=$(git -C "$root" rev-parse --short HEAD 2>/dev/null); then
  git -C "$root" diff --quiet HEAD -- tools/applypatch || commit+=" with local changes to tools/applypatch"
  echo "$commit" >"$results/commit"
fi

# The packages are fetched and unpacked once; data/NAME/.done says a pair is complete.
prepare_pair() {
  local name=$1 package=$2 old_version=$3 new_version=$4 chosen=${5:-}
  local data=$base/data/$name debs=$base/debs/$name
  [[ -f $data/.done ]] && return 0
  step "$name: fetching and unpacking $package"
  local side version
  for side in old new; do
    [[ $side == old ]] && version=$old_version || version=$new_version
    if ! compgen -G "$debs/$side/*.deb" >/dev/null; then
      mkdir -p "$debs/$side"
      if ! (cd "$debs/$side" && apt-get download -q "$package=$version"); then
        local listed
        listed=$(apt-cache madison "$package" | awk '{ print $3 }' | uniq)
        [[ $side == old ]] && version=$(tail -n 1 <<<"$listed") || version=$(head -n 1 <<<"$listed")
        echo "$package $([[ $side == old ]] && echo "$old_version" || echo "$new_version") is gone;" \
          "taking $version" >&2
        (cd "$debs/$side" && apt-get download -q "$package=$version")
      fi
    fi
  done
  remove_trees "$data"
  mkdir -p "$data"
  for side in old new; do
    dpkg-deb -x "$debs/$side"/*.deb "$data/$side"
  done
  local file
  file=${chosen:-$(helper pick "$data/old" "$data/new")}
  for side in old new; do
    mkdir -p "$data/file/$side"
    ln "$data/$side/$file" "$data/file/$side/"
  done
  printf '%s\n' "$file" >"$data/file.path"
  dpkg-deb -f "$debs/old"/*.deb Version >"$data/old.version"
  dpkg-deb -f "$debs/new"/*.deb Version >"$data/new.version"
  touch "$data/.done"
}

# Everything of one case: ours (make once, apply timed), then the reference tools.
#
# Between applies the previous result is moved aside (a rename, then sync), never deleted, and a
# case's applies wait until a minute has passed since the last mass deletion: this machine's ext4
# (no journal) avoids reusing inodes freed in the last 60 seconds, and creating files then scans
# past all of them (see the archive benchmark). The copy of the old tree each apply starts from
# is made and flushed in hyperfine's --prepare step, so it is neither timed nor left for the
# apply's own flush to write. The same step reads what the timed command will read (the old
# copy and the patch, or the new tree) so that every command starts from the page cache: this
# machine drops cached files soon, and a cp -a of the 129 MB file that found it gone from the
# cache took 0.34 s instead of 0.04 s.
run_case() {
  local name=$1 package=$2 kind=$3
  local data=$base/data/$name case=$name-$kind
  local old new
  if [[ $kind == file ]]; then
    old=$data/file/old new=$data/file/new
  else
    old=$data/old new=$data/new
  fi
  local run=$base/run/$case
  mkdir -p "$run"
  printf '{"case": "%s", "package": "%s", "kind": "%s", "file": "%s", "old_version": "%s", "new_version": "%s"}\n' \
    "$case" "$package" "$kind" "$(cat "$data/file.path")" "$(cat "$data/old.version")" \
    "$(cat "$data/new.version")" >"$results/$case.case.json"
  helper info "$old" "$new" "$results/$case.info.json"

  step "$case: makePatch"
  local patch=$run/ours.rfp
  rm -f "$patch"
  helper warm "$old" "$new"  # from the page cache, as the applies are
  /usr/bin/time -f '%e %U %S %M' -o "$results/$case.ours.make" \
    "$tools/makePatch" "$old" "$new" -o "$patch" --key "$tools/bench.key" 2>"$results/$case.ours.log"
  cat "$results/$case.ours.log" >&2
  stat -c %s "$patch" >"$results/$case.ours.size"
  if [[ -n $baseline_tool ]]; then
    step "$case: makePatch at $baseline"
    helper warm "$old" "$new"
    /usr/bin/time -f '%e %U %S %M' -o "$results/$case.baseline.make" \
      "$baseline_tool" "$old" "$new" -o "$run/baseline.rfp" --key "$tools/bench.key" 2>/dev/null
    stat -c %s "$run/baseline.rfp" >"$results/$case.baseline.size"
    rm -f "$run/baseline.rfp"
  fi

  local wait_s=$(($(cat "$work/.freed" 2>/dev/null || echo 0) + 65 - $(date +%s)))
  if ((wait_s > 0)); then
    step "waiting ${wait_s} s: files were deleted less than a minute ago"
    sleep "$wait_s"
  fi
  step "$case: applyPatch against cp -a of the new tree (fresh copy of the old tree each run)"
  local helper_cmd
  helper_cmd="python3 $(quote "$root/bench/patch_data.py")"
  hyperfine --style basic -N --warmup 1 --runs "$runs" --export-json "$results/$case.apply.json" \
    --prepare "$helper_cmd fresh $(quote "$old") $(quote "$run/ours") $(quote "$graveyard") $(quote "$patch")" \
    -n ours "$(quote "$tools/applyPatch") -d $(quote "$run/ours") -i $(quote "$patch")" \
    --prepare "$helper_cmd bury $(quote "$graveyard") $(quote "$run/copy") $(quote "$new")" \
    -n "cp -a" "cp -a $(quote "$new") $(quote "$run/copy")" \
    --prepare "$helper_cmd bury $(quote "$graveyard") $(quote "$run/copy") $(quote "$new")" \
    -n "cp -a + sync" "sh -c $(quote "cp -a $(quote "$new") $(quote "$run/copy") && sync")"
  helper same "$new" "$run/ours"
  helper same "$new" "$run/copy"
  helper fresh "$old" "$run/ours" "$graveyard" "$patch"
  /usr/bin/time -f %M -o "$results/$case.ours.rss" "$tools/applyPatch" -d "$run/ours" -i "$patch"
  helper same "$new" "$run/ours"
  if compgen -G "$run/.ours.rfpatch-*" >/dev/null; then
    echo "applyPatch left $(compgen -G "$run/.ours.rfpatch-*") behind" >&2
    exit 1
  fi
  remove_trees "$graveyard" "$run/ours" "$run/copy"

  local tool
  for tool in ${reference_tools[@]+"${reference_tools[@]}"}; do
    step "$case: $tool (per file; figures kept in patch/cache)"
    helper reference "$tool" "$old" "$new" "$base/cache" "$runs" "$results/$case.$tool.json"
  done
}

for pair in "${pairs[@]}"; do
  read -r name package old_version new_version chosen <<<"$pair"
  wanted "$name" file || wanted "$name" tree || continue
  prepare_pair "$name" "$package" "$old_version" "$new_version" "$chosen"
done
for pair in "${pairs[@]}"; do
  read -r name package old_version new_version chosen <<<"$pair"
  for kind in file tree; do
    [[ -n $chosen && $kind == tree ]] && continue
    wanted "$name" "$kind" && run_case "$name" "$package" "$kind"
  done
done

step "results ($runs applies each, $(nproc) cores)"
python3 bench/patch_report.py "$results" | tee "$results/table.md"
