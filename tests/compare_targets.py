#!/usr/bin/env python3
"""Scans the same messages with both builds and compares what they say, to the letter.

    compare_targets.py --linux PROGRAM --windows COMMAND [--accepted FILE] PATH...

The file of accepted differences has one line a message: its path as scanned, a blank, and the reason.
"""

import argparse
import json
import shlex
import subprocess
import sys

def scan(command, paths):
    ran = subprocess.run(shlex.split(command) + ["--json", *paths], capture_output=True, check=False)
    answers = {}
    for line in ran.stdout.decode("utf-8").splitlines():
        answer = json.loads(line)
        answers[answer.pop("file").replace("\\", "/")] = answer
    if ran.returncode not in (0, 1):
        sys.exit(f"{command} ended with {ran.returncode}: {ran.stderr.decode('utf-8', 'replace')[-2000:]}")
    return answers, ran.returncode


def first_difference(left, right):
    for name in ("status_name", "probability"):
        if left.get(name) != right.get(name):
            return f"{name}: {left.get(name)} / {right.get(name)}"
    for mine, other in zip(left["trace"], right["trace"]):
        if mine != other:
            return f"{mine} / {other}"
    return f"{len(left['trace'])} / {len(right['trace'])} lines"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--linux", required=True)
    parser.add_argument("--windows", required=True)
    parser.add_argument("--accepted")
    parser.add_argument("paths", nargs="+")
    arguments = parser.parse_args()
    accepted = {}
    if arguments.accepted:
        with open(arguments.accepted, encoding="utf-8") as lines:
            accepted = dict(line.strip().split(" ", 1) for line in lines if line.strip() and line[0] != "#")
    linux, linux_exit = scan(arguments.linux, arguments.paths)
    windows, windows_exit = scan(arguments.windows, arguments.paths)
    different = 0
    for name in sorted(linux.keys() | windows.keys()):
        left, right = linux.get(name), windows.get(name)
        if left == right or name in accepted:
            continue
        different += 1
        print(f"{name}: " + (first_difference(left, right) if left and right else "only on one target"))
    print(f"{len(linux)} messages, {different} different, exits {linux_exit} and {windows_exit}")
    return 1 if different or not linux or linux_exit != 0 or windows_exit != 0 else 0


if __name__ == "__main__":
    sys.exit(main())
