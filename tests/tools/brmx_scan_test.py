#!/usr/bin/env python3
"""Runs brmx-scan as a user does: brmx_scan_test.py SAMPLES COMMAND [WORD...]"""

import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

SAMPLES = pathlib.Path(sys.argv[1])
COMMAND = sys.argv[2:]
MARKED = str(SAMPLES / "already-processed.eml")
ZIPPED = str(SAMPLES / "attachments.eml")


NATIVE = unittest.skipIf(len(COMMAND) > 1, "what the other system does not have")


def run(*arguments, given=b"", user=None, **environment):
    ran = subprocess.run([*COMMAND, *arguments], input=given, capture_output=True, check=False,
                         env=os.environ | environment, user=user)
    return ran.returncode, ran.stdout.decode("utf-8"), ran.stderr.decode("utf-8", "replace")


def traces(*arguments, given=b""):
    answers = [json.loads(line) for line in run("--json", *arguments, given=given)[1].splitlines()]
    return {a["file"]: a["trace"] for a in answers}


class brmx_scan(unittest.TestCase):
    def test_wrong_usage_is_told_and_ends_with_2(self):
        for arguments in [(), ("--nonsense", MARKED), ("--jobs",), ("--jobs", "0", MARKED), ("--jobs", "x", MARKED),
                          ("--credentials", "1:x:y", MARKED), ("--timeout=-1", MARKED), ("--state=", MARKED),
                          ("--fail-above", "101", MARKED), ("--mbox=", MARKED), ("--color=on", MARKED),
                          ("--trace=no", MARKED)]:
            with self.subTest(arguments=arguments):
                status, out, error = run(*arguments)
                self.assertEqual((status, out), (2, ""))
                self.assertIn("brmx-scan: ", error)

    def test_a_slip_of_the_pen_is_answered_by_the_nearest_option(self):
        self.assertIn("did you mean --summary?", run("--sumary", MARKED)[2])

    def test_every_option_is_in_the_manual_and_completed_by_each_shell(self):
        folder = SAMPLES.parent / "tools" / "brmx_scan"
        options = set(re.findall(r"^  --([a-z-]+)", run("--help")[1], flags=re.M))
        self.assertGreater(len(options), 15)
        for name, option in [("brmx-scan.1.in", r"^\.It Fl Fl ([a-z-]+)"), ("completion.bash", r"--([a-z-]+)"),
                             ("completion.zsh", r"--([a-z-]+)"), ("completion.fish", r"-l ([a-z-]+)")]:
            with self.subTest(file=name):
                self.assertEqual(set(re.findall(option, (folder / name).read_text(), flags=re.M)), options)

    def test_help_and_version_need_no_message(self):
        status, out, _ = run("--help")
        self.assertEqual(status, 0)
        self.assertIn("--json", out)
        self.assertEqual(run("--version")[:2], (0, "brmx-scan 3.7.0.3 (TRUNK X64 RELEASE SRTL)\n"))

    def test_trace_is_indented_by_its_depth(self):
        lines = run("--trace", MARKED)[1].splitlines()
        self.assertEqual(lines[:2], [f"  0 {MARKED}", "    Message Parts:"])
        self.assertTrue(lines[2].startswith("        text/plain -- ID: "), lines[2])

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

    @NATIVE
    def test_no_name_can_command_a_terminal_or_pretend_to_be_an_answer(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, '\x1b[2J\u009b2J\n  0 "\\"\u00e4.eml')
            shown = os.path.join(folder, '?[2J?2J?  0 "\\"\u00e4.eml')
            self.assertEqual(run(path), (1, "", f"brmx-scan: {shown}: No such file or directory\n"))
            pathlib.Path(path).write_bytes(b"")
            self.assertEqual(run(folder), (0, f"100 {shown}\n", ""))
            out = run("--json", folder)[1]
            self.assertEqual((json.loads(out)["file"], out[:-1].isprintable()), (path, True))

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
            path.write_bytes(b"1\rE\r\rA")  # the last field has no end
            path.chmod(0o604)
            mode = path.stat().st_mode
            self.assertEqual(run("--state", str(path), MARKED)[0], 0)
            self.assertEqual(path.read_bytes(), b"1\rF\r\rA\r")
            if len(COMMAND) == 1:  # Windows has no mode to keep
                self.assertEqual(path.stat().st_mode, mode)
            path.write_bytes(b"nonsense")
            status, out, error = run("--state", str(path), MARKED)
            self.assertEqual((status, out, path.read_bytes()), (1, "", b"nonsense"))
            self.assertIn("no state to go on from", error)

    @NATIVE
    def test_the_state_can_be_a_link_and_shared_by_processes(self):
        with tempfile.TemporaryDirectory() as folder:
            link = os.path.join(folder, "link")
            os.symlink("state", link)
            pathlib.Path(folder, "state").write_bytes(b"1\rB\r\rA\r")
            running = [subprocess.Popen([*COMMAND, "--state", link, MARKED], stdout=subprocess.PIPE) for _ in range(16)]
            self.assertEqual([(each.communicate(), each.returncode)[1] for each in running], [0] * 16)
            self.assertEqual(sorted(os.listdir(folder)), ["link", "state"])
            self.assertTrue(os.path.islink(link))

    def test_a_pattern_is_expanded_where_the_shell_does_not(self):
        with tempfile.TemporaryDirectory() as folder:
            pathlib.Path(folder, "a1.eml").write_bytes(b"")
            status, out, _ = run(os.path.join(folder, "a*.eml"))
            self.assertEqual((status, "a1.eml" in out), (0, True) if len(COMMAND) > 1 else (1, False))

    def test_standard_input_is_a_message(self):
        given = b"Content-Type: application/x\r\nMessage-ID: <a@b>\r\n\r\na\r\nb\n"
        status, out, _ = run("--trace", "-", given=given)
        self.assertEqual(status, 0)
        self.assertIn("application/x -- ID: ", out)
        self.assertIn("Bytes: 8, Logical Root", out)  # three line ends became six bytes

    @NATIVE
    def test_streams_that_fail_are_no_empty_messages_and_no_success(self):
        unreadable = os.open(SAMPLES, os.O_RDONLY)
        self.addCleanup(os.close, unreadable)
        with open("/dev/full", "wb") as full:
            for arguments in [("-",), ("--mbox", "-"), ("--jobs", "2", "-")]:
                ran = subprocess.run([*COMMAND, *arguments], stdin=unreadable, capture_output=True, check=False)
                self.assertEqual((ran.returncode, ran.stdout), (1, b""), arguments)
            for arguments in [("--help",), ("--version",), (MARKED,)]:
                ran = subprocess.run([*COMMAND, *arguments], stdout=full, stderr=subprocess.PIPE, check=False)
                self.assertEqual((ran.returncode, ran.stderr),
                                 (1, b"brmx-scan: standard output could not be written\n"), arguments)

    @NATIVE
    def test_what_is_no_utf_8_is_refused_before_any_thread_sees_it(self):
        self.assertEqual(run("--jobs", "2", MARKED, BRMX_CREDENTIALS="1:2:\udcff")[:2], (2, ""))
        self.assertEqual(run("--community", "\udcff", MARKED)[:2], (2, ""))

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

    @NATIVE
    def test_what_rights_forbid_to_read_does_not_stop_the_run(self):
        user = 65534 if os.geteuid() == 0 else None  # root may read everything
        with tempfile.TemporaryDirectory() as folder:
            top = pathlib.Path(folder)
            top.chmod(0o755)
            for name in ("a-closed/hidden.eml", "b-open/closed.eml", "b-open/open.eml"):
                (top / name).parent.mkdir(exist_ok=True)
                (top / name).write_bytes(b"Subject: x\r\n\r\n")
            closed = [top / "b-open/closed.eml", top / "a-closed"]
            for path in closed:
                path.chmod(0)
            try:
                status, out, error = run(folder, str(closed[1]), MARKED, user=user)
            except PermissionError:
                self.skipTest("another user may not run the program in this place")
            closed[1].chmod(0o755)
            self.assertEqual((status, [line[4:] for line in out.splitlines()]), (1, [str(top / "b-open/open.eml"), MARKED]))
            for path in closed:
                self.assertIn(f"{path}: ", error)

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

    def test_messages_of_an_mbox_answer_as_they_do_alone(self):
        text = (b"Subject: a\n\n>From x\nFrom 9:00 in 2001 the\n\nFrom 9:00 in 2001 we\nare away\n\n"
                b"From: me\n>>From y\n\n9:00 on 1 January 2001\nWhere: here\nz\n")
        alone = {"text.eml": text, "crlf.eml": text.replace(b"\n", b"\r\n"),
                 "long.eml": b"Subject: a\n\n" + b"x" * 600000 + b"\n\n"}
        alone |= {path.name: path.read_bytes().rstrip(b"\r\n") + b"\n" for path in sorted(SAMPLES.glob("*.eml"))}
        with tempfile.TemporaryDirectory() as folder:
            for name, content in alone.items():
                pathlib.Path(folder, name).write_bytes(content)
            expected = traces(*(os.path.join(folder, name) for name in alone))
            many = b""
            for number, content in enumerate(alone.values()):
                end = b"\r\n" if content.startswith(b"Subject: a\r") else b"\n"
                # What looks like a separator and is none need not be marked.
                content = re.sub(rb"^(>*From )" if number % 2 or content.startswith(b"From ")
                                 else rb"^(>+From )", rb">\1", content, flags=re.M)
                many += b"From a@b.example Mon Jan  1 10:00:00 2024" + end + content + end
            for name, options, given in [("inbox", [], b""), ("-", ["--mbox", "--jobs=3"], b"\r\n\n" + many)]:
                path = name if name == "-" else os.path.join(folder, name)
                if name != "-":
                    pathlib.Path(path).write_bytes(many)
                got = traces(*options, path, given=given)
                self.assertEqual(list(got), [f"{path}:{number}" for number in range(1, len(alone) + 1)])
                for (file, trace), one in zip(expected.items(), got.values()):
                    with self.subTest(options=options, file=file):
                        self.assertEqual(one, trace)

    def test_one_message_behind_a_separator_is_scanned_as_it_stands_but_in_an_mbox(self):
        content = b"From a Mon Jan  1 10:00:00 2024\nSubject: a\n\n>From b\n\n"
        with tempfile.TemporaryDirectory() as folder:
            [as_it_stands] = traces("-", given=content).values()
            [taken_out] = traces("--mbox", "-", given=content).values()
            self.assertNotEqual(as_it_stands, taken_out)
            for name, options, label, expected in [("one", [], "", as_it_stands), ("mbox", [], ":1", taken_out),
                                                   ("a.mbox", [], ":1", taken_out),
                                                   ("one", ["--mbox"], ":1", taken_out),
                                                   ("mbox", ["--mbox=never"], "", as_it_stands)]:
                with self.subTest(name=name, options=options):
                    path = os.path.join(folder, name)
                    pathlib.Path(path).write_bytes(content)
                    self.assertEqual(traces(*options, path), {path + label: expected})
            pathlib.Path(path).write_bytes(b"\n")
            status, out, error = run(path)
            self.assertEqual((status, out), (0, ""))
            self.assertIn("there is no message", error)

    def test_of_a_maildir_only_delivered_messages_count(self):
        with tempfile.TemporaryDirectory() as folder:
            for below in ("cur", "new", "tmp", ".Sent/cur", ".Sent/new", ".Sent/tmp", "control"):
                pathlib.Path(folder, below).mkdir(parents=True)
                pathlib.Path(folder, below, "1").write_bytes(
                    2 * b"From a Mon Jan  1 10:00:00 2024\nSubject: a\n\nb\n\n")  # a sender's trick
            pathlib.Path(folder, "index").write_bytes(b"")
            found = [".Sent/cur/1", ".Sent/new/1", "cur/1", "new/1"]
            for options, below in [([], ""), (["--mbox"], ""), ([], "cur/")]:
                names = traces(*options, os.path.join(folder, below))
                self.assertEqual([os.path.relpath(name.replace("\\", "/"), folder) for name in names],
                                 [name for name in found if name.startswith(below)])

    def test_scripts_can_ask_for_a_limit_an_order_and_a_summary(self):
        wrapped = str(SAMPLES / "wrapped-by-filter.eml")
        for limit, expected in [("19", 3), ("20", 0), ("100", 0)]:
            self.assertEqual(run("--fail-above", limit, MARKED, wrapped)[0], expected)
        self.assertEqual(run("--fail-above=19", "missing", wrapped)[0], 1)
        status, out, error = run("--sort", "--summary", MARKED, wrapped, ZIPPED)
        self.assertEqual((status, out), (0, f" 30 {ZIPPED}\n 20 {wrapped}\n  0 {MARKED}\n"))
        self.assertRegex(error, r"(?m)^3 messages, 0 failed, 0\.0 MB in ")
        self.assertEqual(re.findall(r"^ +(\S+) +([1-9]\d*) #{50}", error, flags=re.M),
                         [("0", "1"), ("20-29", "1"), ("30-39", "1")])

    def test_colors_are_for_terminals_or_on_demand(self):
        self.assertNotIn("\x1b", run("--trace", MARKED)[1])
        self.assertIn("\x1b[32m  0\x1b[m ", run("--color", "--trace", MARKED, NO_COLOR="1")[1])
        if len(COMMAND) > 1:
            return  # the other target has no pseudo-terminals here
        if not os.path.exists("/dev/pts/ptmx"):
            self.skipTest("no pseudo-terminals on this machine: /dev/pts is not mounted")
        ours, theirs = os.openpty()
        for environment, expected in [({}, True), ({"NO_COLOR": "1"}, False)]:
            subprocess.run([*COMMAND, MARKED], stdout=theirs, check=True,
                           env=os.environ | {"TERM": "xterm", "NO_COLOR": ""} | environment)
            self.assertEqual(b"\x1b[" in os.read(ours, 4096), expected)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
