#!/usr/bin/env python3
"""brmx-scan and a server in two processes: brmx_scan_community_test.py SAMPLES SERVER COMMAND [WORD...]"""

import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

SAMPLES = pathlib.Path(sys.argv[1])
SERVER = sys.argv[2]
EMULATOR, PROGRAM = sys.argv[3:-1], sys.argv[-1]
MESSAGE = str(SAMPLES / "spam-html.eml")
SHORT = b"Received: from relay (203.0.113.9) by here\r\nSubject: x\r\n\r\nbody\r\n"
ORIGIN = "cb007109"
QUERY, UPDATE, REPORT, REVOKE = 2, 3, 4, 5


class community(unittest.TestCase):
    def setUp(self):
        # The origin of the short message is on the blacklist.
        self.server = subprocess.Popen(
            [*EMULATOR, SERVER, "secret", f"{ORIGIN}=11,9,1,4,50,1,3"],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.group = self.server.stdout.readline().strip()

    def seen(self):
        """Ends the server; all requests that it got."""
        if not self.server.stdin.closed:
            self.requests = [json.loads(line) for line in self.server.communicate()[0].splitlines()]
        return self.requests

    def tearDown(self):
        self.seen()
        self.assertEqual(self.server.returncode, 0)

    def run_scan(self, *arguments, given=b"", secret="secret", program=PROGRAM):
        environment = dict(os.environ, BRMX_CREDENTIALS=f"1:300:{secret}")
        ran = subprocess.run([*EMULATOR, program, *arguments], input=given, capture_output=True, check=False,
                             env=environment)
        return ran.returncode, ran.stdout.decode("utf-8"), ran.stderr.decode("utf-8", "replace")

    def scan(self, *arguments, **how):
        return self.run_scan("--community", self.group, *arguments, **how)

    def test_a_scan_asks_and_tells(self):
        status, out, error = self.scan("--json", "-", given=SHORT)
        self.assertEqual((status, error), (0, ""))
        answer = json.loads(out)
        self.assertEqual((answer["status"], answer["probability"]), (0, 100))
        self.assertIn([1, "hsi 203.0.113.9 -- ID: 9, State: Blacklisted, Reports: 50, Revokes: 1, Touches: 3"],
                      answer["trace"])
        self.assertEqual([line[1] for line in answer["trace"]].count("Executing Request:"), 2)
        query, update = self.seen()
        self.assertEqual((query["operation"], update["operation"]), (QUERY, UPDATE))
        for request in (query, update):
            self.assertEqual((request["mode"], request["id"], request["good"], request["connection"]),
                             (1, 300, True, False))
        self.assertEqual(update["payload"], "640109")  # a hundred, and one identity
        counted = answer["statistics"]
        self.assertEqual((counted["bytes_sent"], counted["datagrams_sent"], counted["datagrams_received"],
                          counted["connections_made"], counted["connections_failed"]),
                         (query["bytes"] + update["bytes"], 2, 2, 0, 0))

    def test_messages_are_reported_and_revoked_whole(self):
        self.assertEqual(self.scan("--report", "-", given=SHORT), (0, "reported -\n", ""))
        status, out, error = self.scan("--revoke", "--trace", MESSAGE)
        self.assertEqual((status, out.splitlines()[0], error), (0, "revoked " + MESSAGE, ""))
        self.assertIn("            Transport: Connection", out.splitlines())
        report, revoke = self.seen()
        self.assertEqual((report["operation"], revoke["operation"]), (REPORT, REVOKE))
        self.assertIn(b"\r\n\r\nbody\r\n", bytes.fromhex(report["payload"]))

    def test_options_say_who_asks_before_the_environment_does(self):
        self.assertEqual(self.scan("--credentials=7:4294967295:secret", "-", given=SHORT)[0], 0)
        self.assertEqual([(r["mode"], r["id"], r["good"]) for r in self.seen()], [(7, 4294967295, True)] * 2)

    def test_refused_credentials_leave_the_local_answer(self):
        status, out, error = self.scan("-", given=SHORT, secret="wr\u00f6ng")
        self.assertEqual((status, out), (0, " 60 -\n"))
        self.assertIn("community_invalid_credentials; the number comes from the local tests", error)
        status, out, error = self.scan("--report", "-", given=SHORT, secret="wrong")
        self.assertEqual((status, out), (1, ""))
        self.assertIn("community_invalid_credentials", error)

    def test_time_runs_out(self):
        status, out, error = self.scan("--timeout", "1", "--report", "-", given=SHORT + b"silence\r\n")
        self.assertEqual((status, out), (1, ""))
        self.assertIn("community_timed_out", error)

    def test_health_is_told(self):
        status, out, _ = self.scan("--health", "--json")
        health = json.loads(out)
        self.assertEqual((status, health["status"], health["reachable"], health["unreachable"]), (0, 0, 1, 0))
        self.assertLess(health["latency_ms"], 3000)
        self.assertTrue(self.scan("--health")[1].startswith("1 servers answer, 0 do not; the best takes "))

    def test_another_process_goes_on_from_the_state(self):
        with tempfile.TemporaryDirectory() as folder:
            state = pathlib.Path(folder) / "state"
            self.assertEqual(self.scan("--rediscover", "7", "--state", str(state), "-", given=SHORT)[0], 0)
            self.assertEqual(state.read_bytes(), f"1\rB\r{self.group}\rH\r".encode())
            status, out, error = self.run_scan("--state", str(state), "--health", "-", given=SHORT)
            self.assertEqual((status, error), (0, ""))
            self.assertTrue(out.startswith("1 servers answer"), out)
            self.assertTrue(out.endswith("100 -\n"), out)
            self.assertEqual(state.read_bytes(), f"1\rC\r{self.group}\rH\r".encode())
            self.assertEqual(os.listdir(folder), ["state"])
        self.assertEqual(len(self.seen()), 4)

    def test_the_filter_program_signs_in_with_a_mode_of_its_own(self):
        cases = [("filter.exe", 1, 2), ("FILTER.EXE", 1, 2), ("filter.exe", 3, 3), ("xfilter.exe", 1, 1)]
        with tempfile.TemporaryDirectory() as folder:
            for library in pathlib.Path(PROGRAM).parent.glob("brmx.dll"):
                shutil.copy(library, folder)
            for name, mode, _ in cases:
                copy = os.path.join(folder, name)
                shutil.copy(PROGRAM, copy)  # a link would not do: the system tells the name of the file behind it
                ran = self.scan(f"--credentials={mode}:1:secret", "-", given=SHORT, program=copy)
                self.assertEqual(ran[0], 0, ran)
                os.remove(copy)
        self.assertEqual([r["mode"] for r in self.seen()], [sent for _, _, sent in cases for _ in range(2)])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
