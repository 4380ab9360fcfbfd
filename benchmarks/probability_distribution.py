#!/usr/bin/env python3
"""Prints how the local probability is distributed over folders of messages, as a Markdown table, and how often each
test fired: probability_distribution.py PROGRAM FOLDER...

PROGRAM is brmx-scan. Messages are the files that end in .txt or .eml.
"""

import collections
import json
import pathlib
import re
import subprocess
import sys

BANDS = [(0, 0), (1, 9), (10, 19), (20, 39), (40, 59), (60, 79), (80, 99), (100, 100)]
RESULT = re.compile(r"^-?\d+\.\d\d +(\S+)")


def scan(program, folder):
    files = sorted(str(path) for path in pathlib.Path(folder).rglob("*") if path.suffix in {".txt", ".eml"})
    for start in range(0, len(files), 500):
        ran = subprocess.run([program, "--json", "--jobs", "2", *files[start : start + 500]], capture_output=True, check=True)
        yield from map(json.loads, ran.stdout.decode("utf-8").splitlines())


def main():
    program, folders = sys.argv[1], sys.argv[2:]
    bands = {}
    tests = collections.defaultdict(collections.Counter)
    for folder in folders:
        name = pathlib.Path(folder).name
        counts = bands.setdefault(name, collections.Counter())
        for answer in scan(program, folder):
            counts[next(band for band in BANDS if band[0] <= answer["probability"] <= band[1])] += 1
            lines = [text for indent, text in answer["trace"] if indent == 1]
            for fired in {match[1] for match in map(RESULT.match, lines) if match}:
                tests[fired][name] += 1
    total = {name: sum(counts.values()) for name, counts in bands.items()}
    print("| Probability | " + " | ".join(f"{name} ({total[name]})" for name in bands) + " |")
    print("|---|" + "---:|" * len(bands))
    for low, high in BANDS:
        shares = (f"{100 * bands[name][(low, high)] / total[name]:.1f} %" for name in bands)
        print(f"| {low if low == high else f'{low} to {high}'} | " + " | ".join(shares) + " |")
    print("\n| Test | " + " | ".join(bands) + " |")
    print("|---|" + "---:|" * len(bands))
    for fired in sorted(tests):
        print(f"| {fired} | " + " | ".join(str(tests[fired][name]) for name in bands) + " |")


if __name__ == "__main__":
    main()
