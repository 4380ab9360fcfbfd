"""Feeds lists with one fault each to the generator: it has to name the file and the line, and write nothing.

    generate_test.py SOURCE_FOLDER
"""

import pathlib
import shutil
import subprocess
import sys
import tempfile

LISTS = pathlib.Path(sys.argv[1]) / "language" / "word_lists"

# An entry takes 15 bytes, and 16 where the first letter is new; 136 words fill each of the four chunks.
LETTERS = "abcdefghijklmnopqrstuvwxyz"
TOO_MANY = "".join(first + second + "x" * 13 + "\n" for first in LETTERS for second in LETTERS)

# Label, the whole German list, the line of the message and a piece of it.
FAULTS = [
    ("order is by bytes, not by letters", "ähnlich\nzeit\nzwei\n", 2, "out of order"),
    ("the same word twice", "aber\nalle\nalle\nauch\n", 3, "same word"),
    ("bytes count, not letters", "aber\nbä\nä\n", 3, "2 bytes"),
    ("21 bytes", "aber\n" + "b" * 21 + "\n", 2, "21 bytes"),
    ("empty last line", "aber\nalle\nauch\nbald\n\n", 5, "0 bytes"),
    ("16 new bytes after 4 shared ones", "aber\nabersechzehnneuebyte\nccc\n", 2, "16 new bytes"),
    ("a stored prefix ends at 15", "a" * 15 + "\n" + "a" * 15 + "b" * 5 + "\n" + "a" * 15 + "bx\nxy\n", 4, "2 bytes"),
    ("a capital", "Aber\nbald\n", 1, "capital"),
    ("line end of two bytes", "aber\r\nalle\r\n", 1, "white space"),
    ("no-break space", "aber\nall\u00a0es\n", 2, "white space"),
    ("a character cut off at the end", b"aber\nb\xc3\xa4\xc3\n", 2, "UTF-8"),
    ("fewer words than chunks", "aber\nalle\nauch\n", 4, "too short"),
    ("no word", "", 1, "too short"),
    ("a word without room", TOO_MANY, 545, "no room"),
]


def run(folder, words):
    output = folder / "out.cpp"
    (folder / "1031.txt").write_bytes(words)
    command = [sys.executable, str(folder / "generate.py"), str(folder), str(output)]
    done = subprocess.run(command, capture_output=True, text=True, encoding="utf-8", check=False)
    return done.stderr, output.read_text(encoding="ascii") if output.exists() else ""


with tempfile.TemporaryDirectory() as scratch:
    copied = pathlib.Path(scratch)
    shutil.copytree(LISTS, copied, dirs_exist_ok=True)
    for label, words, line, text in FAULTS:
        message, written = run(copied, words if isinstance(words, bytes) else words.encode())
        told = message.startswith(f"{copied / '1031.txt'}:{line}: ") and text in message
        assert told and not written, f"{label}: {message}"
    # A byte order mark belongs to its word.
    message, written = run(copied, (LISTS / "1031.txt").read_bytes() + b"\xef\xbb\xbfwort\n")
    assert not message and r'"\007\357\273\277wort"' in written, message
