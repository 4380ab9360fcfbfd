#!/usr/bin/env python3
"""Compares the instructions that scans take with the figures in the tree: instructions.py PROGRAM [--update]

PROGRAM is a release build of brmx-scan; valgrind counts for it. Time on a shared machine says little, while the same
program takes the same instructions for the same message each time, to a few in a hundred thousand. Fails if a message
takes over 5 % more than its figure. --update writes the figures anew.
"""

import pathlib
import subprocess
import sys
import tempfile

TREE = pathlib.Path(__file__).resolve().parent.parent
FIGURES = TREE / "benchmarks" / "instructions.txt"
TOLERANCE = 0.05
LIFE = ["BRMX_Session_CreateFromMemory", "BRMX_Spam_GetProbability", "BRMX_Session_Destroy"]
# Without what differs from machine to machine: the system's own copying and searching goes by the processor.
ENVIRONMENT = {"GLIBC_TUNABLES": "glibc.cpu.hwcaps=-AVX2,-AVX512F,-ERMS"}


def count(program, messages):
    """The instructions of each message's life, in the second of two rounds: the first one builds the tables."""
    with tempfile.TemporaryDirectory() as directory:
        out = pathlib.Path(directory) / "callgrind"
        subprocess.run(
            [
                "valgrind",
                "--tool=callgrind",
                f"--callgrind-out-file={out}",
                *(f"--toggle-collect={name}" for name in LIFE),
                f"--dump-after={LIFE[-1]}",
                program,
                *messages * 2,
            ],
            env={**ENVIRONMENT, "PATH": "/usr/bin:/bin"},
            cwd=TREE,
            check=True,
            capture_output=True,
        )
        totals = []
        for dump in range(1, 2 * len(messages) + 1):
            lines = pathlib.Path(f"{out}.{dump}").read_text(errors="replace").splitlines()
            totals.append(next(int(line.split()[1]) for line in lines if line.startswith("totals:")))
    return dict(zip(messages, totals[len(messages) :]))


def main():
    program = str(pathlib.Path(sys.argv[1]).resolve())
    messages = sorted(str(path.relative_to(TREE)) for path in (TREE / "samples").glob("*.eml"))
    counted = count(program, messages)
    counted["total"] = sum(counted.values())
    if "--update" in sys.argv[2:]:
        FIGURES.write_text("".join(f"{name} {number}\n" for name, number in counted.items()))
    known = {name: int(number) for name, number in map(str.split, FIGURES.read_text().splitlines())}
    failed = False
    for name, number in counted.items():
        if name not in known:
            verdict, failed = "has no figure", True
        else:
            change = number / known[name] - 1
            verdict = f"{change:+.1%}"
            if change > TOLERANCE:
                verdict, failed = verdict + " TOO MANY", True
            elif change < -TOLERANCE:
                verdict += " (lower the figure: ./run instructions --update)"
        print(f"{number:>12,}  {name}  {verdict}")
    sys.exit(failed)


if __name__ == "__main__":
    main()
