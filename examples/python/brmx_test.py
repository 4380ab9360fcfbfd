#!/usr/bin/env python3
"""Tests of brmx.py: brmx_test.py SOURCE_ROOT COMMUNITY_SERVER; BRMX_LIBRARY names the library."""

import ctypes
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import brmx

ROOT = pathlib.Path(sys.argv[1])
HEADER = re.sub(r"/\*.*?\*/", "", (ROOT / "include/brmx.h").read_text(encoding="ascii"), flags=re.S)


class constants(unittest.TestCase):
    def test_are_those_of_the_header(self):
        declared = {name: int(value, 16) for name, value in re.findall(r"^    (\w+) = (0x\w+)", HEADER, flags=re.M)}
        self.assertEqual(declared, {status.name: status.value for status in brmx.Status})
        for status in list(brmx.Status)[1:]:
            with self.assertRaises(brmx.Error) as raised:
                brmx._check(status)
            self.assertEqual((raised.exception.status, str(raised.exception)), (status, status.name))
            self.assertEqual(type(raised.exception), getattr(brmx, type(raised.exception).__name__))

    def test_prototypes_are_those_of_the_header(self):
        kinds = {"uint32_t": ctypes.c_uint32, "uint8_t": ctypes.c_uint8, "const char*": ctypes.c_char_p,
                 "uint32_t*": brmx._NUMBER, "int32_t*": ctypes.POINTER(ctypes.c_int32), "const void*": ctypes.c_void_p,
                 "brmx_char*": brmx._TEXT, "const brmx_char*": brmx._TEXT,
                 "const brmx_char**": ctypes.POINTER(brmx._TEXT)}
        declared = {}
        for name, arguments in re.findall(r"BRMX_EXPORT engine_status (\w+)\(([^)]*)\)", HEADER):
            parts = [re.sub(r"\s*\w+$", "", part.strip()) for part in arguments.split(",") if part.strip() != "void"]
            declared[name] = tuple(kinds.get(part) for part in parts)
        self.assertEqual({name: declared.get(name) for name in brmx._PROTOTYPES}, brmx._PROTOTYPES)


class engine(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.engine = brmx.Engine()

    @classmethod
    def tearDownClass(cls):
        cls.engine.close()
        cls.engine.close()
        with cls().assertRaises(brmx.LifecycleError) as raised:
            brmx.Engine()
        cls().assertEqual(type(raised.exception), brmx.EngineAlreadyInitialized)

    def test_scans(self):
        with self.engine.open_file(ROOT / "samples/wrapped-by-filter.eml") as session:
            self.assertEqual(session.trace(), [])
            self.assertEqual(session.scan(), brmx.ScanResult(20, brmx.Status.community_unavailable))
            self.assertEqual(session.trace()[:2], [brmx.TraceLine(0, "Message Parts:"),
                                                   brmx.TraceLine(1, "multipart/mixed -- ID: 0x1, Bytes: 0")])
            self.assertTrue(session.explanation().endswith("\n\nOverall Classification:\n    Spam Probability: 20.00"))
            self.assertEqual(session.statistics(), brmx.CommunityStatistics(0, 0, 0, 0, 0, 0, 0))
        with self.engine.open_file(str(ROOT / "samples/languages/german.eml")) as session:
            self.assertEqual([share.lcid for share in session.languages()], [1031])
            self.assertIn(1031, brmx.supported_languages())

    def test_takes_any_bytes_and_gives_any_text(self):
        message = (b'Content-Disposition: x; filename="=?utf-7?Q?+2AA-?= =?utf-8?Q?=1B=F0=9F=98=80?= ' + b"x" * 500 +
                   b'"\r\n\r\n')
        for given in (message, bytearray(message), memoryview(message + b"-")[:-1]):
            with self.engine.open(given) as session:
                session.scan()
                self.assertIn("\ufffd\x1b\U0001f600 " + "x" * 500, session.trace()[1].text)
                self.assertNotIn("\x1b", session.explanation())
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "\u00e4\U0001f600.eml"
            path.write_bytes(message)
            with self.engine.open_file(path) as session:
                self.assertEqual(session.scan().probability, 100)

    def test_raises_by_status(self):
        with self.assertRaises(brmx.FileNotLoaded):
            self.engine.open_file("no such file")
        with self.assertRaises(brmx.MessageTooDeep):
            self.engine.open(b"Content-Type: message/rfc822\r\n\r\n" * 66)
        with self.assertRaises(OverflowError):
            self.engine.open(b"").set_credentials(1 << 32, 0, "")
        with self.engine.open(b"") as session:
            for ask in (session.report, session.revoke, self.engine.health):
                with self.assertRaises(brmx.CommunityUnavailable):
                    ask()
        session.close()
        with self.assertRaises(brmx.SessionError) as raised:
            session.scan()
        self.assertEqual(raised.exception.status, brmx.Status.unknown_session)
        with self.assertRaises(brmx.Failed):
            self.engine.restore("nonsense")

    def test_z_asks_the_community(self):  # last: there is no way back to an engine without one
        server = subprocess.Popen([sys.argv[2], "secret"], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        host = server.stdout.readline().strip()
        self.engine.restore(f"1\rBA\r{host}\rA")  # without the end of its last field
        self.assertEqual(self.engine.health(), brmx.CommunityHealth(1, 0, self.engine.health().latency_ms))
        self.assertEqual(self.engine.state(), f"1\rBA\r{host}\rA\r")
        self.assertEqual(self.engine.state(), f"1\rBA\r{host}\rA\r")
        with self.engine.open(b"From: a@b.example\r\n\r\nbody\r\n") as session:
            self.assertEqual(session.handle, 65)
            session.set_credentials(1, 300, "wrong")
            self.assertEqual(session.scan().community, brmx.Status.community_invalid_credentials)
            self.assertEqual(session.statistics().datagrams_sent, 1)
            session.set_credentials(1, 300, "secret")
            session.report(flag=True)
            session.revoke()
        seen = [json.loads(line) for line in server.communicate()[0].splitlines()]
        self.assertEqual([request["operation"] for request in seen], [2, 4, 5])
        self.engine.join_community(host, rediscovery=-1)


class program(unittest.TestCase):
    def test_prints_answers_and_goes_on_after_failures(self):
        command = [sys.executable, brmx.__file__, "no such file", str(ROOT / "samples/wrapped-by-filter.eml")]
        ran = subprocess.run(command, capture_output=True, encoding="utf-8", check=False)
        self.assertEqual((ran.returncode, ran.stderr), (1, "brmx.py: no such file: file_not_loaded\n"))
        self.assertIn("\n    Spam Probability: 20.00\n", ran.stdout)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
