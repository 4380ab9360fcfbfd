#!/usr/bin/env python3
"""The community server and its operator's program, as processes: operator_test.py SAMPLES COMMUNITYD COMMUNITY"""

import json
import os
import pathlib
import random
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest

SAMPLES, DAEMON, TOOL = pathlib.Path(sys.argv[1]), sys.argv[2], sys.argv[3]
SPAM = str(SAMPLES / "spam-html.eml")
PORT = 2409
HEALTH = b"RVN\3\0\0nonce12345"  # operation 0, which has no body


class operated(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="brmx-op-"))
        self.state = self.folder / "state"
        self.config = self.folder / "community.toml"
        # Two neighbours on a network of their own, so that tests can run side by side.
        net = f"127.{random.randrange(64, 128)}.{random.randrange(256)}"
        self.addresses = [f"{net}.{host}" for host in (2, 6)]
        self.server = None
        self.made = self.tool("init", "--listen", *self.addresses, "--name", 'a "b" \\ c', with_config=True)

    def tearDown(self):
        self.stop()
        shutil.rmtree(self.folder)

    def run_tool(self, *arguments, with_config=False, given=b""):
        where = ["--state", self.state] + (["--config", self.config] if with_config else [])
        return subprocess.run([TOOL, *arguments, "--json", *where], input=given, capture_output=True, check=False)

    def tool(self, *arguments, **how):
        ran = self.run_tool(*arguments, **how)
        self.assertEqual((ran.returncode, ran.stderr), (0, b""))
        return json.loads(ran.stdout)

    def refused(self, *arguments):
        ran = self.run_tool(*arguments)
        self.assertEqual(ran.returncode, 1, ran)
        return ran.stderr.decode()

    def start(self):
        notified = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        notified.bind(str(self.folder / "notify"))
        notified.settimeout(20)
        environment = dict(os.environ, NOTIFY_SOCKET=str(self.folder / "notify"), WATCHDOG_USEC="200000")
        self.server = subprocess.Popen([DAEMON, "--config", self.config], stderr=subprocess.DEVNULL, env=environment)
        self.notified = notified
        self.hear("READY=1")

    def hear(self, state):
        while not (heard := self.notified.recv(100).decode()).startswith(state):
            self.assertEqual(heard, "WATCHDOG=1")

    def stop(self):
        if self.server is not None:
            self.server.terminate()
            self.assertEqual(self.server.wait(20), 0)
            self.notified.close()
            (self.folder / "notify").unlink()
            self.server = None

    def points(self):
        return self.tool("explain", SPAM)["probability"]

    def test_a_life(self):
        self.assertTrue(self.made["credential"]["secret"])
        self.assertEqual(self.run_tool("init", with_config=True).returncode, 1, "a configuration is not overwritten")
        self.assertIn("is brmx-communityd running", self.refused("status"))
        self.start()
        self.assertEqual((self.state / "control").stat().st_mode & 0o777, 0o660)
        self.assertLess(self.points(), 50)
        box = self.folder / "box"
        for name in ("cur", "new", "tmp"):
            (box / name).mkdir(parents=True)
        shutil.copy(SPAM, box / "cur" / "1:2,S")
        shutil.copy(SPAM, box / "tmp" / "unfinished")
        self.assertEqual(self.tool("teach", "--spam", box, "--why", "because"), {"taught": 1, "refused": 0})
        self.assertGreaterEqual(self.points(), 99)
        self.assertIn("--force", self.refused("mark", "tru", "com.a", "--white"))
        added = self.tool("credential", "add", "--mailboxes", "3", "--role", "ask")
        self.assertEqual((added["mailboxes"], added["roles"]), (3, ["ask"]))
        self.assertNotIn(added["secret"], json.dumps(self.tool("credential", "list")))
        self.assertTrue(self.tool("credential", "disable", str(added["id"]))["disabled"])
        lines = self.tool("audit")["audit"]
        self.assertEqual([json.loads(line["what"])["command"] for line in lines],
                         ["credential disable", "credential add", "teach", "credential add"])
        self.assertEqual(lines[2]["why"], "because")

        self.server.send_signal(signal.SIGHUP)  # begins anew with what the file says now
        self.hear("RELOADING=1")
        self.hear("READY=1")
        self.assertGreaterEqual(self.points(), 99)
        self.config.write_text(self.config.read_text() + "[nonsense]\n")
        self.server.send_signal(signal.SIGHUP)  # goes on as before
        self.hear("WATCHDOG=1")
        self.assertGreaterEqual(self.points(), 99)

        known, copy = self.folder / "known", self.folder / "copy.db"
        self.assertEqual(self.run_tool("export", known).returncode, 0)
        self.tool("backup", copy)
        self.tool("forget-reporter", "1")
        self.stop()
        # A second server of the community begins with backup and key; a server of another one is told apart.
        for name, keys, imported in (("other community", False, 1), ("same community", True, 0)):
            self.state = self.folder / name
            self.state.mkdir()
            if keys:
                shutil.copy(self.folder / "state" / "key", self.state)
                shutil.copy(copy, self.state / "community.db")
            self.assertEqual(self.run_tool("import", known).returncode, imported, name)

    @unittest.skipUnless(shutil.which("systemd-analyze"), "no systemd")
    def test_unit(self):
        unit = self.folder / "brmx-communityd.service"
        text = (SAMPLES.parent / "server/packaging/brmx-communityd.service.in").read_text()
        unit.write_text(text.replace("@CMAKE_INSTALL_FULL_BINDIR@/brmx-communityd", os.path.abspath(DAEMON)))
        for command in ("verify", "--man=no"), ("security", "--offline=true", "--threshold=20"):
            ran = subprocess.run(["systemd-analyze", *command, unit], capture_output=True, text=True, check=False)
            self.assertEqual(ran.returncode, 0, ran.stdout + ran.stderr)

    def ask(self, address, body=b""):
        """A question about the server's health, by datagram."""
        peer = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        peer.settimeout(5)
        peer.sendto(HEALTH + body, (address, PORT))
        answer, sender = peer.recvfrom(2048)
        peer.close()
        return answer, sender[0]

    def test_listening(self):
        self.start()
        for address in self.addresses:
            self.assertEqual(self.ask(address)[1], address, "a client drops an answer from another address")
        # Slow ones hold no one up; one that is too large is read to its end and refused.
        slow = [socket.create_connection((self.addresses[0], PORT)) for _ in range(50)]
        for one in slow:
            one.sendall(HEALTH[:5])
        with socket.create_connection((self.addresses[0], PORT), timeout=30) as huge:
            huge.sendall(HEALTH + b"x" * (33 << 20))
            huge.shutdown(socket.SHUT_WR)
            answer = huge.recv(2048)
        self.assertEqual(answer[4] >> 3 & 7, 5)
        for one in slow:
            one.close()
        self.assertEqual(self.ask(self.addresses[1])[1], self.addresses[1])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
