#!/usr/bin/env python3
"""Scans the worst messages that are known and tells what each costs: bad_input.py BRMX_SCAN [FILTER]

Prints one row for each: size, status, processor time, and the peak memory of the process above that of scanning next to
nothing, as a multiple of the message's size, the bytes of the file included. Ends with 1 if a scan crashes,
gives another status than it should, takes more than five minutes, or needs more than 12 times the size of a message
whose structure is not itself the bulk of it.
"""

import os
import pathlib
import random
import re
import subprocess
import sys
import tempfile

SCAN = str(pathlib.Path(sys.argv[1]).resolve())
FILTER = re.compile(sys.argv[2] if len(sys.argv) > 2 else "")
CHARSET_TABLE = pathlib.Path(__file__).parent.parent / "foundation" / "charset_names.cpp"
MB = 1_000_000
LIMIT = 12.0
SECONDS = 300
SCANNED = "scanned"


def repeated(piece, size):
    """Bytes of that size in blocks: whoever starts a process lends it its own peak, so all stays small here."""
    block = piece * max(1, 100_000 // len(piece))
    while size > 0:
        yield block[:size] if size < len(block) else block
        size -= len(block)


def noise(size, seed=1):
    source = random.Random(seed)
    while size > 0:
        yield source.randbytes(min(size, 100_000))
        size -= 100_000


def after(head, blocks):
    yield head
    yield from blocks


def nested(depth, line):
    """Parts within each other, each with a boundary, and lines in the innermost."""
    for part in range(depth):
        yield b'Content-Type: multipart/mixed; boundary="b%d"\n\n--b%d\n' % (part, part)
    yield b"\n"
    yield from line


def attached(depth, line, fields=b"", boundary=b""):
    """Messages attached to each other as .eml files."""
    for link in range(depth):
        own = b"; boundary=%s%d" % (boundary, link) if boundary else b""
        yield b"Content-Type: application/octet-stream; name=a.eml" + own + b"\n" + fields + b"\n"
    yield b"\n"
    yield from line


def escapes_of_escapes(depth, size):
    yield from attached(depth, repeated(b"a line of text\n", size), ESCAPED, b"x")
    yield b"=" + b"3D" * depth + b"\n"


def parts(piece, count):
    return after(b"Content-Type: multipart/mixed; boundary=a\n\n", repeated(b"--a\n" + piece, count * (4 + len(piece))))


def charset_names():
    families = [*(f"iso-8859-{n}" for n in range(1, 17)), *(f"windows-{n}" for n in range(1250, 1259)), "cp437", "x"]
    return [name.encode() for name in [*re.findall(r'\{"([^"]+)", ', CHARSET_TABLE.read_text()), *families]]


def charsets():
    yield b"Content-Type: multipart/mixed; boundary=a\n"
    sample = bytes(range(128, 256)).hex("=", 1).upper().encode()
    for name in charset_names():
        yield b"Subject: =?%s?Q?=%s?=\n" % (name, sample)
        yield b"To: =?%s?B?gYL/4P5//w==?= <=?%s?Q?=81?=>\n" % (name, name)
    yield b"\n"
    for name in charset_names():
        yield b'--a\nContent-Type: text/html; charset="%s"\n' % name
        yield b'Content-Disposition: attachment; filename="=?%s?Q?=%s?="\n\n' % (name, sample)
        yield bytes(range(256)) * 64 + b"\nbegin 644 \x81\xff\nend\n"


UNREADABLE = b"=?shift_jis?B?gYL/?= <=?x?Q?=81?=>,"
ESCAPED = b"Content-Transfer-Encoding: quoted-printable\n"
# Label, the message, whether its memory has the limit, and what else than a finished scan has to come of it.
INPUTS = [
    ("an empty file", lambda: [], True),
    ("10 MB of random bytes", lambda: noise(10 * MB), True),
    ("10 MB of NUL bytes in text", lambda: repeated(b"a\0b\0\0\n", 10 * MB), True),
    ("10 MB of lines that end in CR", lambda: after(b"A: b\r\r", repeated(b"some text\r", 10 * MB)), True),
    ("10 MB of lines that end in LF CR", lambda: after(b"A: b\n\r\n\r", repeated(b"some text\n\r", 10 * MB)), True),
    ("one line of 50 MB", lambda: after(b"A: b\n\n", repeated(b"a", 50 * MB)), True),
    ("one header line of 50 MB", lambda: after(b"Subject: ", repeated(b"a", 50 * MB)), True),
    ("50 MB of LF", lambda: after(b"A: b\n\n", repeated(b"\n", 50 * MB)), True),
    ("a million header fields of four bytes", lambda: repeated(b"A:b\n", 4 * MB), True),
    ("a million header fields of one byte", lambda: repeated(b"A\n", 2 * MB), True),
    ("50 MB of parameters of one byte", lambda: after(b"Content-Type: x", repeated(b";a", 50 * MB)), True),
    ("10 MB of damaged encoded words", lambda: after(b"Subject: ", repeated(b"=?utf-8?Q?=ZZ?= ", 10 * MB)), True),
    ("10 MB of words of unreadable bytes", lambda: after(b"To: ", repeated(UNREADABLE, 10 * MB)), True),
    ("every charset name there is", charsets, True),
    ("parts nested 64 deep, 10 MB", lambda: nested(64, repeated(b"some text\n", 10 * MB)), True),
    ("parts nested 65 deep, 10 MB", lambda: nested(65, repeated(b"some text\n", 10 * MB)), True, "message_too_deep"),
    ("64 .eml within each other", lambda: attached(64, repeated(b"some text\n", 10 * MB)), True),
    ("65 .eml within each other", lambda: attached(65, repeated(b"some text\n", 10 * MB)), True, "message_too_deep"),
    ("64 .eml with boundaries", lambda: attached(64, repeated(b"some text\n", 10 * MB), boundary=b"b"), True),
    ("64 .eml of line ends", lambda: attached(64, repeated(b"\n", 10 * MB), ESCAPED), True),
    ("64 .eml of dashes", lambda: attached(64, repeated(b"--b\n", 10 * MB), ESCAPED, b"b"), True),
    ("64 .eml of damaged escapes", lambda: attached(64, repeated(b"a =ZZ b\n", 10 * MB), ESCAPED, b"x"), True),
    ("64 .eml of escapes of escapes", lambda: escapes_of_escapes(64, 10 * MB), True),
    ("a million parts of 100 bytes", lambda: parts(b"\n" + b"a" * 99 + b"\n", MB), True),
    ("240,000 parts with unreadable fields", lambda: parts(b"Content-Disposition: =?x?Q?=ZZ?=\n\nb\n", 240_000), False),
    ("a million parts of one byte", lambda: parts(b"\nb\n", MB), False),
    ("a million parts without a byte", lambda: parts(b"", MB), False),
    ("a million empty uuencoded files", lambda: after(b"A: b\n\n", repeated(b"begin 6 a\nend\n", 14 * MB)), False),
    ("a million recipients of four bytes", lambda: after(b"To: ", repeated(b"a@b,", 4 * MB)), False),
]


def scan(path):
    """What came of it (a probability, or the name of a status), seconds of processor time, peak memory in bytes."""
    with tempfile.NamedTemporaryFile("r") as used:
        # A process that Python starts counts Python's own peak as its own, so something small starts it.
        ran = subprocess.run(["time", "-q", "-f", "%U %S %M", "-o", used.name, "timeout", str(SECONDS), SCAN, path],
                             capture_output=True, check=False)
        user, system, peak = used.read().split()[-3:]
    out = ran.stdout.split()[0].decode() if ran.returncode == 0 and ran.stdout else ""
    status = re.search(rb": ([a-z_]+)", ran.stderr)
    answer = f"exit {ran.returncode}"
    if out.isdigit():
        answer = SCANNED
    elif ran.returncode == 1 and status:
        answer = status[1].decode()
    return answer, float(user) + float(system), int(peak) * 1024


def main():
    failures = 0
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "message.eml")
        pathlib.Path(path).write_bytes(b"A: b\n\nc\n")
        nothing = scan(path)[2]
        print(f"scanning next to nothing takes {nothing / MB:.0f} MB\n")
        print("| Message | MB | Status | s | Memory |\n|---|---:|---|---:|---:|")

        def row(label, size, answer, seconds, memory, complaint):
            nonlocal failures
            failures += bool(complaint)
            end = f" FAILED: {complaint}" if complaint else ""
            print(f"| {label} | {size} | {answer} | {seconds} | {memory} |{end}", flush=True)

        os.chmod(folder, 0o755)
        closed = os.path.join(folder, "closed")
        os.mkdir(closed, 0)
        user = {"user": 65534, "group": 65534, "extra_groups": []} if os.geteuid() == 0 else {}
        for label, name in (("a file that is not there", "missing.eml"), ("a directory without rights", "closed")):
            if FILTER.search(label):
                try:
                    ran = subprocess.run([SCAN, os.path.join(folder, name)], capture_output=True, check=False, **user)
                except PermissionError:
                    row(label, "", "not tried: the program stands where others may not run it", "", "", "")
                    continue
                told = ran.returncode == 1 and name.encode() in ran.stderr
                row(label, "", f"exit {ran.returncode}", "", "", "" if told else "should be told, and 1")
        for label, blocks, limited, *rest in INPUTS:
            if not FILTER.search(label):
                continue
            with open(path, "wb") as file:
                for block in blocks():
                    file.write(block)
            size = os.path.getsize(path)
            answer, seconds, peak = scan(path)
            multiple = max(0, peak - nothing) / size if size >= MB else None
            complaint = ""
            wanted = rest[0] if rest else SCANNED
            if answer != wanted:
                complaint = f"should be {wanted}"
            elif limited and multiple is not None and multiple > LIMIT:
                complaint = f"more than {LIMIT:.0f}"
            memory = "" if multiple is None else f"{multiple:.1f}"
            row(label, f"{size / MB:.1f}", answer, f"{seconds:.2f}", memory, complaint)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
