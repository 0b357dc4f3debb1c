#!/usr/bin/env python3
"""Builds the label trees and view histories that the file list benchmarks run on.

  gen_file_fixtures.py tree DIR [--folders 5000] [--files 100000] [--term qzx]
                       [--match-rate 0.01] [--seed 1]
      DIR/t00/ ... DIR/t49/sNN/: `folders` folders in two levels, `files` files spread
      evenly over them; names are lower/upper-case words with label and other suffixes; about
      match-rate of the names contain `term` (in mixed case).

  gen_file_fixtures.py history CONFIG TREE [--entries 10000] [--missing 0.05] [--seed 1]
      Writes the "fileHistory" arrays of the six stores under CONFIG/Quorvane Inc/, in the
      layout FileControllerTools reads (see docs/file_history.md). Paths are files of TREE
      (a tree made by the command above); about `missing` of them name files that do not
      exist; a tenth of the paths are recorded by two or three modules.
"""
import argparse
import os
import random
import sys

WORDS = ["plan", "Valve", "pipe", "EXIT", "sign", "Hazard", "arc", "flash", "ghs", "Nfpa",
         "tank", "Line", "boiler", "steam", "gas", "Water", "label", "door", "panel", "Room"]
SUFFIXES = ["kxld", "kxlt", "kxcl", "kxaf", "kxnf", "kxaw", "kxam", "kxpm", "KXLD", "txt", "pdf"]
STORES = ["KorvexPro", "QVLabelEditor", "PipeMarking", "ArcFlashMain", "GHS", "NFPAMain"]


def folders_of(root, count):
    tops = 50
    per_top = count // tops  # each top folder and its sub-folders
    result = []
    for t in range(tops):
        top = os.path.join(root, "t%02d" % t)
        result.append(top)
        for s in range(per_top - 1):
            result.append(os.path.join(top, "s%03d" % s))
    return result[:count]


def mixed_case(rng, text):
    return "".join(c.upper() if rng.random() < 0.5 else c for c in text)


def make_tree(args):
    rng = random.Random(args.seed)
    folders = folders_of(args.dir, args.folders)
    for folder in folders:
        os.makedirs(folder, exist_ok=True)
    matches = 0
    for i in range(args.files):
        folder = folders[i % len(folders)]
        name = "%s_%s_%d" % (rng.choice(WORDS), rng.choice(WORDS), i)
        if rng.random() < args.match_rate:
            name += "_" + mixed_case(rng, args.term)
            matches += 1
        name += "." + rng.choice(SUFFIXES)
        with open(os.path.join(folder, name), "wb") as f:
            f.write(b"L")
    print("tree: %d files in %d folders, %d names contain %r" %
          (args.files, len(folders), matches, args.term), file=sys.stderr)


def ini_escape(text):
    # Values of plain printable ASCII need no escapes except backslash and quote.
    return text.replace("\\", "\\\\").replace('"', '\\"')


def make_history(args):
    rng = random.Random(args.seed)
    files = []
    for base, _dirs, names in os.walk(args.tree):
        for n in names:
            files.append(os.path.join(base, n))
    files.sort()
    if not files:
        sys.exit("no files under %s" % args.tree)
    histories = {s: [] for s in STORES}
    entries = 0
    while entries < args.entries:
        path = rng.choice(files)
        if rng.random() < args.missing:
            path = path + ".deleted"
        copies = 1 if rng.random() < 0.9 else rng.choice([2, 3])
        for store in rng.sample(STORES, copies):
            if entries >= args.entries:
                break
            stamp = "%04d:%02d:%02d:%02d:%02d:%02d:%03d" % (
                rng.choice([2023, 2024, 2025]), rng.randint(1, 12), rng.randint(1, 28),
                rng.randint(0, 23), rng.randint(0, 59), rng.randint(0, 59), rng.randint(0, 999))
            histories[store].append((path, stamp))
            entries += 1
    folder = os.path.join(args.config, "Quorvane Inc")
    os.makedirs(folder, exist_ok=True)
    for store, items in histories.items():
        with open(os.path.join(folder, store + ".ini"), "w", encoding="utf-8") as f:
            f.write("[fileHistory]\n")
            for i, (path, stamp) in enumerate(items, start=1):
                f.write("%d\\path=%s\n%d\\date=%s\n" % (i, ini_escape(path), i, stamp))
            f.write("size=%d\n" % len(items))
    print("history: %d entries over %d stores" % (entries, len(STORES)), file=sys.stderr)


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    sub = parser.add_subparsers(dest="command", required=True)
    tree = sub.add_parser("tree")
    tree.add_argument("dir")
    tree.add_argument("--folders", type=int, default=5000)
    tree.add_argument("--files", type=int, default=100000)
    tree.add_argument("--term", default="qzx")
    tree.add_argument("--match-rate", type=float, default=0.01)
    tree.add_argument("--seed", type=int, default=1)
    history = sub.add_parser("history")
    history.add_argument("config")
    history.add_argument("tree")
    history.add_argument("--entries", type=int, default=10000)
    history.add_argument("--missing", type=float, default=0.05)
    history.add_argument("--seed", type=int, default=1)
    args = parser.parse_args()
    if args.command == "tree":
        make_tree(args)
    else:
        make_history(args)


if __name__ == "__main__":
    main()
