#!/usr/bin/env python3
"""Makes the seeds of the fuzz targets from the messages in samples/: make_seeds.py SAMPLES FOLDER.

Each target finds its seeds in FOLDER/TARGET, in the form that the target reads. FOLDER/large/TARGET gets inputs of the
greatest size, which no fuzzer comes to by itself in minutes: entries of the target's dictionary over and over.
"""

import base64
import email
import email.policy
import itertools
import pathlib
import random
import re
import sys


def packet(payload):
    """A reply of a server behind a sixteen byte header, as the target for packets and a raw answer take it."""
    return b"RVN\x03\x42\x00" + b"0123456789" + payload


def number(value):
    groups = [value & 0x7F]
    while value := value >> 7:
        groups.append(0x80 | value & 0x7F)
    return bytes(reversed(groups))


def entry(*numbers):
    return b"".join(number(n) for n in numbers)


# What a server says about the signatures of a query, good and bad.
ANSWERS = (
    b"",
    b"\x00" * 3,
    b"\x00" * 40,
    entry(1, 9, 1, 4, 50, 1, 3) + b"\x00" * 20,
    entry(1, 9, 1, 2, 0, 90, 3) + entry(2, 10, 300, 1, 0, 0, 0) + b"\x00" * 10,
    entry(22, 1 << 40, 1, 0, 2**32, 2**63, 1),
)


def units(text):
    """Bytes for units below 0xFF; 0xFF in front of the low byte of any other."""
    return b"".join(bytes([u]) if (u := ord(c)) < 0xFF else bytes([0xFF, u & 0xFF]) for c in text)


def texts(message):
    for part in message.walk():
        if part.get_content_maintype() == "text":
            data = part.get_payload(decode=True) or b""
            try:
                yield part.get_content_subtype(), data.decode(part.get_content_charset() or "latin-1", "replace")
            except LookupError:
                yield part.get_content_subtype(), data.decode("latin-1")


def scans(raw):
    for how, answer in enumerate(ANSWERS):
        yield bytes([how & 3 | 0x74, 0]) + len(answer).to_bytes(2, "little") + answer + raw
    yield bytes([3, 0]) + len(packet(ANSWERS[3])).to_bytes(2, "little") + packet(ANSWERS[3]) + raw
    yield b"\x14\x02\x00\x00" + raw


def call_sequences(raw):
    """By the places of the calls in the target's list."""
    create = b"\x00\x00\x00" + len(raw[:4095]).to_bytes(2, "little") + raw[:4095]
    scan, trace, languages, destroy = b"\x04\x00", b"\x03\x00\x01\x02\xff\x00", b"\x05\x00\x00", b"\x02\x00"
    group = b"\x11\x00\x00\x00\x00\x00"
    answer = b"\x12\x01\x00\x08" + ANSWERS[3][:8]
    credentials, report, statistics = b"\x07\x00\x01\x02\x00\x00\x00\x07\x00\x00\x00", b"\x08\x00\x00\x01", b"\x09\x00" + b"\x01" * 12
    virus, state, information, health = b"\x0a\x00", b"\x0b\xff\x00", b"\x0f\x01", b"\x10\x00\x01"
    yield create + scan + trace + languages + trace + destroy + scan
    yield create + group + answer + credentials + scan + report + statistics + health + state + destroy
    yield create + create + virus + information + destroy + trace + b"\x01\x00" + scan + b"\x01\x01\x03abc" + b"\x06\x01\x1f\x01"


STATES = ("1\rA\r\rA\r", "1\rF\r\rA\r1\rK\r\rA\r", "1\rB=A\r\rA\r", "1\r!\r\rA\r", "1\rBAA\rlocalhost\rA\r", "2\rA\r\rA\r", "1\rEAAAAB\r\r", "")


# Messages whose rendering could be many times their size.
GROWING = (
    b"Content-Type:\n" * 5000 + b"Content-Type:a;boundary=" + b"b" * 70000,  # a boundary for many fields
    b"Content-Type:\n" * 5000 + b'Content-Type:a;boundary="=?utf-8?Q?' + b"=E2=82=AC" * 9000 + b'?="',
    b'Content-Type:a;b="=?' + b"x" * 70000 + b'?Q?=E9?="' + b";b=\xe9" * 20000,  # a charset for many parameters
    b"\n" + b"begin  \nend\n" * 20000,  # empty files
    b"Content-Type:x;boundary=a\n\nbegin  \nend\n" + b"--a\n" * 50000,
    b"Content-Type:multipart/x;boundary=a\n\n" + b"--a\n\nbegin  \nend\n" * 20000,
    b"content-transfer-encoding: quoted-printable\n\n" + b"\xff" * 200000,
)


def seeds(raw):
    message = email.message_from_bytes(raw, policy=email.policy.compat32)
    for target in ("mime_loader", "rendering"):
        yield target, raw
    for made in scans(raw):
        yield "scan", made
    for made in call_sequences(raw):
        yield "exports", made
    for name, value in message.items():
        if name.lower() in ("from", "to", "subject", "content-type", "received", "content-disposition"):
            yield "header_values", str(value).encode("latin-1", "replace")
    for subtype, text in texts(message):
        if subtype == "html":
            yield "html_conversion", units(text)
        yield "uri_extraction", units(text)
        yield "language_detection", text.encode("utf-16-le", "replace")
        for mode in (b"\0", b"\1"):
            yield "text_reduction", mode + text.encode("utf-16-le", "replace")
    for part in message.walk():
        if not part.is_multipart():
            yield "coding", str(part.get_payload()).encode("latin-1", "replace")[:4096]
    yield "coding", base64.b64encode(raw[:300])


def fixed_seeds():
    for state in STATES:
        yield "state_text", b"\0" + state.encode("ascii")
        yield "state_text", b"\1" + state.encode("utf-16-le")
    for answer in ANSWERS:
        yield "packet", packet(answer)
    for message in GROWING:
        yield "rendering", message


LARGEST = 262144

# What stands in front of the repetition, so that it comes to where it can hurt.
HEADS = {
    "mime_loader": (b"", b"Content-Type: multipart/mixed; boundary=b\n\n"),
    "rendering": (b"", b"Content-Type: multipart/mixed; boundary=b\n\n"),
    "scan": (b"\x04\x00\x00\x00", b"\x04\x00\x00\x00Subject: ", b"\x24\x00\x00\x00Content-Type: text/html\n\n"),
}


def entries_of(dictionary):
    written = re.findall(r'^"(.*)"$', dictionary.read_text(encoding="utf-8"), re.MULTILINE)
    return [entry.encode("latin-1").decode("unicode_escape").encode("latin-1") for entry in written]


def large_inputs(dictionary):
    chance = random.Random(dictionary.name)
    entries = entries_of(dictionary)
    repeated = chance.sample(entries, min(6, len(entries)))
    repeated += [first + second for first, second in (chance.sample(entries, 2) for _ in range(4))]
    repeated += [b"".join(chance.choices(entries, k=500)) for _ in range(2)]
    for head in HEADS.get(dictionary.stem, (b"",)):
        for entry in repeated:
            yield (head + entry * (LARGEST // len(entry) + 1))[:LARGEST]


def combined(dictionary, count):
    """Few entries in many orders, short enough for the comparison with the literal rules that a target makes."""
    chance = random.Random(dictionary.name)
    entries = entries_of(dictionary)
    for _ in range(count):
        chosen = chance.sample(entries, 7) + [b" ", b"a.b", b"x", b"/", b"4", b"1"]
        yield b" ".join(b"http:x" + b"".join(chance.choices(chosen, k=20)) for _ in range(8))[:1000]


def write_large(folder):
    for count, content in enumerate(combined(pathlib.Path(__file__).with_name("uri_extraction.dict"), 500)):
        (folder / "uri_extraction" / f"combined_{count:03}").write_bytes(content)
    for dictionary in sorted(pathlib.Path(__file__).parent.glob("*.dict")):
        place = folder / "large" / dictionary.stem
        place.mkdir(parents=True, exist_ok=True)
        for count, content in enumerate(large_inputs(dictionary)):
            (place / f"{count:03}").write_bytes(content)


def main():
    samples, folder = map(pathlib.Path, sys.argv[1:])
    paths = sorted(samples.rglob("*.eml"))
    made = itertools.chain(fixed_seeds(), *(seeds(path.read_bytes()) for path in paths))
    for count, (target, content) in enumerate(made):
        place = folder / target
        place.mkdir(parents=True, exist_ok=True)
        (place / f"{count:05}").write_bytes(content)
    write_large(folder)


if __name__ == "__main__":
    main()
