#!/usr/bin/env python3
"""Runs the examples as a user does: examples_test.py SAMPLES BRMX-SCAN SCAN_ONE SCAN_SOME [EMULATOR]"""

import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

SAMPLES = sorted(pathlib.Path(sys.argv[1]).rglob("*.eml"))
BRMX_SCAN, SCAN_ONE, SCAN_SOME = sys.argv[2:5]
EMULATOR = sys.argv[5:]
DEEP = b"Content-Type: message/rfc822\r\n\r\n" * 66


def run(program, *arguments, given=b""):
    ran = subprocess.run([*EMULATOR, program, *map(str, arguments)], input=given, capture_output=True, check=False)
    return ran.returncode, *(out.decode("utf-8").replace("\r\n", "\n") for out in (ran.stdout, ran.stderr))


def answers(*arguments, given=b""):
    """What the command line tool says: a result for each message."""
    return [json.loads(line) for line in run(BRMX_SCAN, "--json", *arguments, given=given)[1].splitlines()]


def shown(lines):
    """As scan_one shows them: control characters are blanks, and halves of characters are replaced."""
    controls = {c: " " for c in (*range(0x20), *range(0x7F, 0xA0))} | {c: "\ufffd" for c in range(0xD800, 0xE000)}
    return "".join(("    " * indent + text.translate(controls) if text else "") + "\n" for indent, text in lines)


class scan_one(unittest.TestCase):
    def test_prints_what_the_command_line_tool_prints(self):
        for answer in answers(*SAMPLES[::9]):
            with self.subTest(path=answer["file"]):
                expected = f"{answer['probability']}\n" + shown(answer["trace"])
                self.assertEqual(run(SCAN_ONE, answer["file"]), (0, expected, ""))

    def test_takes_any_name_and_prints_any_text(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "a b \u00e4\u6f22\U0001f600.eml"
            # A long name, to make the line's buffer grow, with a control character, half a character and a whole one.
            path.write_bytes(b'Content-Disposition: x; filename="=?utf-7?Q?+2AA-?= =?utf-8?Q?=1B[2J=F0=9F=98=80?= ' +
                             b"x" * 500 + b'"\r\n\r\n')
            status, out, error = run(SCAN_ONE, path)
            self.assertEqual((status, error), (0, ""))
            self.assertEqual(out, "100\n" + shown(answers(path)[0]["trace"]))
            self.assertIn("\ufffd [2J\U0001f600 " + "x" * 500, out)
            self.assertEqual(run(SCAN_SOME, path)[0], 0)

    def test_says_what_went_wrong(self):
        with tempfile.TemporaryDirectory() as folder:
            missing = pathlib.Path(folder) / "missing.eml"
            cases = [((missing,), b"", 1, "the message cannot be opened: file_not_loaded"),
                     ((), DEEP, 1, "the message cannot be opened: message_too_deep"),
                     (("a", "b"), b"", 2, "usage: ")]
            for arguments, given, status, told in cases:
                with self.subTest(told=told):
                    ended, out, error = run(SCAN_ONE, *arguments, given=given)
                    self.assertEqual((ended, out), (status, ""))
                    self.assertIn(told, error)


class scan_some(unittest.TestCase):
    def test_answers_in_the_order_of_the_files(self):
        files = SAMPLES[::5]
        expected = ""
        for answer in answers("--languages", *files):
            expected += f"{answer['probability']} {answer['file']}\n"
            texts = [text for _, text in answer["trace"]]
            found = texts[texts.index("Test Results:") + 1:] if "Test Results:" in texts else [""]
            expected += "".join(f"    {text}\n" for text in found[:found.index("")])
            expected += "".join(f"    language {l['lcid']}: {l['relevance']} letters\n" for l in answer["languages"])
        self.assertEqual(run(SCAN_SOME, *files), (0, expected, ""))

    def test_goes_on_after_a_failure(self):
        status, out, error = run(SCAN_SOME, "missing.eml", SAMPLES[0])
        self.assertEqual((status, error), (1, "missing.eml: cannot be read\n"))
        self.assertIn(f" {SAMPLES[0]}\n", out)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
