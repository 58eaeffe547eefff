#!/usr/bin/env python3
"""Writes a synthetic signature set, the same for the same arguments.

usage: signatures.py FOLDER COUNT

Two thirds file hashes by SHA-256, a fifth by MD5, the rest hashes of program sections and patterns
with wildcards, spread over file types as an official set is; and what detects the test files.
"""
import os
import random
import sys


def main():
    folder, count = sys.argv[1], int(sys.argv[2])
    os.makedirs(folder, exist_ok=True)
    rng = random.Random(20261121)

    def size():
        return int(min(50_000_000, max(200, rng.lognormvariate(11.5, 1.8))))

    def lines(name, number, line):
        with open(os.path.join(folder, name), "w", encoding="ascii") as out:
            for index in range(number):
                out.write(line(index) + "\n")

    patterns = count // 28
    sections = count // 11
    md5 = count // 5
    lines("synthetic.hsb", count - patterns - sections - md5,
          lambda i: f"{rng.getrandbits(256):064x}:{size()}:Synthetic.Sha256.{i}:73")
    lines("synthetic.hdb", md5, lambda i: f"{rng.getrandbits(128):032x}:{size()}:Synthetic.Md5.{i}")
    lines("synthetic.mdb", sections,
          lambda i: f"{(size() // 512 + 1) * 512}:{rng.getrandbits(128):032x}:Synthetic.Section.{i}")

    targets = [0] * 12 + [1] * 55 + [2] * 8 + [3] * 8 + [4] * 3 + [6] * 6 + [7] * 8
    text = b"abcdefghijklmnopqrstuvwxyz0123456789 ()=.;\"'"

    def pattern(index):
        target = rng.choice(targets)
        length = int(min(200, max(12, rng.lognormvariate(3.6, 0.6))))
        if target in (3, 4, 7):
            body = bytes(rng.choice(text) for _ in range(length))
        else:
            body = rng.randbytes(length)
        digits = body.hex()
        if length > 30 and rng.random() < 0.35:
            cut = rng.randrange(8, length - 8) * 2
            digits = digits[:cut] + rng.choice(["*", "{-50}", "{4-20}", "????", "{10}"]) + digits[cut:]
        return f"Synthetic.Pattern.{index}:{target}:*:{digits}"

    lines("synthetic.ndb", patterns, pattern)


if __name__ == "__main__":
    main()
