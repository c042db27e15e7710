#!/usr/bin/env python3
"""Makes the test data for bench/archive.sh. The same machine always gives the same data:
files are picked by sorted path and generated content depends only on the file's number.

  archive_data.py files DEST MB    copy real files from /usr into DEST (for the zip archive)
  archive_data.py bigfile FILE MB  one file of MB MiB made of real files laid end to end
  archive_data.py tree DEST COUNT  COUNT small generated files in nested folders
  archive_data.py bury GRAVEYARD FOLDER...
                                   move each FOLDER that exists into GRAVEYARD under a new name,
                                   then flush everything to disk (deletes nothing: see archive.sh)
"""
import os
import shutil
import sys
import tempfile

MIB = 1 << 20


def regular_files(top, keep):
    """Paths of regular files under `top` (links not followed) for which keep(size) holds, sorted."""
    found = []
    for folder, subfolders, names in os.walk(top):
        subfolders.sort()
        for name in names:
            path = os.path.join(folder, name)
            try:
                path.encode("utf-8")  # skips undecodable names, which the tools spell differently
            except UnicodeEncodeError:
                continue
            if "\n" in path or os.path.islink(path) or not os.path.isfile(path):
                continue
            size = os.path.getsize(path)
            if keep(size):
                found.append((path, size))
    return sorted(found)


def take(files, budget):
    """The first files, in order, whose sizes add up to at most `budget` bytes."""
    chosen, total = [], 0
    for path, size in files:
        if total + size > budget:
            continue
        chosen.append(path)
        total += size
    return chosen


def copy_files(dest, megabytes):
    # An installer's payload: a third in many small files (documentation, locales, data),
    # two thirds in a few large libraries.
    budget = megabytes * MIB
    small = take(regular_files("/usr/share", lambda size: size < 256 * 1024), budget // 3)
    large = take(regular_files("/usr/lib", lambda size: size >= 4 * MIB), budget - budget // 3)
    for source in small + large:
        target = os.path.join(dest, source.lstrip("/"))
        os.makedirs(os.path.dirname(target), exist_ok=True)
        shutil.copy2(source, target)
    print(f"{len(small)} small and {len(large)} large files")


def big_file(target, megabytes):
    sources = [path for path, _ in regular_files("/usr/lib", lambda size: size >= MIB)]
    left = megabytes * MIB
    with open(target, "wb") as out:
        while left > 0:
            for path in sources:
                with open(path, "rb") as source:
                    chunk = source.read(min(left, 64 * MIB))
                    while chunk and left > 0:
                        out.write(chunk)
                        left -= len(chunk)
                        chunk = source.read(min(left, 64 * MIB))
                if left <= 0:
                    break


def tree(dest, count):
    # 100 folders of 10 folders of count/1000 files: a deep-ish tree like an installed product.
    per_leaf = max(1, count // 1000)
    number = 0
    for top in range(100):
        for sub in range(10):
            folder = os.path.join(dest, f"d{top:02}", f"s{sub}")
            os.makedirs(folder, exist_ok=True)
            for _ in range(per_leaf):
                if number == count:
                    return
                size = (number * 2654435761) % 4096  # 0 to 4095 bytes, spread evenly
                with open(os.path.join(folder, f"f{number:06}.dat"), "wb") as out:
                    out.write(bytes([number % 251]) * size)
                number += 1


def bury(graveyard, folders):
    os.makedirs(graveyard, exist_ok=True)
    for folder in folders:
        if os.path.exists(folder):
            os.rename(folder, tempfile.mkdtemp(dir=graveyard))
    os.sync()


if __name__ == "__main__":
    if len(sys.argv) >= 3 and sys.argv[1] == "bury":
        sys.exit(bury(sys.argv[2], sys.argv[3:]))
    if len(sys.argv) != 4 or sys.argv[1] not in ("files", "bigfile", "tree"):
        sys.exit(__doc__)
    command, where, amount = sys.argv[1], sys.argv[2], int(sys.argv[3])
    {"files": copy_files, "bigfile": big_file, "tree": tree}[command](where, amount)
