#!/usr/bin/env python3
"""Processes that load the library, let go of it and end: library_life_test.py SERVER LIBRARY COMMAND [WORD...]"""

import subprocess
import sys
import threading
import unittest

SERVER, LIBRARY, EMULATOR, PROGRAM = sys.argv[1], sys.argv[2], sys.argv[3:-1], sys.argv[-1]
PATIENCE = 120  # seconds for a hundred rounds
AT_ONCE = 20 if EMULATOR else 5  # seconds for a process that has nothing to wait for


class library_life(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.server = subprocess.Popen([*EMULATOR, SERVER, ""], stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        cls.group = cls.server.stdout.readline().decode().strip()
        cls.reader = threading.Thread(target=cls.server.stdout.read)  # a full pipe would stop the server
        cls.reader.start()

    @classmethod
    def tearDownClass(cls):
        cls.server.stdin.close()
        cls.reader.join()
        cls.server.wait()

    def live(self, way, patience):
        ended = subprocess.run([*EMULATOR, PROGRAM, LIBRARY, way, self.group], capture_output=True, timeout=patience,
                               check=False)
        self.assertEqual((ended.returncode, ended.stderr.decode("utf-8", "replace")), (0, ""), way)

    def test_a_hundred_loads(self):
        for way in ("without-community", "with-community"):
            with self.subTest(way=way):
                self.live(way, PATIENCE)

    def test_a_process_ends(self):
        for way in ("end-with-threads", "end-with-callers", "end-with-callers-alone"):
            for run in range(3 if EMULATOR else 10):
                with self.subTest(way=way, run=run):
                    self.live(way, AT_ONCE)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
