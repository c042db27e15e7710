#!/usr/bin/env python3
"""Makes the test data for bench/app_lookup.sh and prints its results table.

  app_lookup_data.py tree DEST     a sandbox system root in DEST/root: 3,000 application bundles
                                   under /Applications, a few under the user's ~/Applications
                                   (home /Users/bench), and what the lookups must answer in
                                   DEST/expected-identifier.txt and DEST/expected-name.txt
  app_lookup_data.py report RESULTS
                                   bench/app_lookup.sh's results as one markdown table

The tree depends only on the fixed seed below: every machine gets the same one. The answers
are written down as the bundles are placed, not found by walking the tree afterwards, so that
they do not share a mistake with the code under test.
"""
import json
import os
import plistlib
import random
import sys

SEED = 20250117
HOME = "/Users/bench"          # must match kHome in app_lookup_bench.cpp
IDENTIFIER = "com.microsoft.Word"
NAME = "Microsoft Word.app"

APPS = 3000          # every .app under /Applications, nested ones included
NESTED = 240         # of those, inside another application's Contents
VENDORS = 60         # "Vendor NN" folders
VENDOR_APPS = 1000   # of the 3,000, inside vendor folders
PLUGINS = 160        # .bundle / .plugin folders in vendor "Plug-ins" folders
FRAMEWORKS = 20      # .framework folders in vendor "Frameworks" folders
PLAIN_FILES = 320    # loose files between the bundles
HOME_APPS = 12       # ~/Applications, besides the copy of Word there
SHARED = 20          # other identifiers given to two bundles each (old and new copies)

WORDS_A = ["Blue", "Quick", "Silent", "Bright", "North", "Paper", "Little", "Prime", "Clear",
           "Swift", "Open", "Deep", "Smart", "Grand", "Solid", "Rapid", "Pocket", "Simple",
           "Quiet", "Amber", "Cedar", "Copper", "Golden", "Hidden", "Iron", "Lunar", "Maple",
           "Night", "Ocean", "Pixel", "River", "Stone", "Sunny", "Velvet", "Wild", "Zen"]
WORDS_B = ["Ledger", "Sketch", "Notes", "Studio", "Mail", "Reader", "Writer", "Player",
           "Viewer", "Editor", "Tracker", "Planner", "Scanner", "Mixer", "Painter", "Browser",
           "Clock", "Calendar", "Console", "Finder", "Keeper", "Maker", "Manager", "Monitor",
           "Organizer", "Recorder", "Sync", "Terminal", "Timer", "Translator", "Vault", "Weather"]
WORDS_C = ["", "", "", "", " Pro", " Lite", " Plus", " 2", " 3", " X", " Classic", " Express"]
EXTENSIONS = ["txt", "rtf", "md", "csv", "json", "xml", "png", "jpg", "pdf", "html", "svg",
              "mp3", "wav", "mov", "zip", "log", "ics", "vcf", "epub", "tiff"]
WORD_TYPES = ["doc", "docx", "docm", "dot", "dotx", "dotm", "rtf", "txt", "odt", "xml", "htm",
              "html", "mht", "mhtml", "wps", "wpd", "pdf", "xps", "webarchive", "dic", "lic"]
PLAIN_NAMES = [".DS_Store", ".localized", "Read Me.rtf", "License.txt", "Uninstall.command",
               "Release Notes.pdf", "Install Log.txt", "Support.webloc", "Changes.html"]


class Tree:
    def __init__(self, dest):
        self.rng = random.Random(SEED)
        self.root = os.path.join(dest, "root")
        self.dest = dest
        self.apps = 0          # .app folders under /Applications
        self.nested = 0        # of those, inside another application
        self.placed = []       # their paths
        self.plist_bytes = 0
        self.used_names = set()
        self.identifier_of = {}
        self.expected_identifier = []
        self.expected_name = []

    # -- writing -------------------------------------------------------------------------

    def file(self, path, data):
        os.makedirs(os.path.dirname(self.root + path), exist_ok=True)
        with open(self.root + path, "wb") as out:
            out.write(data)

    def info_plist(self, path, info):
        # About one in seven bundles ships a binary property list, as real ones often do.
        binary = self.rng.random() < 0.15
        data = plistlib.dumps(info, fmt=plistlib.FMT_BINARY if binary else plistlib.FMT_XML,
                              sort_keys=True)
        self.plist_bytes += len(data)
        self.file(path, data)

    # -- content -------------------------------------------------------------------------

    def app_name(self):
        while True:
            name = (self.rng.choice(WORDS_A) + " " + self.rng.choice(WORDS_B)
                    + self.rng.choice(WORDS_C))
            if name not in self.used_names:
                self.used_names.add(name)
                return name
            # Past the unique combinations, number them.
            name += f" {self.rng.randrange(2, 100)}"
            if name not in self.used_names:
                self.used_names.add(name)
                return name

    def version(self):
        major = self.rng.choice([1, 1, 2, 2, 3, 4, 5, 6, 10, 12, 14, 16, 2023, 2024])
        return f"{major}.{self.rng.randrange(20)}.{self.rng.randrange(10)}"

    def document_types(self, extensions):
        return [{"CFBundleTypeName": f"{ext.upper()} document",
                 "CFBundleTypeRole": self.rng.choice(["Editor", "Viewer"]),
                 "CFBundleTypeExtensions": [ext],
                 "LSHandlerRank": "Alternate"} for ext in extensions]

    def info(self, name, identifier, version, package_type="APPL", document_types=None):
        info = {
            "CFBundleDevelopmentRegion": "en",
            "CFBundleExecutable": name,
            "CFBundleIdentifier": identifier,
            "CFBundleInfoDictionaryVersion": "6.0",
            "CFBundleName": name,
            "CFBundlePackageType": package_type,
            "CFBundleVersion": str(self.rng.randrange(1, 30000)),
            "LSMinimumSystemVersion": self.rng.choice(["10.13", "10.15", "11.0", "12.0"]),
            "NSHighResolutionCapable": True,
            "NSHumanReadableCopyright": f"Copyright {self.rng.randrange(2005, 2025)} the makers "
                                        f"of {name}. All rights reserved.",
        }
        if version is not None:
            info["CFBundleShortVersionString"] = version
        if document_types is None and self.rng.random() < 0.3:
            document_types = self.rng.sample(EXTENSIONS, self.rng.randrange(1, 6))
        if document_types:
            info["CFBundleDocumentTypes"] = self.document_types(document_types)
        return info

    def body(self, bundle, name, package_type="APPL"):
        """Executable and resources: small files, as in a real bundle but shrunk."""
        self.file(f"{bundle}/Contents/MacOS/{name}", self.rng.randbytes(self.rng.randrange(64, 2048)))
        self.file(f"{bundle}/Contents/PkgInfo", (package_type + "????").encode())
        resources = f"{bundle}/Contents/Resources"
        self.file(f"{resources}/AppIcon.icns", self.rng.randbytes(self.rng.randrange(256, 4096)))
        self.file(f"{resources}/en.lproj/InfoPlist.strings",
                  f'CFBundleName = "{name}";\n'.encode("utf-16"))
        if self.rng.random() < 0.5:
            self.file(f"{resources}/Assets.car", self.rng.randbytes(self.rng.randrange(512, 4096)))

    def application(self, bundle, identifier=None, version="", document_types=None, extra=None,
                    plist=True):
        """One .app at `bundle` (a path under the root). An empty version picks one at random,
        None leaves the key out."""
        name = os.path.basename(bundle)[:-len(".app")]
        if identifier is None:
            slug = "".join(ch for ch in name.lower() if ch.isalnum())
            identifier = f"com.vendor{self.rng.randrange(100):02}.{slug}"
        self.identifier_of[bundle] = identifier
        info = self.info(name, identifier, self.version() if version == "" else version,
                         document_types=document_types)
        info.update(extra or {})
        if plist:
            self.info_plist(bundle + "/Contents/Info.plist", info)
        self.body(bundle, name)
        if bundle.startswith("/Applications/"):
            self.apps += 1
            self.placed.append(bundle)
            if ".app/" in bundle:
                self.nested += 1

    def plugin(self, bundle, identifier=None):
        name = os.path.splitext(os.path.basename(bundle))[0]
        identifier = identifier or f"com.vendor{self.rng.randrange(100):02}.plugin.{name.lower().replace(' ', '')}"
        self.info_plist(bundle + "/Contents/Info.plist", self.info(name, identifier, self.version(), "BNDL", []))
        self.body(bundle, name, "BNDL")

    def framework(self, bundle):
        name = os.path.basename(bundle)[:-len(".framework")]
        inner = f"{bundle}/Versions/A"
        self.info_plist(f"{inner}/Resources/Info.plist",
                        self.info(name, f"com.vendor.framework.{name.lower()}", "1.0", "FMWK", []))
        self.file(f"{inner}/{name}", self.rng.randbytes(self.rng.randrange(512, 4096)))

    def plain(self, folder):
        """A loose file; False when the folder has one of that name already."""
        path = f"{folder}/{self.rng.choice(PLAIN_NAMES)}"
        if os.path.exists(self.root + path):
            return False
        self.file(path, self.rng.randbytes(self.rng.randrange(0, 1024)))
        return True

    # -- layout --------------------------------------------------------------------------

    def make(self):
        rng = self.rng

        # The bundles a lookup for IDENTIFIER must find, each with its own version, and the
        # ones it must not.
        def word(path, version, expected, name_expected, **options):
            document_types = WORD_TYPES[:rng.randrange(8, len(WORD_TYPES) + 1)]
            self.application(path, IDENTIFIER, version, document_types, **options)
            if expected:
                self.expected_identifier.append(path)
            if name_expected:
                self.expected_name.append(path)

        word("/Applications/Microsoft Word.app", "16.89.1", True, True)
        word("/Applications/Microsoft Office 2011/Microsoft Word.app", "14.7.7", True, True)
        word("/Applications/Archive/Office 2008/Microsoft Word.app", "12.3.6", True, True)
        word("/Applications/Microsoft Word 2016.app", "16.16.27", True, False)
        word("/Applications/Word Beta.app", "17.0b2", True, False)
        word(HOME + "/Applications/Microsoft Word.app", "16.78.3", True, False)
        # Inside another application: the system does not register these, nor do we.
        host = "/Applications/Microsoft Office Suite.app"
        self.application(host, "com.microsoft.office.suite", "16.90")
        word(f"{host}/Contents/Applications/Microsoft Word.app", "16.90", False, False)
        # Inside a plug-in, which the walk never enters either.
        bridge = "/Applications/Vendor 05/Plug-ins/Word Bridge.plugin"
        self.plugin(bridge)
        word(f"{bridge}/Contents/Resources/Microsoft Word.app", "16.50", False, False)
        # A plug-in bundle with the identifier is not an application.
        self.plugin("/Applications/Vendor 10/Plug-ins/Word Tools.bundle", IDENTIFIER)
        # Mentions of the identifier that are not it: these pass a quick search of the bytes.
        self.application("/Applications/Vendor 08/Word Helper.app", IDENTIFIER + ".Helper")
        self.application("/Applications/Vendor 09/Doc Sync.app",
                         extra={"HostBundleIdentifier": IDENTIFIER})
        # Named NAME without being a bundle with an Info.plist: a name lookup finds these too
        # (a folder always, a file of unknown version when the range reaches 255).
        self.application("/Applications/Broken/Microsoft Word.app", plist=False)
        self.expected_name.append("/Applications/Broken/Microsoft Word.app")
        self.file("/Applications/Shortcuts/Microsoft Word.app", b"book\0\0\0\0mark" + rng.randbytes(300))
        self.expected_name.append("/Applications/Shortcuts/Microsoft Word.app")
        self.used_names.update(["Microsoft Word", "Microsoft Word 2016", "Word Beta",
                                "Microsoft Office Suite", "Word Helper", "Doc Sync"])

        # Vendor folders: apps at the top of each, some in a subfolder, plug-ins and frameworks.
        placed_in_vendors = sum(1 for path in self.placed if path.startswith("/Applications/Vendor "))
        vendor_apps = []
        for _ in range(VENDOR_APPS - placed_in_vendors):
            vendor = f"/Applications/Vendor {rng.randrange(1, VENDORS + 1):02}"
            if rng.random() < 0.25:
                vendor += "/" + rng.choice(["Utilities", "Extras", "Tools", "Legacy"])
            vendor_apps.append(f"{vendor}/{self.app_name()}.app")
        for number in range(PLUGINS):
            vendor = f"/Applications/Vendor {rng.randrange(1, VENDORS + 1):02}"
            kind = rng.choice([".bundle", ".plugin"])
            self.plugin(f"{vendor}/Plug-ins/{rng.choice(WORDS_A)} {rng.choice(WORDS_B)} {number}{kind}")
        for number in range(FRAMEWORKS):
            vendor = f"/Applications/Vendor {rng.randrange(1, VENDORS + 1):02}"
            self.framework(f"{vendor}/Frameworks/{rng.choice(WORDS_B)}Kit{number}.framework")

        # Everything else at the top, and a Utilities folder as the system has. The count leaves
        # room for the old copies and the applications inside applications made below.
        nested_left = NESTED - self.nested
        top_count = APPS - self.apps - len(vendor_apps) - SHARED - nested_left
        top_apps = [f"/Applications/{'Utilities/' if rng.random() < 0.05 else ''}{self.app_name()}.app"
                    for _ in range(top_count)]
        ordinary = vendor_apps + top_apps
        for path in ordinary:
            self.application(path)

        # A few identifiers shared by two bundles: an old copy kept next to the new one.
        for path in rng.sample(ordinary, SHARED):
            name = os.path.basename(path)[:-len(".app")]
            self.application(f"/Applications/Archive/{name} (old).app", self.identifier_of[path])

        # Applications inside applications: helpers and login items in some top-level ones.
        hosts = [host] + rng.sample([path for path in top_apps if path.count("/") == 2], 120)
        for _ in range(nested_left):
            where = rng.choice(["Applications", "Library/LoginItems", "Helpers"])
            self.application(f"{rng.choice(hosts)}/Contents/{where}/{self.app_name()} Helper.app")
        assert self.apps == APPS and self.nested == NESTED, (self.apps, self.nested)

        # Loose files in the folders.
        folders = sorted({os.path.dirname(path) for path in ordinary})
        plain = 0
        while plain < PLAIN_FILES:
            plain += self.plain(rng.choice(folders))

        # The user's own applications folder, and the log folder the lookup writes to.
        for _ in range(HOME_APPS):
            self.application(f"{HOME}/Applications/{self.app_name()}.app")
        os.makedirs(self.root + HOME + "/Library/Logs", exist_ok=True)

        def write(name, paths):
            with open(os.path.join(self.dest, name), "w") as out:
                out.writelines(self.root + path + "\n" for path in sorted(paths))
        write("expected-identifier.txt", self.expected_identifier)
        write("expected-name.txt", self.expected_name)
        files = folders = 0
        for _, subfolders, names in os.walk(self.root):
            files += len(names)
            folders += len(subfolders)
        summary = {
            "apps": self.apps, "nested": self.nested, "plugins": PLUGINS, "frameworks": FRAMEWORKS,
            "home_apps": HOME_APPS + 1, "plain_files": PLAIN_FILES, "files": files,
            "folders": folders, "plist_bytes": self.plist_bytes,
            "identifier": IDENTIFIER, "name": NAME,
            "identifier_matches": len(self.expected_identifier),
            "name_matches": len(self.expected_name),
        }
        with open(os.path.join(self.dest, "summary.json"), "w") as out:
            json.dump(summary, out, indent=1)
        print(", ".join(f"{key} {value}" for key, value in summary.items()))


# -- report -------------------------------------------------------------------------------

# case, title, what the reference is, most time ours may take relative to the reference
CASES = [
    ("identifier", "by bundle identifier", 2.0),
    ("name", "by name", 2.0),
]


def report(results):
    def rss(path):
        with open(path) as source:
            return f"{int(source.read().split()[-1]) / 1024:,.1f} MiB"

    def ms(seconds):
        return f"{seconds * 1000:.1f} ms"

    header = ["lookup", "ours: time", "± σ", "peak RSS", "reference", "time", "± σ", "peak RSS",
              "time vs ref", "target", "met"]
    rows = []
    for case, title, limit in CASES:
        path = os.path.join(results, case)
        if not os.path.exists(path + ".json"):
            continue
        with open(path + ".json") as source:
            ours, ref = json.load(source)["results"]
        ratio = ours["median"] / ref["median"]
        rows.append([
            title, ms(ours["median"]), ms(ours["stddev"] or 0), rss(path + ".ours.rss"),
            "`find … -prune`", ms(ref["median"]), ms(ref["stddev"] or 0), rss(path + ".ref.rss"),
            f"{ratio:.2f}x", f"≤ {limit:g}x find", "yes" if ratio <= limit else "**no**",
        ])
    widths = [max(len(row[i]) for row in [header] + rows) for i in range(len(header))]

    def line(cells):
        return "| " + " | ".join(cell.ljust(width) for cell, width in zip(cells, widths)) + " |"
    print(line(header))
    print("|" + "|".join("-" * (width + 2) for width in widths) + "|")
    for row in rows:
        print(line(row))
    print("\nTimes are hyperfine medians; time vs ref is our time over find's "
          "(below 1 means ours is faster).")


if __name__ == "__main__":
    if len(sys.argv) != 3 or sys.argv[1] not in ("tree", "report"):
        sys.exit(__doc__)
    if sys.argv[1] == "report":
        report(sys.argv[2])
    else:
        Tree(sys.argv[2]).make()
