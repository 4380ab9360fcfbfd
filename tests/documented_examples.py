#!/usr/bin/env python3
"""Checks that every example in the table of tests shows the finding that its row is about.

    documented_examples.py PROGRAM DOCUMENT SAMPLES

Rows are "| name | points | meaning | example |". An example is "samples/...", looked for below SAMPLES, or another one,
which is not checked. What is "asked" needs an answer of a community and is left to the tests that have one.
"""

import json
import pathlib
import re
import subprocess
import sys

POINTS = {"clean": ["0"], "spam": ["0"]}


def rows(document):
    for line in document.read_text("utf-8").splitlines():
        cells = [cell.strip() for cell in line.split("|")[1:-1]]
        if len(cells) == 4 and re.fullmatch(r"[A-Z]\w+(\.[\w-]+)+", cells[0]):
            yield cells


def findings(program, message):
    ran = subprocess.run([program, "--json", "-"], input=message, capture_output=True, check=True)
    lines = [text for _, text in json.loads(ran.stdout)["trace"]]
    found = set()
    for line in lines[lines.index("Test Results:") + 1:] if "Test Results:" in lines else []:
        if not line:
            break
        value, name = line.split()[:2]
        found.add((name, float(value)))
    return found


def messages(example, samples):
    for path in re.findall(r"samples/([\w/.-]+\.eml)", "" if "asked" in example else example):
        yield path, (samples / path).read_bytes()


def main():
    program, document, samples = sys.argv[1:]
    checked = failed = 0
    for name, points, _, example in rows(pathlib.Path(document)):
        values = {float(value) for value in POINTS.get(points) or re.findall(r"\d+", points)[:2]}
        for label, message in messages(example, pathlib.Path(samples)):
            checked += 1
            if not any((name, value) in findings(program, message) for value in values):
                failed += 1
                print(f"{label} does not show {name} with {points}")
    print(f"{checked} examples checked, {failed} wrong")
    return 1 if failed or checked < 10 else 0


if __name__ == "__main__":
    sys.exit(main())
