#!/usr/bin/env python3
"""Counts the lines of code by role, and fails if the tests are over a third of the product: line_share.py SOURCE_ROOT

A line counts if it is neither blank nor a comment. Fuzz targets, benchmarks and examples are neither product nor tests,
nor are generated tables; a test script is a test wherever it lies.
"""

import pathlib
import subprocess
import sys

PRODUCT = ("analysis", "community", "deployment", "engine", "findings", "foundation", "html", "include", "language",
           "message", "network", "platform", "server", "tools", "view")
TEST_SCRIPTS = ("tools/mutants.py", "examples/python/brmx_test.py")
MOST_PERCENT = 33


def lines_of_code(path):
    """Lines without those that are blank or wholly a comment; 0 for anything that is no source."""
    text = path.read_text(encoding="utf-8", errors="replace")
    if path.suffix in {".cpp", ".h", ".hpp", ".c"}:
        if "do not edit" in text[:400].lower():  # a generated table
            return 0
        count, inside = 0, False
        for line in map(str.strip, text.splitlines()):
            opened = inside or line.startswith("/*")
            inside = opened and "*/" not in line
            count += bool(line) and not opened and not line.startswith("//")
        return count
    if path.suffix == ".py" or text.startswith("#!"):
        return sum(bool(line.strip()) and not line.lstrip().startswith("#") for line in text.splitlines())
    return 0


def role_of(name):
    if name.startswith("tests/") or name in TEST_SCRIPTS:
        return "tests"
    return "product" if name.startswith(tuple(folder + "/" for folder in PRODUCT)) else None


def main():
    root = pathlib.Path(sys.argv[1])
    counts = {"product": 0, "tests": 0}
    listed = subprocess.run(["git", "ls-files", "-z"], cwd=root, stdout=subprocess.PIPE, check=True).stdout.decode()
    for name in filter(None, listed.split("\0")):
        if (role := role_of(name)) and (root / name).is_file():
            counts[role] += lines_of_code(root / name)
    percent = 100 * counts["tests"] / counts["product"]
    print(f"{counts['product']} lines of product, {counts['tests']} of tests: {percent:.1f} %, at most {MOST_PERCENT}")
    return 1 if percent > MOST_PERCENT else 0


if __name__ == "__main__":
    sys.exit(main())
