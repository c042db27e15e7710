#!/usr/bin/env python3
"""Prints bench/patch.sh's results as one markdown table.

  patch_report.py RESULTS   the folder patch.sh wrote, per case: CASE.case.json (package,
                            versions), CASE.info.json (tree sizes), CASE.ours.make ("wall user
                            system KiB" of makePatch), CASE.ours.size (bytes), CASE.apply.json
                            (hyperfine: ours, cp -a, cp -a + sync), CASE.ours.rss (KiB of one
                            apply) and CASE.TOOL.json for bsdiff, xdelta3 and zstd (per-file sums);
                            commit names the sources built; with a baseline (its commit in
                            baseline), CASE.baseline.make and CASE.baseline.size
"""
import json
import os
import sys

TOOLS = ["bsdiff", "xdelta3", "zstd"]
MIB = 1 << 20
# Per case, the second version's figures on this machine (docs/performance.md): patch bytes, make
# seconds, apply seconds and apply peak MiB. The third is judged against them: a patch no more than
# 1% larger (small streams now favour zstd's faster decoding) and a make no slower; beside that the
# firefox tree's patch must come to 60 MB at most, and the JDK's modules image make in 8 s.
SECOND = {
    "postgresql-file": (654e3, 1.72, 0.114, 15),
    "libreoffice-file": (2.26e6, 15.7, 0.401, 21),
    "openjdk-file": (738e3, 17.5, 0.467, 15),
    "libjvm-file": (847e3, 5.06, 0.189, 17),
    "firefox-file": (48.2e6, 237, 4.9, 29),
    "postgresql-tree": (4.17e6, 8.18, 0.624, 20),
    "libreoffice-tree": (2.30e6, 19.6, 0.463, 22),
    "openjdk-tree": (3.28e6, 20.6, 0.692, 26),
    "firefox-tree": (62.2e6, 220, 5.34, 30),
}
SIZE_LIMIT = {"firefox-tree": 60e6}
MAKE_LIMIT = {"openjdk-file": 8.0}


def apply_limit(case):
    """How many times cp -a + sync an apply may take: a verified apply hashes about twice the bytes
    a copy moves, so single files get more room, and the firefox pair (a year of changes) most."""
    return 3.0 if case.startswith("firefox") else 2.5 if case.endswith("-file") else 1.5


def load(path):
    if not os.path.exists(path):
        return None
    with open(path) as source:
        return json.load(source) if path.endswith(".json") else source.read().split()


def megabytes(count):
    return f"{count / 1e6:,.2f} MB" if count < 10e6 else f"{count / 1e6:,.1f} MB"


def seconds(value):
    return "—" if value is None else f"{value:.3g} s" if value < 1000 else f"{value:,.0f} s"


def mebibytes(kib):
    return f"{kib / 1024:,.0f} MiB" if kib >= 10 * 1024 else f"{kib / 1024:,.1f} MiB"


def verdict(met, detail):
    return f"{'yes' if met else '**no**'} ({detail})"


def row(results, case):
    prefix = os.path.join(results, case)
    meta, info = load(prefix + ".case.json"), load(prefix + ".info.json")
    make, size = load(prefix + ".ours.make"), load(prefix + ".ours.size")
    apply, rss = load(prefix + ".apply.json"), load(prefix + ".ours.rss")
    refs = {tool: load(f"{prefix}.{tool}.json") for tool in TOOLS}
    baseline_make = load(prefix + ".baseline.make")
    if None in (meta, info, make, size, apply, rss):
        return None
    ours_size, ours_make, ours_kib = int(size[0]), float(make[0]), int(rss[-1])
    timed = {entry["command"]: entry["median"] for entry in apply["results"]}
    ours_apply, copy = timed["ours"], timed["cp -a"]

    what = "file" if meta["kind"] == "file" else "tree"
    sizes = f"{megabytes(info['old_bytes'])} → {megabytes(info['new_bytes'])}"
    if meta["kind"] == "tree":
        sizes += (f"; {info['new_files']:,} files: {info['changed_files']:,} changed, "
                  f"{info['added_files']:,} added, {info['removed_files']:,} removed")
    cells = [f"{meta['case'].split('-')[0]} {what}", sizes, megabytes(ours_size)]
    cells += [megabytes(refs[tool]["size"]) if refs[tool] else "—" for tool in TOOLS]
    cells.append(f"{seconds(ours_make)} (CPU {seconds(float(make[1]) + float(make[2]))})")
    cells += [seconds(refs[tool]["make_s"]) if refs[tool] else "—" for tool in TOOLS]
    cells.append(seconds(ours_apply))
    cells += [seconds(refs[tool]["apply_s"]) if refs[tool] else "—" for tool in TOOLS]
    cells += [seconds(copy), seconds(timed.get("cp -a + sync"))]
    durable_copy = timed.get("cp -a + sync")
    cells.append(mebibytes(ours_kib))

    second = SECOND.get(meta["case"])
    case = meta["case"]
    if second:
        cells.append(f"{megabytes(second[0])} · {seconds(second[1])} · {seconds(second[2])} · {second[3]} MiB")
        size_limit = SIZE_LIMIT.get(case, second[0] * 1.01)
        cells.append(verdict(ours_size <= size_limit, f"{ours_size / second[0]:.3f}x the second"
                             + (f", limit {megabytes(size_limit)}" if case in SIZE_LIMIT else "")))
        # A baseline made in the same run judges "no slower" better than figures from another day.
        against, which = (float(baseline_make[0]), f"the baseline's {seconds(float(baseline_make[0]))}") \
            if baseline_make else (second[1], "the second")
        make_limit = min(MAKE_LIMIT.get(case, against), against)
        cells.append(verdict(ours_make <= make_limit, f"{ours_make / against:.2f}x {which}"
                             + (f", limit {seconds(MAKE_LIMIT[case])}" if case in MAKE_LIMIT else "")))
    else:
        cells += ["—", "—", "—"]
    if durable_copy:
        limit = apply_limit(case)
        cells.append(verdict(ours_apply <= limit * durable_copy, f"{ours_apply / durable_copy:.2f}x, limit {limit}x"))
    else:
        cells.append("—")
    # Applying streams every file, so the bound does not grow with the largest one.
    cells.append(verdict(ours_kib <= 32 * 1024, mebibytes(ours_kib)))
    return cells


def main(results):
    header = ["case", "old → new", "patch: ours", "bsdiff", "xdelta3", "zstd",
              "make: ours", "bsdiff", "xdelta3", "zstd",
              "apply: ours", "bspatch", "xdelta3 -d", "zstd -d", "cp -a new", "cp -a + sync",
              "apply peak RSS: ours", "second version: size · make · apply · RSS",
              "(i) size", "(ii) make", "(iii) apply vs cp -a + sync", "(iv) apply RSS ≤ 32 MiB"]
    cases = sorted({name[:-len(".case.json")] for name in os.listdir(results) if name.endswith(".case.json")},
                   key=lambda case: (os.path.getmtime(os.path.join(results, case + ".case.json")), case))
    rows, notes = [], []
    for case in cases:
        cells = row(results, case)
        if cells:
            rows.append(cells)
            meta = load(os.path.join(results, case + ".case.json"))
            if meta["kind"] == "file":
                notes.append(f"- {meta['case'].split('-')[0]}: `{meta['package']}` {meta['old_version']} → "
                             f"{meta['new_version']}; file `{meta['file']}`")
    widths = [max(len(r[i]) for r in [header] + rows) for i in range(len(header))]

    def line(cells):
        return "| " + " | ".join(cell.ljust(width) for cell, width in zip(cells, widths)) + " |"
    print(line(header))
    print("|" + "|".join("-" * (width + 2) for width in widths) + "|")
    for cells in rows:
        print(line(cells))
    print("\n" + "\n".join(notes))
    commit = load(os.path.join(results, "commit"))
    if commit:
        print(f"\nBuilt from commit {' '.join(commit)}.")
    baseline = load(os.path.join(results, "baseline"))
    if baseline:
        print(f"\nThe make of each case is judged against makePatch at {baseline[0]}, timed right after ours.")
    print("\nMB is 10^6 bytes. Ours: one make (wall time, CPU time of both cores in brackets), apply "
          "the hyperfine median from a fresh copy of the old tree. bsdiff, xdelta3 and zstd: one make, "
          "apply the median, and for a tree the sum over its new and changed files (they have no "
          "folder mode). Peak RSS from one apply.")


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    main(sys.argv[1])
