#!/usr/bin/env python3
"""Prints bench/archive.sh's results as one markdown table.

  archive_report.py RESULTS   the folder archive.sh wrote: CASE.json from hyperfine (ours first,
                              the reference second), CASE.amount ("NUMBER UNIT" of work done per
                              run) and CASE.ours.rss / CASE.ref.rss (peak memory in KiB)
"""
import json
import os
import sys

# case, what throughput counts, lowest acceptable speed of ours relative to the reference
CASES = [
    ("extract", "zip extraction", 0.90, "≥ 0.90x unzip"),
    ("crc", "CRC-32 of one file", 0.80, "≥ 0.80x raw read"),
    ("size", "folder size", 1 / 1.5, "time ≤ 1.5x du"),
]


def seconds(text):
    return f"{text:.3f} s"


def rate(amount, unit, time):
    per_second = amount / time
    if unit == "bytes":
        return f"{per_second / 1e6:,.0f} MB/s"
    return f"{per_second / 1e3:,.0f} k{unit}/s"


def rss(path):
    with open(path) as source:
        return f"{int(source.read().split()[-1]) / 1024:,.1f} MiB"


def main(results):
    header = ["case", "ours: time", "throughput", "peak RSS",
              "reference", "time", "throughput", "peak RSS",
              "speed vs ref", "target", "met"]
    rows = []
    for case, title, target, target_text in CASES:
        path = os.path.join(results, case)
        if not os.path.exists(path + ".json"):
            continue
        with open(path + ".json") as source:
            ours, ref = json.load(source)["results"]
        with open(path + ".amount") as source:
            amount, unit = source.read().split()
            amount = float(amount)
        ratio = ref["median"] / ours["median"]
        rows.append([
            title,
            seconds(ours["median"]), rate(amount, unit, ours["median"]), rss(path + ".ours.rss"),
            f"`{ref['command'].split()[0]}`",
            seconds(ref["median"]), rate(amount, unit, ref["median"]), rss(path + ".ref.rss"),
            f"{ratio:.2f}x", target_text, "yes" if ratio >= target else "**no**",
        ])
    widths = [max(len(row[i]) for row in [header] + rows) for i in range(len(header))]
    def line(cells):
        return "| " + " | ".join(cell.ljust(width) for cell, width in zip(cells, widths)) + " |"
    print(line(header))
    print("|" + "|".join("-" * (width + 2) for width in widths) + "|")
    for row in rows:
        print(line(row))
    print("\nTimes are hyperfine medians; speed vs ref is the reference's time over ours "
          "(above 1 means ours is faster).")


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    main(sys.argv[1])
