"""Runs the port monitor, whose path is the first argument, on pseudo-terminals."""

import datetime
import errno
import os
import pty
import signal
import subprocess
import sys
import threading
import unittest

PROGRAM = os.path.abspath(sys.argv.pop(1))
IDLE = "# CTS off, CD off, 0 bytes to read, 0 bytes to send"
ZONE = datetime.timezone(datetime.timedelta(hours=12, minutes=45))


class PortMonitor(unittest.TestCase):
    def setUp(self):
        self.side, user = pty.openpty()
        self.addCleanup(os.close, user)
        self.device = os.ttyname(user)

    def start(self, *arguments):
        started = subprocess.Popen([PROGRAM, *arguments], text=True, stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   env={**os.environ, "LC_ALL": "C.UTF-8", "TZ": "<+1245>-12:45"})
        self.enterContext(started)
        self.addCleanup(started.kill)
        return started

    def expect_rows(self, started, *rows):
        """Expects each row after its time, which is the local one."""
        for row in rows:
            time, shown = started.stdout.readline().rstrip("\n").split(" ", 1)
            self.assertEqual(shown, row)
            now = datetime.datetime.now(ZONE)
            age = now - datetime.datetime.combine(now, datetime.time.fromisoformat(time), ZONE)
            self.assertLess(age % datetime.timedelta(days=1), datetime.timedelta(seconds=50))

    def expect_end(self, started, status, error=""):
        self.assertEqual((started.stdout.read(), started.stderr.read()), ("", error))
        self.assertEqual(started.wait(), status)

    def test_shows_text_and_sends_lines(self):
        started = self.start(self.device, "--baud", "57600", "--stop-bits", "2")
        self.expect_rows(started, IDLE)
        os.write(self.side, "ready\r\ncafé\0\x11\n".encode() + b"x" * 1001 + b"\n> \xff")
        self.expect_rows(started, "< ready", "< café\\x00\\x11", "< " + "x" * 1000, "< x",
                         "< > \\xff")
        started.stdin.write("status\n\nthe end")
        started.stdin.close()
        sent = b""
        while not sent.endswith(b"end\r\n"):
            sent += os.read(self.side, 100)
        self.assertEqual(sent, b"status\r\n\r\nthe end\r\n")
        started.send_signal(signal.SIGTERM)
        self.expect_rows(started, "> status", "> ", "> the end", IDLE)
        self.expect_end(started, 0)

    def test_shows_hexadecimal_and_waits_for_a_peer_that_does_not_read(self):
        started = self.start(self.device, "--hex", "--handshake")
        self.expect_rows(started, IDLE)
        os.write(self.side, bytes(range(0x78, 0x8a)))
        self.expect_rows(started, "< 78 79 7a 7b 7c 7d 7e 7f 80 81 82 83 84 85 86 87  "
                                  "xyz{|}~.........", "< 88 89" + " " * 44 + "..")
        os.set_blocking(started.stdin.fileno(), False)
        accepted, row = 0, ""
        while not row.endswith("# the line is held\n"):
            try:
                accepted += os.write(started.stdin.fileno(), b"a line of\n" * 100)
            except BlockingIOError:
                row = started.stdout.readline()
        self.assertLess(accepted, 400000)
        threading.Thread(target=started.stdout.read).start()
        sent = b""
        while len(sent) < accepted // 10 * 11:
            sent += os.read(self.side, 65536)
        self.assertEqual(sent, b"a line of\r\n" * (accepted // 10))
        started.send_signal(signal.SIGINT)
        self.assertEqual(started.wait(), 0)

    def test_explains_itself(self):
        for option, first in (("--help", "usage: portmon [OPTION]... DEVICE\n"),
                              ("--version", "portmon (Utilities) ")):
            started = self.start(option)
            self.assertTrue(started.stdout.read().startswith(first))
            self.expect_end(started, 0)

    def test_says_in_one_line_why_it_ends(self):
        first = self.start(self.device)
        self.expect_rows(first, IDLE)
        for device, reason in ((self.device, errno.EBUSY), ("/dev/null", errno.ENOTTY),
                               ("/missing", errno.ENOENT)):
            self.expect_end(self.start(device), 1, f"portmon: {device}: {os.strerror(reason)}\n")
        os.close(self.side)
        self.expect_end(first, 1, f"portmon: {self.device}: has gone\n")
        for arguments, status in (("", 2), ("--fast", 2), ("more", 2), ("--parity NO", 2),
                                  ("--baud 0", 2), ("--data-bits 9", 2), ("--stop-bits 3", 2)):
            wrong = self.start(*([self.device] if arguments else []), *arguments.split())
            self.assertTrue(wrong.stderr.readline().startswith("portmon: "))
            self.assertEqual(wrong.wait(), status, arguments)


unittest.main()
