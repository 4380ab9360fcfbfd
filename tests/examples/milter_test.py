#!/usr/bin/env python3
"""Runs the mail filter behind a real Postfix: milter_test.py SOURCE_ROOT BRMX-SCAN BRMX-MILTER SERVER

Everything listens on loopback and lives in one temporary folder. Needs root, Postfix and swaks; ends with 77 where they
are missing.
"""
import atexit
import contextlib
import json
import os
import pathlib
import queue
import re
import shutil
import signal
import socket
import socketserver
import subprocess
import sys
import tempfile
import threading
import time
import unittest

ROOT = pathlib.Path(sys.argv[1])
BRMX_SCAN, BRMX_MILTER, SERVER = sys.argv[2:5]
PROBABILITY, TRACE = "x-brimwarden-probability", "x-brimwarden-trace"
CLIENT = "203.0.113.9"  # who the mail claims to come from, by XCLIENT
MAIN_CF = """
compatibility_level = 3.6
queue_directory = {folder}/queue
data_directory = {folder}/data
maillog_file = {folder}/log
maillog_file_prefixes = {folder}
inet_interfaces = 127.0.0.1
inet_protocols = ipv4
myhostname = relay.example
mydestination =
mynetworks = 127.0.0.0/8
smtpd_authorized_xclient_hosts = 127.0.0.0/8
smtpd_relay_restrictions = reject_unauth_destination
relay_domains = d.example
relay_transport = smtp
smtpd_peername_lookup = no
smtp_dns_support_level = disabled
smtp_host_lookup = native
local_recipient_maps =
alias_maps =
local_transport = error:nobody
relayhost = [127.0.0.1]:{sink}
message_size_limit = 50000000
milter_default_action = accept
"""
MASTER_CF = """
127.0.0.1:{plain} inet n - n - - smtpd -o smtpd_milters=inet:127.0.0.1:{filter}
127.0.0.1:{hanging} inet n - n - - smtpd -o smtpd_milters=inet:127.0.0.1:{hanging_filter}
127.0.0.1:{absent} inet n - n - - smtpd -o smtpd_milters=inet:127.0.0.1:{nobody}
cleanup unix n - n - 0 cleanup
qmgr unix n - n 300 1 qmgr
rewrite unix - - n - - trivial-rewrite
smtp unix - - n - - smtp
error unix - - n - - error
bounce unix - - n - 0 bounce
defer unix - - n - 0 bounce
anvil unix - - n - 1 anvil
postlog unix-dgram n - n - 1 postlogd
"""


def free_port():
    with socket.create_server(("127.0.0.1", 0)) as door:
        return door.getsockname()[1]


class sink(socketserver.ThreadingTCPServer):
    """Takes the mail that Postfix delivers."""

    daemon_threads = True
    allow_reuse_address = True

    class handler(socketserver.StreamRequestHandler):
        def handle(self):
            self.wfile.write(b"220 sink.example\r\n")
            for line in self.rfile:
                verb = line[:4].upper()
                if verb == b"DATA":
                    self.wfile.write(b"354 go on\r\n")
                    lines = iter(self.rfile.readline, b".\r\n")
                    self.server.mail.put(b"".join(l[1:] if l.startswith(b".") else l for l in lines))
                self.wfile.write(b"221 bye\r\n" if verb == b"QUIT" else b"250 fine\r\n")
                if verb == b"QUIT":
                    return

    def __init__(self):
        super().__init__(("127.0.0.1", 0), self.handler)
        self.mail = queue.Queue()
        threading.Thread(target=self.serve_forever, daemon=True).start()

    def next(self):
        """Header, as a list of names in small letters and values, and body."""
        header, _, body = self.mail.get(timeout=20).partition(b"\r\n\r\n")
        fields = re.split(rb"\r\n(?![ \t])", header)
        pairs = [field.split(b":", 1) for field in fields]
        return [(name.strip().lower().decode("latin-1"), value.strip()) for name, value in pairs], body


def escaped(text):
    return re.sub(r"[^ -~]", lambda c: f"\\u{ord(c[0]):04X}", text.replace("\\", "\\\\"))


def wait_for(port):
    for _ in range(200):
        with contextlib.suppress(OSError), socket.create_connection(("127.0.0.1", port)):
            return
        time.sleep(0.05)
    raise TimeoutError(f"nobody listens at {port}")


class milter(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.stack = contextlib.ExitStack()
        atexit.register(cls.stack.close)  # nothing goes on running, however this ends
        cls.start()

    @classmethod
    def start(cls):
        folder = pathlib.Path(cls.stack.enter_context(tempfile.TemporaryDirectory()))
        folder.chmod(0o755)
        cls.sink = sink()
        cls.ports = {name: free_port() for name in ("plain", "hanging", "absent", "filter", "hanging_filter", "nobody")}
        numbers = cls.ports | {"sink": cls.sink.server_address[1], "folder": folder}
        (folder / "main.cf").write_text(MAIN_CF.format(**numbers), encoding="ascii")
        (folder / "master.cf").write_text(MASTER_CF.format(**numbers), encoding="ascii")
        for name, owner in (("queue", "root"), ("data", "postfix")):
            (folder / name).mkdir(mode=0o755)
            shutil.chown(folder / name, owner)
        server = cls.stack.enter_context(
            subprocess.Popen([SERVER, "", "hang"], stdin=subprocess.PIPE, stdout=subprocess.PIPE))
        cls.stack.callback(server.terminate)
        host = server.stdout.readline().decode().strip()
        cls.filters = [
            cls.filter("--trace", "--largest", "1000000", f"inet:{cls.ports['filter']}@127.0.0.1"),
            cls.filter("--community", host, "--limit", "2", f"inet:{cls.ports['hanging_filter']}@127.0.0.1"),
        ]
        subprocess.run(["postfix", "-c", folder, "start"], check=True, capture_output=True)
        master = int((folder / "queue/pid/master.pid").read_text())
        cls.stack.callback(os.kill, master, signal.SIGTERM)
        for name in ("plain", "hanging", "absent", "filter", "hanging_filter"):
            wait_for(cls.ports[name])

    @classmethod
    def filter(cls, *arguments):
        running = cls.stack.enter_context(subprocess.Popen([BRMX_MILTER, *arguments], stderr=subprocess.PIPE))
        cls.stack.callback(running.terminate)
        return running

    @classmethod
    def tearDownClass(cls):
        codes = []
        for running in cls.filters:
            running.terminate()
            codes.append((running.wait(timeout=20), running.stderr.read().decode()))
        cls.stack.close()
        cls().assertEqual([code for code, _ in codes], [0, 0], codes)

    def send(self, message, way="plain"):
        """What is delivered of a message."""
        with tempfile.NamedTemporaryFile() as file:
            file.write(message.removesuffix(b"\n"))  # which swaks adds
            file.flush()
            sent = subprocess.run(
                ["swaks", "--server", "127.0.0.1", "--port", str(self.ports[way]), "--helo", "client.example",
                 "--from", "a@b.example", "--to", "c@d.example", "--xclient", f"ADDR={CLIENT} NAME=client.example",
                 "--data", f"@{file.name}", "--suppress-data", "--timeout", "30"],
                check=False, capture_output=True, encoding="utf-8", errors="replace")
        self.assertEqual(sent.returncode, 0, sent.stdout + sent.stderr)
        return self.sink.next()

    def values(self, fields, name):
        return [value for each, value in fields if each == name]

    def test_adds_what_the_library_says(self):
        for name in ("spam-html.eml", "ham-mailing-list.eml", "attachments.eml"):
            with self.subTest(name=name):
                message = (ROOT / "samples" / name).read_bytes().replace(b"\r\n", b"\n")
                message = re.sub(rb"^From .*\n", b"", message.rstrip(b"\n")) + b"\n"  # as swaks sends it
                fields, body = self.send(message)
                self.assertEqual([each for each, _ in fields[:2]], [PROBABILITY, TRACE])
                hop = f"Received: from client.example (client.example [{CLIENT}]) by relay.example\n".encode()
                ran = subprocess.run([BRMX_SCAN, "--json", "-"], input=hop + message, check=True, capture_output=True)
                answer = json.loads(ran.stdout)
                self.assertEqual(self.values(fields, PROBABILITY), [str(answer["probability"]).encode()])
                told = [line.strip().decode("ascii") for line in self.values(fields, TRACE)[0].split(b"\r\n")]
                self.assertEqual(told, [escaped(text) for _, text in answer["trace"] if text.strip()])
                self.assertEqual(body.rstrip(), message.partition(b"\n\n")[2].replace(b"\n", b"\r\n").rstrip())

    def test_takes_forged_fields_away(self):
        forged = (b"X-Brimwarden-Probability: 0\nx-BRIMWARDEN-probability:0\nX-Brimwarden-Trace: a\n\tb\n"
                  b"X-Brimwarden-Probability : 0\nSubject: a\nX-Brimwarden-Probability-2: kept\n"
                  b"X-Brimwarden-Probability: 0\n")
        for size in (0, 1_500_000):  # scanned, and too large to be
            fields, _ = self.send(forged + b"\n" + b"line\n" * (size // 5))
            self.assertEqual([f for f in fields if f[1] in (b"0", b"a\r\n\tb")], [])
            self.assertEqual(len(self.values(fields, PROBABILITY)), 0 if size else 1)
            self.assertEqual(len(self.values(fields, TRACE)), 0 if size else 1)
            self.assertEqual(self.values(fields, "x-brimwarden-probability-2"), [b"kept"])
        copies = b"X-Brimwarden-Probability: 0\nX-Brimwarden-Trace: 0\n" * 100
        fields, _ = self.send(copies + b"\n" + b"line\n" * 300_000)
        self.assertEqual(fields[:2], [(PROBABILITY, b"unknown"), (TRACE, b"unknown")])
        self.assertEqual(len([f for f in fields if f[1] == b"0"]), 2 * (100 - 64))

    def test_a_trace_cannot_become_a_field_or_a_body(self):
        name = "=?utf-8?Q?a=0D=0AX-Injected:_yes=0D=0A=0D=0Abody=0A=00=C3=A4=F0=9F=98=80\\?="
        name += " " + "n" * 250
        parts = "".join(f'--b\nContent-Disposition: attachment; filename="{name}"\n\n{i}\n' for i in range(60))
        parts = f'Content-Type: multipart/mixed; boundary="b"\n\n{parts}--b--\n'
        fields, body = self.send(parts.encode())
        trace = self.values(fields, TRACE)[0]
        self.assertEqual(self.values(fields, "x-injected"), [])
        self.assertIn(rb"a\u000D\u000AX-Injected: yes\u000D\u000A\u000D\u000Abody\u000A", trace)
        self.assertTrue(trace.endswith(b"..."))
        self.assertLess(max(map(len, trace.split(b"\r\n"))), 260)
        self.assertLess(len(trace), 9000)
        self.assertTrue(body.startswith(b"--b\r\n"), body[:80])

    def test_lets_pass_what_it_cannot_scan(self):
        deep = b"Content-Type: message/rfc822\n\n" * 66
        cases = [("too deep", deep, "plain"), ("the scan hangs", b"From: a@b.example\n\nhello\n", "hanging"),
                 ("no filter", b"Subject: x\n\nhello\n", "absent")]
        for label, message, way in cases:
            with self.subTest(label):
                started = time.monotonic()
                fields, body = self.send(message, way)
                self.assertLess(time.monotonic() - started, 15)
                self.assertEqual(self.values(fields, PROBABILITY), [])
                self.assertEqual(body.rstrip(), message.partition(b"\n\n")[2].replace(b"\n", b"\r\n").rstrip())

    def test_serves_many_connections_at_once(self):
        subprocess.run(["smtp-source", "-s", "20", "-m", "100", "-l", "20000", "-f", "a@b.example", "-t", "c@d.example",
                        f"inet:127.0.0.1:{self.ports['plain']}"], check=True)
        for _ in range(100):
            self.assertEqual(len(self.values(self.sink.next()[0], PROBABILITY)), 1)


def missing():
    if os.geteuid() != 0:
        return "root, which Postfix starts as"
    return ", ".join(program for program in ("postfix", "swaks", "smtp-source") if shutil.which(program) is None)


if __name__ == "__main__":
    os.environ["PATH"] += ":/usr/sbin"
    if missing():
        print(f"skipped, for want of {missing()}; ./run milter installs what it needs")
        sys.exit(77)
    unittest.main(argv=sys.argv[:1])
