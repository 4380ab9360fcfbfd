#!/usr/bin/env python3
"""How far the number alone, without a community, separates spam from wanted mail: separation.py BRMX-SCAN CORPUS

CORPUS is the folder that get_corpus.sh fills: all folders named spam-* in it against all named *-ham-*. The mailbox line
"From name date", which no mail program hands on, is left out: the engine would take it for the sender. Prints the share
of each kind that reaches a number of points, and the area under the curve: how often a random spam scores above a random
wanted message, ties counting half. 0.5 is no separation at all, 1 a perfect one.
"""

import bisect
import pathlib
import subprocess
import sys
import tempfile


def scores(scan, folders):
    """The probability of each message; brmx-scan prints it in front of the name."""
    with tempfile.TemporaryDirectory() as place:
        for number, path in enumerate(path for folder in folders for path in folder.glob("*.txt")):
            message = path.read_bytes()
            start = message.index(b"\n") + 1 if message.startswith(b"From ") else 0
            pathlib.Path(place, str(number)).write_bytes(message[start:])
        found = subprocess.run([scan, place], stdout=subprocess.PIPE, check=False, text=True)
    return sorted(int(line.split()[0]) for line in found.stdout.splitlines() if line.split()[:1] and line.split()[0].isdigit())


def area_under_curve(spam, wanted):
    above = sum(bisect.bisect_left(wanted, s) + bisect.bisect_right(wanted, s) for s in spam)
    return above / (2 * len(spam) * len(wanted))


def main():
    scan, corpus = sys.argv[1], pathlib.Path(sys.argv[2])
    spam = scores(scan, sorted(corpus.glob("spam-*")))
    wanted = scores(scan, sorted(corpus.glob("*-ham-*")))
    print(f"{'points':>9}  {'of ' + str(len(spam)) + ' spam':>14}  {'of ' + str(len(wanted)) + ' wanted':>16}")
    for least in (1, 5, 10, 20, 50):
        shares = [100 * (len(kind) - bisect.bisect_left(kind, least)) / len(kind) for kind in (spam, wanted)]
        print(f"{least:>2} or more  {shares[0]:>12.1f} %  {shares[1]:>14.1f} %")
    print(f"area under the curve: {area_under_curve(spam, wanted):.2f}")


if __name__ == "__main__":
    main()
