# SPDX-License-Identifier: MIT
"""Random Windows-style path names with what Python's ntpath says about them.

Writes one JSON object per line to standard output:
  {"kind": "path", "p": ..., "drive": ..., "isrel": ..., "basename": ...,
   "splitext": [root, ext], "stem": ..., "normpath": ..., "base": ..., "joined": ...}
  {"kind": "pair", "path": ..., "base": ..., "relpath": ... or null}
The same seed always gives the same lines.
"""

import argparse
import json
import ntpath
import random
import sys

# No two names differ only in the case of a non-ASCII letter: ntpath folds those, the
# file-name collation does not.
NAMES = [
    "a", "b", "Dir", "src", "file.txt", "arch.tar.gz", ".profile", "name.", "a.b.c",
    "..a", "...", "x..y", "Program Files", "UPPER.TXT", "mixed.Ext", "v1.2",
    "d\u00e9j\u00e0", "f\u00efchier.d\u00f6c", "\u65e5\u672c\u8a9e", "\u0444\u0430\u0439\u043b.txt",
    "clef\U0001d11e", "e\u0301t\u00e9",
]
DOTS = [".", ".."]
LETTERS = "abcdxyzABCDXYZ"


def separator(rng):
    return rng.choice(["\\", "\\", "/"])


def separator_run(rng):
    run = separator(rng)
    if rng.random() < 0.15:
        run += separator(rng)
    return run


def piece(rng):
    return rng.choice(DOTS) if rng.random() < 0.25 else rng.choice(NAMES)


def join_pieces(rng, pieces):
    out = ""
    for i, p in enumerate(pieces):
        if i > 0:
            out += separator_run(rng)
        out += p
    return out


def random_path(rng):
    kind = rng.choice(["relative", "relative", "drive-root", "drive-root", "rooted",
                       "drive-relative", "unc"])
    pieces = [piece(rng) for _ in range(rng.randint(0, 6))]
    body = join_pieces(rng, pieces)
    if kind == "relative":
        prefix = ""
    elif kind == "drive-root":
        prefix = rng.choice(LETTERS) + ":" + separator(rng)
    elif kind == "rooted":
        prefix = separator(rng)
    elif kind == "drive-relative":
        prefix = rng.choice(LETTERS) + ":"
    else:
        prefix = (separator(rng) + separator(rng) + rng.choice(["srv", "Host"]) + separator(rng) +
                  rng.choice(["share", "c$"]) + (separator(rng) if pieces else ""))
    path = prefix + body
    if pieces and rng.random() < 0.2:
        path += separator_run(rng)
    return path


def flip_ascii_case(rng, text):
    return "".join(c.swapcase() if c.isascii() and c.isalpha() and rng.random() < 0.3 else c
                   for c in text)


def rooted_names(rng, count):
    # Names without "." and "..", so that nothing climbs above the root.
    return [rng.choice(NAMES) for _ in range(count)]


def random_pair(rng):
    drive = rng.choice(LETTERS)
    common = rooted_names(rng, rng.randint(0, 4))
    shape = rng.choice(["descendant", "ancestor", "same", "sibling", "other-drive"])
    base = list(common)
    path = list(common)
    if shape == "descendant":
        path += rooted_names(rng, rng.randint(1, 3))
    elif shape == "ancestor":
        base += rooted_names(rng, rng.randint(1, 3))
    elif shape == "sibling":
        path += ["p-" + rng.choice(NAMES)] + rooted_names(rng, rng.randint(0, 2))
        base += ["b-" + rng.choice(NAMES)] + rooted_names(rng, rng.randint(0, 2))
    path_drive = drive
    if shape == "other-drive":
        path_drive = "Q" if drive.upper() != "Q" else "R"
    if rng.random() < 0.2:
        path.insert(rng.randint(0, len(path)), ".")
    path_text = flip_ascii_case(rng, path_drive + ":" + separator(rng) + join_pieces(rng, path))
    base_text = drive + ":" + separator(rng) + join_pieces(rng, base)
    if rng.random() < 0.3:
        base_text += separator(rng)
    try:
        rel = ntpath.relpath(path_text, base_text)
    except ValueError:
        rel = None
    return {"kind": "pair", "path": path_text, "base": base_text, "relpath": rel}


def describe(rng, path):
    drive, rest = ntpath.splitdrive(path)
    root, ext = ntpath.splitext(path)
    base = rng.choice(LETTERS) + ":\\" + "\\".join(rooted_names(rng, rng.randint(0, 3)))
    return {
        "kind": "path",
        "p": path,
        "drive": drive,
        "isrel": drive == "" and path[:1] not in ("\\", "/"),
        "basename": ntpath.basename(path),
        "splitext": [root, ext],
        "stem": ntpath.splitext(ntpath.basename(path))[0],
        "normpath": ntpath.normpath(path),
        "base": base,
        "joined": ntpath.normpath(ntpath.join(base, path)),
    }


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--seed", type=int, required=True)
    parser.add_argument("--count", type=int, required=True)
    args = parser.parse_args()
    rng = random.Random(args.seed)
    out = sys.stdout
    for _ in range(args.count):
        out.write(json.dumps(describe(rng, random_path(rng))) + "\n")
    for _ in range(args.count):
        out.write(json.dumps(random_pair(rng)) + "\n")


if __name__ == "__main__":
    main()
