#!/usr/bin/env python3
"""Prints bench/patch.sh's results as one markdown table.

  patch_report.py RESULTS   the folder patch.sh wrote, per case: CASE.case.json (package,
                            versions), CASE.info.json (tree sizes), CASE.ours.make ("wall user
                            system KiB" of makePatch), CASE.ours.size (bytes), CASE.apply.json
                            (hyperfine: ours, cp -a, cp -a + sync), CASE.ours.rss (KiB of one
                            apply) and CASE.TOOL.json for bsdiff, xdelta3 and zstd (per-file sums);
                            commit names the sources built
"""
import json
import os
import sys

TOOLS = ["bsdiff", "xdelta3", "zstd"]
MIB = 1 << 20
# Per case: the patch size to reach (bytes; None where none was set), and makePatch's time in the
# first release of the format on this machine, which the make time is to halve.
TARGETS = {
    "postgresql-file": (690e3, 5.1),
    "openjdk-file": (850e3, 25),
    "libjvm-file": (850e3, 15),
    "libreoffice-file": (2.30e6, 42),
    "postgresql-tree": (4.4e6, 15),
    "openjdk-tree": (3.2e6, 34),
    "libreoffice-tree": (2.45e6, 47),
    "firefox-file": (None, 269),
    "firefox-tree": (58e6, 282),
}


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

    target_size, first_make = TARGETS.get(meta["case"], (None, None))
    cells.append(verdict(ours_size <= target_size, f"target {megabytes(target_size)}") if target_size else "—")
    cells.append(verdict(ours_make <= first_make / 2, f"{first_make / ours_make:.1f}x faster") if first_make else "—")
    if durable_copy:
        cells.append(verdict(ours_apply <= 1.2 * durable_copy, f"{ours_apply / durable_copy:.2f}x"))
    else:
        cells.append("—")
    # Applying streams every file, so the bound no longer grows with the largest one.
    cells.append(verdict(ours_kib <= 32 * 1024, mebibytes(ours_kib)))
    return cells


def main(results):
    header = ["case", "old → new", "patch: ours", "bsdiff", "xdelta3", "zstd",
              "make: ours", "bsdiff", "xdelta3", "zstd",
              "apply: ours", "bspatch", "xdelta3 -d", "zstd -d", "cp -a new", "cp -a + sync",
              "apply peak RSS: ours",
              "(i) size ≤ target", "(ii) make ≤ half the first release's", "(iii) apply ≤ 1.2x cp -a + sync",
              "(iv) apply RSS ≤ 32 MiB"]
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
    print("\nMB is 10^6 bytes. Ours: one make (wall time, CPU time of both cores in brackets), apply "
          "the hyperfine median from a fresh copy of the old tree. bsdiff, xdelta3 and zstd: one make, "
          "apply the median, and for a tree the sum over its new and changed files (they have no "
          "folder mode). Peak RSS from one apply.")


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    main(sys.argv[1])
