#!/usr/bin/env python3
"""Runs brmx-scan as a user does: brmx_scan_test.py SAMPLES COMMAND [WORD...]"""

import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

SAMPLES = pathlib.Path(sys.argv[1])
COMMAND = sys.argv[2:]
MARKED = str(SAMPLES / "already-processed.eml")
ZIPPED = str(SAMPLES / "attachments.eml")


def run(*arguments, given=b""):
    ran = subprocess.run([*COMMAND, *arguments], input=given, capture_output=True, check=False)
    return ran.returncode, ran.stdout.decode("utf-8"), ran.stderr.decode("utf-8", "replace")


class brmx_scan(unittest.TestCase):
    def test_wrong_usage_is_told_and_ends_with_2(self):
        for arguments in [(), ("--nonsense", MARKED), ("--jobs",), ("--jobs", "0", MARKED), ("--jobs", "x", MARKED),
                          ("--credentials", "1:x:y", MARKED), ("--timeout=-1", MARKED), ("--state=", MARKED)]:
            with self.subTest(arguments=arguments):
                status, out, error = run(*arguments)
                self.assertEqual((status, out), (2, ""))
                self.assertIn("brmx-scan: ", error)

    def test_help_and_version_need_no_message(self):
        status, out, _ = run("--help")
        self.assertEqual(status, 0)
        self.assertIn("--json", out)
        self.assertEqual(run("--version")[:2], (0, "brmx-scan 3.7.0.3 (TRUNK X64 RELEASE SRTL)\n"))

    def test_prints_probability_and_name(self):
        self.assertEqual(run(MARKED)[:2], (0, f"  0 {MARKED}\n"))

    def test_trace_is_indented_by_its_depth(self):
        _, out, _ = run("--trace", MARKED)
        lines = out.splitlines()
        self.assertEqual(lines[1], "    Message Parts:")
        self.assertTrue(lines[2].startswith("        text/plain -- ID: "), lines[2])
        self.assertIn("        Spam Probability: 0.00", lines)

    def test_json_has_one_object_a_line(self):
        status, out, _ = run("--json", "--languages", MARKED, ZIPPED)
        answers = [json.loads(line) for line in out.splitlines()]
        self.assertEqual((status, [a["file"] for a in answers]), (0, [MARKED, ZIPPED]))
        self.assertEqual((answers[0]["status"], answers[0]["status_name"]), (0x30001, "community_unavailable"))
        self.assertEqual(answers[0]["probability"], 0)
        self.assertEqual(set(answers[0]["statistics"].values()), {0})
        self.assertEqual(answers[0]["trace"][0], [0, "Message Parts:"])
        self.assertEqual([language["tag"] for language in answers[1]["languages"]], ["en"])

    def test_names_and_texts_of_any_kind_stay_json(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "a 'b' \u00e4.eml")
            pathlib.Path(path).write_bytes(b'Content-Disposition: x; filename="=?utf-7?Q?+2AA-?=\x01\\"\r\n\r\n')
            status, out, _ = run("--json", path)
            answer = json.loads(out)
            self.assertEqual((status, answer["file"]), (0, path))
            self.assertIn("\\u0001", out)

    def test_without_a_community_there_is_nothing_to_tell_it(self):
        for arguments in [("--report", MARKED), ("--revoke", MARKED), ("--health",)]:
            with self.subTest(arguments=arguments):
                status, out, error = run(*arguments)
                self.assertEqual((status, out), (1, ""))
                self.assertIn("community_unavailable", error)

    def test_the_state_goes_on_from_run_to_run(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "state"
            for expected in (b"1\rC\r\rA\r", b"1\rE\r\rA\r", b"1\rG\r\rA\r"):  # two, four, six sessions
                self.assertEqual(run("--state", str(path), MARKED, ZIPPED)[0], 0)
                self.assertEqual(path.read_bytes(), expected)
            self.assertEqual(os.listdir(folder), ["state"])
            path.write_bytes(b"nonsense")
            status, out, error = run("--state", str(path), MARKED)
            self.assertEqual((status, out, path.read_bytes()), (1, "", b"nonsense"))
            self.assertIn("no state to go on from", error)

    def test_standard_input_is_a_message(self):
        given = b"Content-Type: application/x\r\nMessage-ID: <a@b>\r\n\r\na\r\nb\n"
        status, out, _ = run("--trace", "-", given=given)
        self.assertEqual(status, 0)
        self.assertIn("application/x -- ID: ", out)
        self.assertIn("Bytes: 8, Logical Root", out)  # three line ends became six bytes

    def test_unreadable_messages_do_not_stop_the_run(self):
        nested = b"Content-Type: message/rfc822\r\n\r\n" * 66
        with tempfile.TemporaryDirectory() as folder:
            deep = pathlib.Path(folder) / "deep.eml"
            deep.write_bytes(nested)
            missing = os.path.join(folder, "missing.eml")
            status, out, error = run(missing, str(deep), MARKED)
            self.assertEqual((status, out), (1, f"  0 {MARKED}\n"))
            self.assertIn("missing.eml: ", error)
            self.assertIn("deep.eml: message_too_deep", error)
            answers = [json.loads(line) for line in run("--json", missing, str(deep))[1].splitlines()]
            self.assertIsNone(answers[0]["status"])
            self.assertEqual((answers[1]["status_name"], answers[1]["probability"]), ("message_too_deep", None))

    def test_directories_are_searched_in_order_and_threads_cannot_be_seen(self):
        with tempfile.TemporaryDirectory() as folder:
            for number in range(40):
                below = pathlib.Path(folder) / f"d{number % 3}" / "e"
                below.mkdir(parents=True, exist_ok=True)
                (below / f"{number:02}.eml").write_bytes(b"Subject: %d\r\n\r\n" % number + b"word \r\n" * number * 50)
            status, one, _ = run("--json", "--jobs", "1", folder)
            names = [json.loads(line)["file"] for line in one.splitlines()]
            self.assertEqual((status, len(names)), (0, 40))
            self.assertEqual(names, sorted(names))
            self.assertEqual(run("--json", "--jobs=16", folder)[:2], (0, one))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
