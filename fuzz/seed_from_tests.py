#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes seed corpora for the fuzz targets from the string literals of the unit tests.

Every C++ string literal of the named test sources becomes one seed file; a source
line with two or more literals also becomes a seed of its first two literals joined
by a NUL byte, which is how the two-input targets split their input. Seeds are named
after their contents' hash, so running this again adds nothing twice.

    fuzz/seed_from_tests.py <corpus-dir> <test-source>...
"""
import hashlib
import pathlib
import re
import sys

LITERAL = re.compile(r'(?<![A-Za-z0-9_\'])"((?:[^"\\\n]|\\.)*)"')
ESCAPES = {"n": b"\n", "t": b"\t", "r": b"\r", "0": b"\0", "\\": b"\\", '"': b'"',
           "'": b"'", "a": b"\a", "b": b"\b", "f": b"\f", "v": b"\v", "?": b"?"}


def decode(body):
    out = bytearray()
    i = 0
    raw = body.encode("utf-8")
    while i < len(raw):
        c = raw[i:i + 1]
        if c != b"\\":
            out += c
            i += 1
            continue
        nxt = chr(raw[i + 1])
        if nxt == "x":
            j = i + 2
            while j < len(raw) and chr(raw[j]) in "0123456789abcdefABCDEF":
                j += 1
            out.append(int(raw[i + 2:j], 16) & 0xFF)
            i = j
        elif nxt == "u":
            out += chr(int(raw[i + 2:i + 6], 16)).encode("utf-8", "surrogatepass")
            i += 6
        elif nxt in "01234567" and nxt != "0" or (nxt == "0" and i + 2 < len(raw)
                                                  and chr(raw[i + 2]) in "01234567"):
            j = i + 1
            while j < len(raw) and j < i + 4 and chr(raw[j]) in "01234567":
                j += 1
            out.append(int(raw[i + 1:j], 8) & 0xFF)
            i = j
        else:
            out += ESCAPES.get(nxt, nxt.encode())
            i += 2
    return bytes(out)


def main():
    corpus = pathlib.Path(sys.argv[1])
    corpus.mkdir(parents=True, exist_ok=True)
    seeds = set()
    for source in sys.argv[2:]:
        for line in pathlib.Path(source).read_text(encoding="utf-8").splitlines():
            if line.lstrip().startswith(("#include", "//")):
                continue
            literals = [decode(m.group(1)) for m in LITERAL.finditer(line)]
            seeds.update(literals)
            if len(literals) >= 2:
                seeds.add(literals[0] + b"\0" + literals[1])
    for seed in seeds:
        name = hashlib.sha1(seed).hexdigest()[:16]
        (corpus / name).write_bytes(seed)
    print(f"{corpus}: {len(seeds)} seeds")


if __name__ == "__main__":
    main()
