#!/usr/bin/env python3
"""Turns the word lists into the constant data that the library reads its dictionaries from.

    generate.py FOLDER OUTPUT     reads FOLDER/LCID.txt for every language below, writes the C++ source OUTPUT

A list that breaks a rule ends the run with status 1 and one message, "FILE:LINE: what is wrong", and no output.

A word is stored as one header byte and its new bytes. The high half of the header says how many leading bytes of the word
before stay, the low half how many new bytes follow. A zero header ends a chunk; the word before is carried over from chunk
to chunk, and each language starts afresh.
"""

import pathlib
import sys

# LCID and number of chunks. The order is that of the index.
LANGUAGES = {
    1029: 7, 1030: 5, 1031: 4, 1035: 4, 1036: 4, 1038: 3, 1040: 4, 1043: 4, 1044: 6, 1045: 8, 1046: 7, 1053: 4, 1055: 3,
    1066: 7, 2057: 5, 2070: 6, 3082: 4,
}  # fmt: skip
LARGEST_CHUNK = 2058  # with the zero header at its end
LARGEST_COUNT = 15  # what half a header byte holds
SHORTEST_WORD, LONGEST_WORD = 3, 20


class ListError(Exception):
    """What is wrong with a list, as FILE:LINE: text."""

    def __init__(self, path, line, text):
        super().__init__(f"{path}:{line}: {text}")


def check_word(path, line, word, previous):
    """Raises ListError unless word may stand behind previous."""
    if not SHORTEST_WORD <= len(word) <= LONGEST_WORD:
        raise ListError(path, line, f"a word of {len(word)} bytes, must be {SHORTEST_WORD} to {LONGEST_WORD}")
    try:
        text = word.decode("utf-8")
    except UnicodeDecodeError:
        raise ListError(path, line, "not valid UTF-8") from None
    if any(letter.isspace() or ord(letter) < 0x20 or 0x7F <= ord(letter) < 0xA0 for letter in text):
        raise ListError(path, line, "white space or a control character in the word")
    if any(0x41 <= byte <= 0x5A for byte in word):
        raise ListError(path, line, "a capital letter: the detector looks up a to z only")
    if word == previous:
        raise ListError(path, line, "the same word as in the line before")
    if word < previous:
        raise ListError(path, line, "out of order: the word must stand above the line before")


def encode_entry(path, line, word, previous):
    """The header byte and the new bytes of word."""
    shared = 0
    while shared < min(len(word), len(previous), LARGEST_COUNT) and word[shared] == previous[shared]:
        shared += 1
    if len(word) - shared > LARGEST_COUNT:
        raise ListError(path, line, f"{len(word) - shared} new bytes behind {shared} shared ones, {LARGEST_COUNT} fit")
    return bytes([shared << 4 | len(word) - shared]) + word[shared:]


def read_entries(path):
    """The entries of one list file, in its order."""
    lines = path.read_bytes().split(b"\n")  # not splitlines(): that would also cut at U+0085 and its like
    if not lines[-1]:
        lines.pop()
    entries, previous = [], b""
    for line, word in enumerate(lines, 1):
        check_word(path, line, word, previous)
        entries.append(encode_entry(path, line, word, previous))
        previous = word
    return entries


def size(entries):
    return sum(map(len, entries))


def cut_before(chunk, at):
    """The last place up to `at` to cut a chunk: only a language's first chunk may begin with a prefix of zero."""
    while at > 0 and chunk[at][0] < 0x10:
        at -= 1
    return at


def divide(path, entries, count):
    """The entries as exactly `count` runs, none too large for a chunk."""
    # Filled to the brim, and only then halved where chunks are left over: some lists leave a dozen bytes free in all.
    chunks, used = [[]], 1
    for line, entry in enumerate(entries, 1):
        chunks[-1].append(entry)
        used += len(entry)
        if used <= LARGEST_CHUNK:
            continue
        at = cut_before(chunks[-1], len(chunks[-1]) - 1)
        if len(chunks) == count or at == 0:
            raise ListError(path, line, f"no room: the list is to fit in {count} chunks of {LARGEST_CHUNK} bytes")
        chunks.append(chunks[-1][at:])
        del chunks[-2][at:]
        used = 1 + size(chunks[-1])
    while len(chunks) < count:
        largest = max(range(len(chunks)), key=lambda i: size(chunks[i]))
        chunk = chunks[largest]
        at = cut_before(chunk, len(chunk) // 2) if len(chunk) > 1 else 0
        if at == 0:
            raise ListError(path, len(entries) + 1, f"the list ends here, too short for {count} chunks")
        chunks[largest : largest + 1] = [chunk[:at], chunk[at:]]
    return chunks


def literal(entry):
    """An entry as a string literal. Octal escapes of three digits: a hexadecimal one would swallow the letters behind."""
    plain = set(range(0x20, 0x7F)) - set(b'"\\?')
    return '"' + "".join(chr(byte) if i and byte in plain else f"\\{byte:03o}" for i, byte in enumerate(entry)) + '"'


def source_lines(chunks_of):
    yield "// Made by language/word_lists/generate.py from the lists beside it. Mend those, not this."
    yield '#include "language/dictionary_data.h"'
    yield "namespace brimwarden::language {"
    yield "namespace {"
    for lcid, chunks in chunks_of.items():
        for number, chunk in enumerate(chunks):
            yield f"constexpr char words_{lcid}_{number}[] = // {size(chunk) + 1} bytes"
            yield "\n".join("".join(map(literal, chunk[i : i + 8])) for i in range(0, len(chunk), 8)) + ";"
            yield f"static_assert(sizeof words_{lcid}_{number} <= {LARGEST_CHUNK});"
    yield "} // namespace"
    yield "const dictionary_row dictionary_index[] = {"
    for lcid, chunks in chunks_of.items():
        for number in range(len(chunks)):
            yield f"{{{lcid}, words_{lcid}_{number}}},"
    yield "{0, nullptr}};"
    yield "} // namespace brimwarden::language"


def main(folder, output):
    try:
        chunks_of = {}
        for lcid, count in LANGUAGES.items():
            path = pathlib.Path(folder) / f"{lcid}.txt"
            chunks_of[lcid] = divide(path, read_entries(path), count)
    except (ListError, OSError) as error:
        print(error, file=sys.stderr)
        return 1
    pathlib.Path(output).write_text("\n".join(source_lines(chunks_of)) + "\n", encoding="ascii")
    return 0


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    sys.exit(main(sys.argv[1], sys.argv[2]))
