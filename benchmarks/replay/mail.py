"""The mail of a replay: real messages in the order of their arrival, and which of them are copies of others."""
from __future__ import annotations

import email
import email.policy
import email.utils
import pathlib
import re
from dataclasses import dataclass, field


@dataclass
class Message:
    path: pathlib.Path
    raw: bytes
    spam: bool
    time: int  # of its arrival, seconds since 1970
    mailbox: int = 0
    alone: int = 0  # the probability without the community
    signatures: list[tuple[str, str]] = field(default_factory=list)


def _seconds(text: str) -> int | None:
    try:
        return int(email.utils.parsedate_to_datetime(text.strip()).timestamp())
    except (ValueError, TypeError, IndexError, OverflowError):
        return None


def arrival(raw: bytes) -> int:
    """The date of the topmost Received field that has one, or else of the Date field; 0 without any."""
    head = re.split(rb"\r?\n\r?\n", raw, maxsplit=1)[0].decode("latin-1")
    fields = re.sub(r"\r?\n[ \t]+", " ", head).splitlines()
    received = [line.rpartition(";")[2] for line in fields if line.lower().startswith("received:")]
    dates = [line.partition(":")[2] for line in fields if line.lower().startswith("date:")]
    return next((time for text in received + dates if (time := _seconds(text)) and time > 0), 0)


def read(folder: str, spam: bool) -> list[Message]:
    found = []
    for path in sorted(pathlib.Path(folder).rglob("*")):
        if path.is_file() and path.suffix != ".json" and path.name != "cmds":
            raw = path.read_bytes()
            found.append(Message(path, raw, spam, arrival(raw)))
    return found


def in_order(messages: list[Message], mailboxes: int) -> list[Message]:
    ordered = sorted(messages, key=lambda message: (message.time, message.path.name))
    for place, message in enumerate(ordered):
        message.mailbox = place % mailboxes
    return ordered


def _shown_text(raw: bytes) -> str:
    """What a reader sees, roughly: by means that have nothing in common with the library's."""
    message = email.message_from_bytes(raw, policy=email.policy.compat32)
    texts = []
    for part in message.walk():
        if part.get_content_maintype() == "text":
            payload = part.get_payload(decode=True) or b""
            texts.append(payload.decode("latin-1"))
    text = re.sub(r"(?is)<(script|style).*?</\1>", " ", "\n".join(texts))
    return re.sub(r"<[^>]*>", " ", text).lower()


def _shingles(raw: bytes) -> set[int]:
    words = re.findall(r"\w+", _shown_text(raw))
    return {hash(tuple(words[i:i + 4])) for i in range(len(words) - 3)}


def copies(messages: list[Message], reported_after: int) -> set[int]:
    """The places of the spam of which a near copy had been reported when it came: Jaccard of the sets of four words
    in a row 0.8 and more."""
    spam = [(place, message, _shingles(message.raw)) for place, message in enumerate(messages) if message.spam]
    by_shingle: dict[int, list[int]] = {}
    found = set()
    for number, (place, message, own) in enumerate(spam):
        shared: dict[int, int] = {}
        for shingle in own:
            for other in by_shingle.get(shingle, ()):
                shared[other] = shared.get(other, 0) + 1
        for other, count in shared.items():
            _, original, theirs = spam[other]
            if original.time + reported_after <= message.time and count >= 0.8 * (len(own) + len(theirs) - count):
                found.add(place)
                break
        for shingle in own:
            by_shingle.setdefault(shingle, []).append(number)
    return found
