#!/usr/bin/env python3
"""Helpers for bench/patch.sh: the cases, fresh copies, checks, and the reference delta tools.

  patch_data.py pick OLD NEW             print the largest file whose content differs between the
                                         two trees (relative path; the case of a single file)
  patch_data.py info OLD NEW OUT.json    sizes of the two trees and how many files changed
  patch_data.py fresh SOURCE DEST GRAVEYARD [WARM...]
                                         move DEST (if there) into GRAVEYARD, copy SOURCE to DEST
                                         with cp -a, flush everything to disk, then read DEST and
                                         each WARM file or tree so that the page cache holds them
  patch_data.py bury GRAVEYARD DEST [WARM...]
                                         the same without the copy: DEST is then free
  patch_data.py warm PATH...             read each file or tree so that the page cache holds it
  patch_data.py same EXPECTED FOUND      exit 1, naming the first difference, unless the trees
                                         hold the same entries: kind, permission bits, link
                                         target, file content and file modification time
  patch_data.py reference TOOL OLD NEW CACHE RUNS OUT.json
                                         make and apply a TOOL (bsdiff, xdelta3, zstd) patch for
                                         every file of NEW that is new or whose content changed,
                                         check each result against NEW and write the sums

The reference tools have no folder mode, so a tree's figure for them is the sum over its files:
a changed file is patched from its old version, a new file from nothing (for bsdiff, which cannot
read an empty file, from a file of one zero byte). Unchanged files, removals, links and modes
cost them nothing. Each file pair's figures are kept in CACHE under the two contents' hashes,
so a file seen in both cases of a pair, or in an earlier run, is made only once; delete CACHE
to measure again.
"""
import hashlib
import json
import os
import shutil
import statistics
import stat
import subprocess
import sys
import tempfile
import time

ONE_BYTE = b"\0"


def files_of(top):
    """{relative path: lstat} of everything under `top`."""
    entries = {}
    for folder, subfolders, names in os.walk(top):
        for name in subfolders + names:
            path = os.path.join(folder, name)
            entries[os.path.relpath(path, top)] = os.lstat(path)
    return entries


def regular(info):
    return stat.S_ISREG(info.st_mode)


def digest(path):
    hasher = hashlib.sha256()
    with open(path, "rb") as source:
        while block := source.read(1 << 20):
            hasher.update(block)
    return hasher.hexdigest()


def changed_files(old, new):
    """(relative path, old path or None) of each regular file of `new` that is new or changed."""
    old_entries, new_entries = files_of(old), files_of(new)
    found = []
    for path, info in sorted(new_entries.items()):
        if not regular(info):
            continue
        before = old_entries.get(path)
        if before is not None and regular(before):
            if before.st_size == info.st_size and digest(os.path.join(old, path)) == digest(os.path.join(new, path)):
                continue
            found.append((path, os.path.join(old, path)))
        else:
            found.append((path, None))
    return found


def pick(old, new):
    candidates = [(os.path.getsize(os.path.join(new, path)), path)
                  for path, before in changed_files(old, new) if before is not None]
    if not candidates:
        sys.exit("no file changed between the two trees")
    print(max(candidates)[1])


def info(old, new, out):
    old_entries, new_entries = files_of(old), files_of(new)
    changed = changed_files(old, new)
    sizes = [entry.st_size for entry in list(old_entries.values()) + list(new_entries.values()) if regular(entry)]
    summary = {
        "old_bytes": sum(entry.st_size for entry in old_entries.values() if regular(entry)),
        "new_bytes": sum(entry.st_size for entry in new_entries.values() if regular(entry)),
        "old_files": sum(1 for entry in old_entries.values() if regular(entry)),
        "new_files": sum(1 for entry in new_entries.values() if regular(entry)),
        "changed_files": sum(1 for _, before in changed if before is not None),
        "added_files": sum(1 for _, before in changed if before is None),
        "removed_files": sum(1 for path, entry in old_entries.items()
                             if regular(entry) and path not in new_entries),
        "largest_file": max(sizes),
    }
    with open(out, "w") as sink:
        json.dump(summary, sink, indent=1)


def warm(paths):
    """Reads every regular file under `paths` (files or trees)."""
    for top in paths:
        tops = [top] if os.path.isfile(top) else [os.path.join(folder, name) for folder, _, names in os.walk(top)
                                                   for name in names]
        for path in tops:
            if os.path.isfile(path) and not os.path.islink(path):
                with open(path, "rb") as source:
                    while source.read(1 << 20):
                        pass


def bury(graveyard, dest, *warm_paths):
    """Moves `dest` out of the way without deleting it (see patch.sh for why), flushes, and
    reads `warm_paths` into the page cache."""
    os.makedirs(graveyard, exist_ok=True)
    if os.path.lexists(dest):
        os.rename(dest, tempfile.mkdtemp(dir=graveyard))
    os.sync()
    warm(warm_paths)


def fresh(source, dest, graveyard, *warm_paths):
    bury(graveyard, dest)
    subprocess.run(["cp", "-a", source, dest], check=True)
    os.sync()
    warm((dest,) + warm_paths)


def same(expected, found):
    want, have = files_of(expected), files_of(found)
    for path in sorted(set(want) | set(have)):
        if path not in have or path not in want:
            return f"{path}: only in {expected if path in want else found}"
        a, b = want[path], have[path]
        if stat.S_IFMT(a.st_mode) != stat.S_IFMT(b.st_mode):
            return f"{path}: another kind"
        if stat.S_ISLNK(a.st_mode):
            if os.readlink(os.path.join(expected, path)) != os.readlink(os.path.join(found, path)):
                return f"{path}: another link target"
            continue
        if stat.S_IMODE(a.st_mode) != stat.S_IMODE(b.st_mode):
            return f"{path}: mode {stat.S_IMODE(b.st_mode):o}, expected {stat.S_IMODE(a.st_mode):o}"
        if regular(a):
            if a.st_mtime_ns != b.st_mtime_ns:
                return f"{path}: another modification time"
            if a.st_size != b.st_size or digest(os.path.join(expected, path)) != digest(os.path.join(found, path)):
                return f"{path}: another content"
    return None


def run(command):
    """Wall seconds and peak resident KiB of one run; raises when it fails."""
    start = time.perf_counter()
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    error = process.stderr.read()
    _, status, usage = os.wait4(process.pid, 0)
    seconds = time.perf_counter() - start
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        raise RuntimeError(f"{' '.join(command)} exited with {process.returncode}: {error.decode(errors='replace')}")
    return seconds, usage.ru_maxrss


def window(path):
    """xdelta3's source window (-B): the whole old file, as a power of two, 64 MiB to 2 GiB."""
    size = 64 << 20
    while size < os.path.getsize(path) and size < 1 << 31:
        size *= 2
    return str(size)


def commands(tool, old, new, patch, out):
    """The (make, apply) command lines of `tool`; `old` is None for a new file. xdelta3 gets -D
    and -R: by default it unpacks gzip files before diffing and packs them again afterwards,
    which does not give back the same bytes."""
    if tool == "bsdiff":
        return ["bsdiff", old, new, patch], ["bspatch", old, out, patch]
    if tool == "xdelta3":
        if old is None:
            return (["xdelta3", "-9", "-S", "djw", "-D", "-e", "-f", new, patch],
                    ["xdelta3", "-d", "-D", "-R", "-f", patch, out])
        size = window(old)
        return (["xdelta3", "-9", "-S", "djw", "-D", "-e", "-f", "-B", size, "-s", old, new, patch],
                ["xdelta3", "-d", "-D", "-R", "-f", "-B", size, "-s", old, patch, out])
    if tool == "zstd":
        if old is None:
            return (["zstd", "-q", "-f", "-19", "--long=31", new, "-o", patch],
                    ["zstd", "-q", "-f", "-d", "--long=31", patch, "-o", out])
        return (["zstd", "-q", "-f", "-19", "--long=31", f"--patch-from={old}", new, "-o", patch],
                ["zstd", "-q", "-f", "-d", "--long=31", f"--patch-from={old}", patch, "-o", out])
    raise SystemExit(f"unknown tool {tool}")


def measure_file(tool, old, new, scratch, runs):
    patch, out = os.path.join(scratch, "patch"), os.path.join(scratch, "out")
    if old is None and tool == "bsdiff":
        old = os.path.join(scratch, "one-byte")
        with open(old, "wb") as sink:
            sink.write(ONE_BYTE)
    make, apply = commands(tool, old, new, patch, out)
    make_s, make_kib = run(make)
    size = os.path.getsize(patch)
    times, peak = [], 0
    for _ in range(runs):
        if os.path.exists(out):
            os.remove(out)
        seconds, kib = run(apply)
        times.append(seconds)
        peak = max(peak, kib)
        if digest(out) != digest(new):
            raise RuntimeError(f"{tool}: {out} is not {new}")
    os.remove(out)
    os.remove(patch)
    return {"size": size, "make_s": make_s, "make_kib": make_kib,
            "apply_s": statistics.median(times), "apply_kib": peak}


def reference(tool, old, new, cache, runs, out):
    os.makedirs(cache, exist_ok=True)
    scratch = tempfile.mkdtemp(dir=cache)
    total = {"tool": tool, "files": 0, "size": 0, "make_s": 0.0, "make_kib": 0, "apply_s": 0.0, "apply_kib": 0,
             "cached": 0}
    try:
        for path, before in changed_files(old, new):
            after = os.path.join(new, path)
            key = f"{tool}-{digest(before) if before else 'none'}-{digest(after)}.json"
            entry = os.path.join(cache, key)
            if os.path.exists(entry):
                with open(entry) as source:
                    figures = json.load(source)
                total["cached"] += 1
            else:
                print(f"  {tool}: {path} ({os.path.getsize(after):,} bytes)", file=sys.stderr, flush=True)
                figures = measure_file(tool, before, after, scratch, runs)
                with open(entry + ".partial", "w") as sink:
                    json.dump(figures, sink)
                os.rename(entry + ".partial", entry)
            total["files"] += 1
            for name in ("size", "make_s", "apply_s"):
                total[name] += figures[name]
            for name in ("make_kib", "apply_kib"):
                total[name] = max(total[name], figures[name])
    finally:
        shutil.rmtree(scratch)
    with open(out, "w") as sink:
        json.dump(total, sink, indent=1)


if __name__ == "__main__":
    args = sys.argv[1:]
    if args[:1] == ["pick"] and len(args) == 3:
        pick(*args[1:])
    elif args[:1] == ["info"] and len(args) == 4:
        info(*args[1:])
    elif args[:1] == ["fresh"] and len(args) >= 4:
        fresh(*args[1:])
    elif args[:1] == ["warm"] and len(args) >= 2:
        warm(args[1:])
    elif args[:1] == ["bury"] and len(args) >= 3:
        bury(*args[1:])
    elif args[:1] == ["same"] and len(args) == 3:
        difference = same(*args[1:])
        if difference:
            sys.exit(f"trees differ: {difference}")
    elif args[:1] == ["reference"] and len(args) == 7:
        reference(args[1], args[2], args[3], args[4], int(args[5]), args[6])
    else:
        sys.exit(__doc__)
