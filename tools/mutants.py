#!/usr/bin/env python3
"""Measures the tests by mutation: mutants.py [--count N] [--seed N] [FOLDER...]

Changes one line of the product at a time (a comparison, a constant, a sign, a condition, a statement left out), builds,
and runs the tests until one of them fails. A mutant that no test fails for has survived and is printed: either a case is
missing, or the line does nothing that can be seen. Mutants that do not compile, or compile to the same object, do not
count. Lines are drawn at random, in proportion to the lines of each folder; the same seed draws the same lines of the
same tree. Works on a copy of the tracked files in build/mutants; 150 mutants take about an hour on two cores.
"""

import argparse
import collections
import filecmp
import json
import pathlib
import random
import re
import resource
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = ROOT / "build/mutants"
SOURCE, BUILD = WORK / "source", WORK / "build"

# The tests that are nearest to each folder and so most likely to fail: run first, for they are quick to link.
NEAREST = {
    "platform": ["foundation", "community", "engine"],
    "foundation": ["foundation"],
    "message": ["message"],
    "html": ["message"],
    "network": ["community"],
    "findings": ["analysis"],
    "view": ["analysis"],
    "analysis": ["analysis"],
    "community": ["community", "engine_community"],
    "language": ["language"],
    "engine": ["engine", "engine_community", "engine_faults"],
    "tools": ["brmx_scan", "brmx_scan_community"],
    "deployment": ["analysis", "engine"],
    "server": ["server"],
}
# They look at the sources or at the documents and cannot fail for a mutant.
BLIND = re.compile(r"^(layering|links|word_lists|exports)$")
SECONDS = 60  # for one test; a mutant that makes it hang is found

# What is replaced by what. A blank on both sides keeps template brackets and unary signs out.
SWAPS = [
    (r" < ", " <= "), (r" <= ", " < "), (r" > ", " >= "), (r" >= ", " > "), (r" == ", " != "), (r" != ", " == "),
    (r" && ", " || "), (r" \|\| ", " && "), (r" \+ ", " - "), (r" - ", " + "), (r"\btrue\b", "false"),
    (r"\bfalse\b", "true"), (r"(?<=\()!(?=\w)", ""), (r"\+\+", "--"),
]
NUMBER = re.compile(r"(?<![\w.'])(0x[0-9A-Fa-f]+|\d+)(?![\w.'])")
STATEMENT = re.compile(r"^\s+(?!return\b|using\b|static_assert|[\w:]+(<.*>)? \w+\()[\w.:>\-\[\]]+( [|+\-]?= .*|\(.*\));$")
GUARD = re.compile(r"^\s+if \(.*\) (continue|break|return\b.*);$")
NO_CODE = re.compile(r"^\s*(//|#|\{|\}|case |namespace|template|using |static_assert|class |struct |extern|/?\*|\"|R\")")
DECLARATION = re.compile(r"^\s*(\[\[nodiscard\]\]|virtual |friend |explicit |static constexpr|constexpr \w+ \w+\[)")


def blank_texts(line):
    """The line with the contents of its literals and its comment blanked out, of the same length."""
    line = re.sub(r'"(\\.|[^"\\])*"|\'(\\.|[^\'\\])+\'', lambda m: "_" * len(m.group()), line)
    return re.sub(r"//.*$", lambda m: " " * len(m.group()), line)


def mutations(line):
    """All single changes of one line of source."""
    if NO_CODE.match(line) or DECLARATION.match(line):
        return []
    code = blank_texts(line)
    found = []
    for pattern, replacement in SWAPS:
        found += [line[: m.start()] + replacement + line[m.end() :] for m in re.finditer(pattern, code)]
    for m in NUMBER.finditer(code):
        found.append(line[: m.start()] + f"({m.group()} + 1)" + line[m.end() :])
    if STATEMENT.match(code) or GUARD.match(code):
        found.append(re.match(r"\s*", line).group() + ";")
    return found


def product_files(folder):
    for path in sorted((SOURCE / folder).rglob("*")):
        if path.suffix in {".cpp", ".h"} and "windows" not in path.as_posix().replace(str(SOURCE), ""):
            if path.name != "charset_names.cpp" and "do not edit" not in path.read_text("utf-8")[:400].lower():
                yield path


def lines_of_code(path):
    return sum(bool(l.strip()) and not l.strip().startswith("//") for l in path.read_text("utf-8").splitlines())


def draw(folders, count, seed):
    """(path, line number, new line) for so many lines; the share of a folder is its share of the lines."""
    sizes = {folder: sum(map(lines_of_code, product_files(folder))) for folder in folders}
    chosen = []
    for folder in folders:
        dice = random.Random(f"{seed} {folder}")
        sites = []
        for path in product_files(folder):
            for number, line in enumerate(path.read_text("utf-8").splitlines()):
                if changes := mutations(line):
                    sites.append((path, number, changes))
        wanted = min(len(sites), round(count * sizes[folder] / max(1, sum(sizes.values()))))
        chosen += [(folder, path, number, dice.choice(changes)) for path, number, changes in dice.sample(sites, wanted)]
    return chosen


def run(command, seconds=1800):
    def limit():
        resource.setrlimit(resource.RLIMIT_AS, (8 << 30, 8 << 30))

    try:
        return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=seconds, preexec_fn=limit)
    except subprocess.TimeoutExpired as late:
        return subprocess.CompletedProcess(command, 124, late.stdout or b"")


def build(*targets):
    return run(["cmake", "--build", str(BUILD), "--", "-k", "1", *targets]).returncode == 0


def passes(names):
    command = ["ctest", "--test-dir", str(BUILD), "--stop-on-failure", "--timeout", str(SECONDS)]
    result = run([*command, "-R", f"^({'|'.join(names)})$"])
    failed = re.search(rb"(?m)^\s*\d+/\d+ Test\s+#\d+: (\w+) .*\*\*\*", result.stdout)
    return result.returncode == 0, failed.group(1).decode() if failed else "?"


def tables(name):
    out = WORK / name
    with open(out, "wb") as stream:
        subprocess.run([str(BUILD / "table_dump")], stdout=stream, stderr=subprocess.DEVNULL, timeout=SECONDS, check=False)
    return out


class tree:
    """The unchanged copy, built; knows the tests and what the objects are."""

    def __init__(self):
        tracked = subprocess.run(["git", "ls-files", "-z"], cwd=ROOT, stdout=subprocess.PIPE, check=True).stdout
        shutil.rmtree(SOURCE, ignore_errors=True)
        for name in filter(None, tracked.decode().split("\0")):
            if (ROOT / name).exists():
                (SOURCE / name).parent.mkdir(parents=True, exist_ok=True)
                shutil.copy2(ROOT / name, SOURCE / name)
        options = ["-DCMAKE_BUILD_TYPE=Release", "-DCMAKE_CXX_FLAGS_RELEASE=-O1", "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=gold",
                   "-DCMAKE_SHARED_LINKER_FLAGS=-fuse-ld=gold"]
        subprocess.run(["cmake", "-G", "Ninja", "-S", str(SOURCE), "-B", str(BUILD), *options], check=True, stdout=subprocess.DEVNULL)
        if not build():
            sys.exit("mutants: the unchanged tree does not build")
        listed = json.loads(subprocess.run(["ctest", "--test-dir", str(BUILD), "--show-only=json-v1"], stdout=subprocess.PIPE,
                                           check=True).stdout)
        self.tests = [t["name"] for t in listed["tests"] if not BLIND.match(t["name"])]
        good, failed = passes(self.tests)
        if not good:
            sys.exit(f"mutants: {failed} fails on the unchanged tree")
        self.objects = {e["file"]: BUILD / e["output"] for e in json.loads((BUILD / "compile_commands.json").read_text())}
        self.tables = tables("tables.original")

    def targets_of(self, names):
        programs = {p.name for p in BUILD.rglob("test_*") if p.is_file()}
        return [f"test_{n}" for n in names if f"test_{n}" in programs] or ["all"]

    def judge(self, folder, path):
        """What became of the mutant that is in the tree now: the name of a test, or one of the words in capitals."""
        unchanged = self.objects.get(str(path))
        if unchanged:
            kept = WORK / "object.original"
            shutil.copy2(unchanged, kept)
            if not build(str(unchanged.relative_to(BUILD))):
                return "INVALID"
            if filecmp.cmp(kept, unchanged, shallow=False):
                return "SAME"
        nearest = [n for n in NEAREST.get(folder, []) if n in self.tests]
        for names in (nearest, [n for n in self.tests if n not in nearest]):
            if not names:
                continue
            if not build(*(self.targets_of(names) if names is nearest else ["all"])):
                return "INVALID"
            good, failed = passes(names)
            if not good:
                return failed
        if folder in {"platform", "foundation"} and not filecmp.cmp(self.tables, tables("tables.mutant"), shallow=False):
            return "TABLES"
        return "SURVIVED"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--count", type=int, default=150)
    parser.add_argument("--seed", default="1")
    parser.add_argument("folders", nargs="*", metavar="FOLDER")
    options = parser.parse_args()
    original = tree()
    folders = options.folders or [f for f in NEAREST if (SOURCE / f).is_dir()]
    results = collections.defaultdict(collections.Counter)
    for folder, path, number, change in draw(folders, options.count, options.seed):
        text = path.read_text("utf-8")
        lines = text.splitlines(keepends=True)
        before, lines[number] = lines[number].rstrip("\n"), change + "\n"
        path.write_text("".join(lines), "utf-8")
        verdict = original.judge(folder, path)
        path.write_text(text, "utf-8")
        kind = verdict if verdict.isupper() else "KILLED"
        results[folder][kind] += 1
        print(f"{path.relative_to(SOURCE)}:{number + 1}: {verdict}\n  - {before.strip()}\n  + {change.strip()}", flush=True)
    print(f"\n{'folder':<12} {'valid':>5} {'killed':>6} {'tables':>6} {'survived':>8}   rate  with tables")
    total = collections.Counter()
    for folder, counted in [*results.items(), ("all", total)]:
        killed, by_tables, left = counted["KILLED"], counted["TABLES"], counted["SURVIVED"]
        valid = killed + by_tables + left
        if folder != "all":
            total.update(counted)
        if valid:
            print(f"{folder:<12} {valid:>5} {killed:>6} {by_tables:>6} {left:>8}  {100 * killed / valid:4.0f} %"
                  f"  {100 * (killed + by_tables) / valid:4.0f} %")
    print(f"not counted: {total['INVALID']} that do not compile, {total['SAME']} that compile to the same")


if __name__ == "__main__":
    main()
