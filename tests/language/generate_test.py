"""Feeds lists with one fault each to the generator: it has to name the file and the line, and write nothing.

    generate_test.py SOURCE_FOLDER
"""

import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

LISTS = pathlib.Path(sys.argv.pop()) / "language" / "word_lists"

# Label, the whole German list, the line of the message and a piece of it.
FAULTS = [
    ("out of order", "aber\nalle\nalarm\nauch\n", 3, "out of order"),
    ("order is by bytes, not by letters", "ähnlich\nzeit\nzwei\n", 2, "out of order"),
    ("twice", "aber\nalle\nalle\nauch\n", 3, "same word"),
    ("two bytes", "aber\nab\nauch\n", 2, "2 bytes"),
    ("bytes count, not letters", "aber\nbä\nä\n", 3, "2 bytes"),
    ("21 bytes", "aber\n" + "b" * 21 + "\n", 2, "21 bytes"),
    ("empty line", "aber\n\nauch\n", 2, "0 bytes"),
    ("empty last line", "aber\nalle\nauch\nbald\n\n", 5, "0 bytes"),
    ("16 new bytes", "aber\nbbbbbbbbbbbbbbbb\nccc\n", 2, "16 new bytes"),
    ("16 new bytes behind 4 shared ones", "aber\nabersechzehnneuebyte\nccc\n", 2, "16 new bytes"),
    ("a stored prefix ends at 15", "a" * 15 + "\n" + "a" * 15 + "b" * 5 + "\n" + "a" * 15 + "bx\nxy\n", 4, "2 bytes"),
    ("capital", "Aber\nbald\n", 1, "capital"),
    ("line end of two bytes", "aber\r\nalle\r\n", 1, "white space"),
    ("blank behind", "aber \nalle\n", 1, "white space"),
    ("no-break space", "aber\nall\u00a0es\n", 2, "white space"),
    ("not UTF-8", b"aber\nb\xe4r\n", 2, "UTF-8"),
    ("a character cut at the end", b"aber\nb\xc3\xa4\xc3\n", 2, "UTF-8"),
    ("mark at the front", "\ufeffaber\nalle\n", 2, "out of order"),
    ("fewer words than chunks", "aber\nalle\nauch\n", 4, "too short"),
    ("nothing", "", 1, "too short"),
]


def run(folder):
    output = folder / "out.cpp"
    command = [sys.executable, str(folder / "generate.py"), str(folder), str(output)]
    done = subprocess.run(command, capture_output=True, text=True, encoding="utf-8", check=False)
    return done, output


class Generator(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = pathlib.Path(scratch.name)
        for file in LISTS.iterdir():
            if file.is_file():
                shutil.copy(file, self.folder)
        self.german = self.folder / "1031.txt"

    def refused(self, line, text):
        done, output = run(self.folder)
        self.assertEqual(done.returncode, 1, done.stderr)
        self.assertTrue(done.stderr.startswith(f"{self.german}:{line}: "), done.stderr)
        self.assertIn(text, done.stderr)
        self.assertFalse(output.exists())

    def test_names_the_line_of_a_fault(self):
        for label, words, line, text in FAULTS:
            with self.subTest(label):
                self.german.write_bytes(words if isinstance(words, bytes) else words.encode())
                self.refused(line, text)

    def test_names_the_first_word_without_room(self):
        # An entry takes 15 bytes, and 16 where the first letter is new. 136 words fill each of the four chunks.
        letters = "abcdefghijklmnopqrstuvwxyz"
        words = [first + second + "x" * 13 for first in letters for second in letters]
        self.german.write_text("\n".join(words) + "\n", encoding="ascii")
        self.refused(545, "no room")

    def test_takes_a_word_that_begins_with_a_byte_order_mark(self):
        self.german.write_bytes(self.german.read_bytes() + b"\xef\xbb\xbfwort\n")
        done, output = run(self.folder)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertIn(r'"\007\357\273\277wort"', output.read_text(encoding="ascii"))

    def test_a_missing_list_stops_it(self):
        self.german.unlink()
        done, output = run(self.folder)
        self.assertEqual(done.returncode, 1)
        self.assertIn("1031.txt", done.stderr)
        self.assertFalse(output.exists())


if __name__ == "__main__":
    unittest.main()
