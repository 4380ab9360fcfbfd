#!/usr/bin/env python3
"""Scans the worst messages that are known and tells what each costs: bad_input.py BRMX_SCAN [FILTER]

Prints one row for each: size, status, processor time, that of the same message at 256 KiB, and the peak memory of the
process above that of scanning next to nothing, as a multiple of the message's size, the bytes of the file included.
Ends with 1 if a scan crashes, gives another status than it should, takes more than five minutes, or needs more than 12
times the size; 32 times where the message's structure is itself the bulk of it, and 320 MB for 10 MB of that. At 256 KiB no message may take more than
50 ms, and at its own size none more than that for each 256 KiB: who is slow there grows faster than the message.
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
CHARSET_TABLE = pathlib.Path(__file__).parent.parent / "foundation" / "text" / "charset_names.cpp"
MB = 1_000_000
LIMIT = 12.0
STRUCTURE_LIMIT = 32.0
PEAK = 320 * MB
SMALL = 262_144
SMALL_MS = 50.0
SMALL_SCANS = 8
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


def escapes_of_escapes(size, line=b"a line of text\n", boundary=b"", every=1):
    """64 .eml, every one or every second of which has to be decoded: an escape in it is one again after each decoding."""
    for link in range(64):
        own = b"; boundary=%s%d" % (boundary, link) if boundary else b""
        yield b"Content-Type: application/octet-stream; name=a.eml" + own + b"\n"
        yield (ESCAPED if link % every == 0 else b"") + b"\n"
    yield b"\n"
    yield from repeated(line, size)
    yield b"=" + b"3D" * 64 + b"\n"


def pairs(size):
    """Words of two letters, 338 different ones: each of the structures has nearly all of them."""
    words = b"".join(b"%c%c " % (97 + n % 26, 97 + n // 26) for n in range(338))
    yield from repeated(words, size)


def parts(piece, size):
    return after(b"Content-Type: multipart/mixed; boundary=a\n\n", repeated(b"--a\n" + piece, size))


def html(size, piece, text=b""):
    head = b"Content-Type: text/html\n\n" + text
    return after(head, repeated(piece, size - len(head)))


def two_bases(size):
    """Addresses hidden in two bases, and in each relative link behind them."""
    yield b"Content-Type: text/html\n\n"
    for end in b"xy":
        base = b"<base href='http:x%s%c'>" % (b"a.b.https:" * 20, end)
        yield base
        yield b"".join(b"<img src=%06x>" % number for number in range((size // 2 - len(base) - 25) // 16))


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


def words_of(size, charset, word):
    """A file name that has to be converted word by word, in the field that most is asked of."""
    head = b'Content-Type: text/plain; name="=?%s?Q?x?= ' % charset
    return after(head, repeated(word, size - len(head)))


UNREADABLE = b"=?shift_jis?B?gYL/?= <=?x?Q?=81?=>,"
ESCAPED = b"Content-Transfer-Encoding: quoted-printable\n"
PATHS = b"http:!%2:1f" * 5900
# A base whose own base and links make it longer than all relative links that follow may be together.
GROWING = b"<base href='http:<base href=b&gt;" + b"c" * 1800 + b">" + b"<a href=x>" * 85 + b"'><img src=y>"
BEGINNING = b"begin  \n" + b" \n" * 200 + b"\n"
TOO_DEEP = "message_too_deep"
STRUCTURE = STRUCTURE_LIMIT
# Label, size, the message of a size, and if they are others: the limit of its memory, what has to come of it.
INPUTS = [
    ("an empty file", 0, lambda size: []),
    ("10 MB of random bytes", 10 * MB, noise),
    ("10 MB of NUL bytes in text", 10 * MB, lambda size: repeated(b"a\0b\0\0\n", size)),
    ("10 MB of lines that end in CR", 10 * MB, lambda size: after(b"A: b\r\r", repeated(b"some text\r", size))),
    ("10 MB of lines that end in LF CR", 10 * MB, lambda size: after(b"A: b\n\r\n\r", repeated(b"some text\n\r", size))),
    ("one line of 50 MB", 50 * MB, lambda size: after(b"A: b\n\n", repeated(b"a", size))),
    ("one header line of 50 MB", 50 * MB, lambda size: after(b"Subject: ", repeated(b"a", size))),
    ("50 MB of LF", 50 * MB, lambda size: after(b"A: b\n\n", repeated(b"\n", size))),
    ("a Subject of 10 MB in place of a text", 10 * MB, lambda size: after(b"Subject: ", pairs(size))),
    ("a million header fields of four bytes", 4 * MB, lambda size: repeated(b"A:b\n", size)),
    ("a million header fields of one byte", 2 * MB, lambda size: repeated(b"A\n", size)),
    ("50 MB of parameters of one byte", 50 * MB, lambda size: after(b"Content-Type: x", repeated(b";a", size))),
    ("10 MB of damaged encoded words", 10 * MB, lambda size: after(b"Subject: ", repeated(b"=?utf-8?Q?=ZZ?= ", size))),
    ("10 MB of words of unreadable bytes", 10 * MB, lambda size: after(b"To: ", repeated(UNREADABLE, size))),
    ("10 MB of letters after a charset word", 10 * MB, lambda size: words_of(size, b"shift_jis", b"a ")),
    ("10 MB of Japanese letters between blanks", 10 * MB, lambda size: words_of(size, b"euc-jp", b"\xa4\xa2 ")),
    ("every charset name there is", None, lambda size: charsets()),
    ("parts nested 64 deep, 10 MB", 10 * MB, lambda size: nested(64, repeated(b"some text\n", size))),
    ("parts nested 65 deep, 10 MB", 10 * MB, lambda size: nested(65, repeated(b"some text\n", size)), LIMIT, TOO_DEEP),
    ("64 .eml within each other", 10 * MB, lambda size: attached(64, repeated(b"some text\n", size))),
    ("65 .eml within each other", 10 * MB, lambda size: attached(65, repeated(b"some text\n", size)), LIMIT, TOO_DEEP),
    ("64 .eml with boundaries", 10 * MB, lambda size: attached(64, repeated(b"some text\n", size), boundary=b"b")),
    ("64 .eml of line ends", 10 * MB, lambda size: attached(64, repeated(b"\n", size), ESCAPED)),
    ("64 .eml of dashes", 10 * MB, lambda size: attached(64, repeated(b"--b\n", size), ESCAPED, b"b")),
    ("64 .eml of damaged escapes", 10 * MB, lambda size: attached(64, repeated(b"a =ZZ b\n", size), ESCAPED, b"x")),
    ("64 .eml of escapes of escapes", 10 * MB, escapes_of_escapes),
    ("the same, with damaged escapes", 10 * MB, lambda size: escapes_of_escapes(size, b"=Z\n", b"x")),
    ("the same, with lines of dashes", 10 * MB, lambda size: escapes_of_escapes(size, b"--x\n", b"x")),
    ("the same, with line ends", 10 * MB, lambda size: escapes_of_escapes(size, b"\n")),
    ("every second one, with uuencoded files", 10 * MB, lambda size: escapes_of_escapes(size, BEGINNING, every=2)),
    ("a million parts of 100 bytes", 105 * MB, lambda size: parts(b"\n" + b"a" * 99 + b"\n", size)),
    ("240,000 parts with unreadable fields", 9 * MB,
     lambda size: parts(b"Content-Disposition: =?x?Q?=ZZ?=\n\nb\n", size), STRUCTURE),
    ("a million parts of one byte", 7 * MB, lambda size: parts(b"\nb\n", size), STRUCTURE),
    ("a million parts without a byte", 4 * MB, lambda size: parts(b"", size), STRUCTURE),
    ("10 MB of parts without a byte, --json", 10 * MB, lambda size: parts(b"", size), STRUCTURE),
    ("a million parts of a field of one byte", 6 * MB, lambda size: parts(b"A\n", size), STRUCTURE),
    ("500,000 parts of a type of one byte", 9 * MB, lambda size: parts(b"Content-Type:a\n", size), STRUCTURE),
    ("300,000 parts of that and 10 bytes", 9 * MB, lambda size: parts(b"Content-Type:a\n\n0123456789\n", size), STRUCTURE),
    ("a million empty uuencoded files", 14 * MB,
     lambda size: after(b"A: b\n\n", repeated(b"begin 6 a\nend\n", size)), STRUCTURE),
    ("256 KiB, paths in the place of hosts", SMALL, lambda size: html(size, b"<b>", PATHS)),
    ("256 KiB of bases that grow", SMALL, lambda size: html(size, GROWING)),
    ("256 KiB of links behind two bases", SMALL, two_bases),
    ("a million recipients of four bytes", 4 * MB, lambda size: after(b"To: ", repeated(b"a@b,", size)), STRUCTURE),
    ("five million recipients of two bytes", 10 * MB, lambda size: after(b"To: ", repeated(b"a,", size)), STRUCTURE),
]


def scan(path, options):
    """What came of it (a probability, or the name of a status), seconds of processor time, peak memory in bytes."""
    with tempfile.NamedTemporaryFile("r") as used:
        # A process that Python starts counts Python's own peak as its own, so something small starts it.
        ran = subprocess.run(["time", "-q", "-f", "%U %S %M", "-o", used.name, "timeout", str(SECONDS), SCAN, *options, path],
                             capture_output=True, check=False)
        user, system, peak = used.read().split()[-3:]
    found = re.match(rb'\s*(\d+) |.{,1000}"probability": (\d+)', ran.stdout)
    status = re.search(rb": ([a-z_]+)", ran.stderr)
    answer = f"exit {ran.returncode}"
    if ran.returncode == 0 and found:
        answer = SCANNED
    elif ran.returncode == 1 and status:
        answer = status[1].decode()
    return answer, float(user) + float(system), int(peak) * 1024

DEFAULTS = (LIMIT, SCANNED)


def milliseconds(paths):
    before = os.times()
    subprocess.run([SCAN, "--jobs", "1", *paths], capture_output=True, check=False)
    after_it = os.times()
    used = after_it.children_user + after_it.children_system - before.children_user - before.children_system
    return used * 1000


def write(path, blocks):
    with open(path, "wb") as file:
        for block in blocks:
            file.write(block)


def main():
    failures = 0
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "message.eml")
        pathlib.Path(path).write_bytes(b"A: b\n\nc\n")
        nothing = scan(path, [])[2]
        print(f"scanning next to nothing takes {nothing / MB:.0f} MB\n")
        print("| Message | MB | Status | s | ms at 256 KiB | Memory |\n|---|---:|---|---:|---:|---:|")

        def row(label, size, answer, seconds, small, memory, complaint):
            nonlocal failures
            failures += bool(complaint)
            end = f" FAILED: {complaint}" if complaint else ""
            print(f"| {label} | {size} | {answer} | {seconds} | {small} | {memory} |{end}", flush=True)

        os.chmod(folder, 0o755)
        closed = os.path.join(folder, "closed")
        os.mkdir(closed, 0)
        user = {"user": 65534, "group": 65534, "extra_groups": []} if os.geteuid() == 0 else {}
        for label, name in (("a file that is not there", "missing.eml"), ("a directory without rights", "closed")):
            if FILTER.search(label):
                try:
                    ran = subprocess.run([SCAN, os.path.join(folder, name)], capture_output=True, check=False, **user)
                except PermissionError:
                    row(label, "", "not tried: the program stands where others may not run it", "", "", "", "")
                    continue
                told = ran.returncode == 1 and name.encode() in ran.stderr
                row(label, "", f"exit {ran.returncode}", "", "", "", "" if told else "should be told, and 1")
        empty = os.path.join(folder, "empty.eml")
        write(empty, [])
        for label, wanted_size, message, limit, wanted in ((*row_of, *DEFAULTS[len(row_of) - 3:]) for row_of in INPUTS):
            if not FILTER.search(label):
                continue
            small = None
            if wanted_size:
                write(path, message(SMALL))
                # What starting takes is no part of a scan, and the least of three is the one least disturbed.
                start, all_of_it = (min(milliseconds([one] * SMALL_SCANS) for _ in range(3)) for one in (empty, path))
                small = max(0.0, all_of_it - start) / SMALL_SCANS
            write(path, message(wanted_size))
            size = os.path.getsize(path)
            options = ["--json"] if "--json" in label else []
            answer, seconds, peak = scan(path, options)
            multiple = max(0, peak - nothing) / size if size > SMALL * 0.9 else None
            complaint = ""
            if answer != wanted:
                complaint = f"should be {wanted}"
            elif multiple is not None and multiple > limit:
                complaint = f"more than {limit:.0f}"
            elif size <= 10 * MB and peak > PEAK:
                complaint = f"more than {PEAK // MB} MB"
            elif small is not None and small > SMALL_MS:
                complaint = f"more than {SMALL_MS:.0f} ms"
            elif not options and seconds * 1000 > SMALL_MS * max(size, SMALL) / SMALL: # who writes is no scan
                complaint = "grows faster than the message"
            row(label, f"{size / MB:.1f}", answer, f"{seconds:.2f}", "" if small is None else f"{small:.1f}",
                "" if multiple is None else f"{multiple:.1f}", complaint)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
