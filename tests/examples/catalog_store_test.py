"""Runs the catalogue program's store commands, on real directories and from several processes."""

import contextlib
import os
import pathlib
import pty
import signal
import subprocess
import sys
import tempfile
import unittest

PROGRAM = os.path.abspath(sys.argv.pop(1))
ENVIRONMENT = {**os.environ, "LC_ALL": "C.UTF-8", "TZ": "UTC"}
RECORD = 512


class Store(unittest.TestCase):
    def setUp(self):
        self.work = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory())).resolve()
        self.tree = self.work / "tree"
        self.tree.mkdir()
        self.enterContext(contextlib.chdir(self.work))
        self.store = pathlib.Path("store")  # compressed files have no blanks in their paths

    def put(self, name, content=b""):
        path = self.tree / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)

    def start(self, *arguments, **options):
        return subprocess.Popen([PROGRAM, *map(str, arguments)], cwd=self.work, text=True,
                                env=ENVIRONMENT, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                **options)

    def run_catalog(self, *arguments):
        started = self.start(*arguments, "--store", self.store)
        output, errors = started.communicate(timeout=50)
        return started.returncode, output, errors

    def scan(self, *options):
        return self.run_catalog("scan", self.tree, "--quiet", *options)

    def paths(self):
        status, output, _ = self.run_catalog("find", "*")
        self.assertEqual(status, 0)
        return [line.split("  ")[0] for line in output.splitlines()[:-1]]

    def test_tells_what_became_of_the_files(self):
        long_name = "/".join(["d" * 200] * 7) + "/deep"
        for name in ("same", "other", "gone", long_name):
            self.put(name, b"1")
        self.assertEqual(self.scan(), (0, "", ""))
        self.assertEqual(self.paths(),
                         sorted(str(self.tree / n) for n in ("same", "other", "gone", long_name)))
        verify = "{} new, {} changed, {} missing, 0 unreadable, {} unchanged\n".format
        self.assertEqual(self.run_catalog("verify", "--threads", "1")[:2], (0, verify(0, 0, 0, 4)))
        self.put("new", b"1")
        self.put("other", b"2")
        (self.tree / "gone").unlink()
        self.assertEqual(self.run_catalog("verify")[:2],
                         (1, f"missing {self.tree}/gone\nnew {self.tree}/new\n"
                             f"changed {self.tree}/other\n" + verify(1, 1, 1, 2)))
        self.assertEqual(self.run_catalog("scan", self.tree)[:2],
                         (0, "1 new file, 1 changed file, 2 unchanged files, 1 missing file\n"))
        self.assertEqual(self.run_catalog("verify")[:2], (0, verify(0, 0, 0, 4)))
        self.put("gone", b"1")
        self.assertEqual(self.run_catalog("scan", self.tree)[1].split(",")[0], "1 new file")

    def test_shows_its_files_and_where_they_come_from(self):
        self.put("a.txt", b"abc")
        self.put("b.dat", b"abcd")
        for name in ("a.txt", "b.dat"):
            os.utime(self.tree / name, (1_000_000_000, 1_000_000_000))
        self.scan()
        line = f"{self.tree}/a.txt  {{}}  01:46:40 09/09/01  900150983cd24fb0d6963f7d28e17f72\n"
        self.assertEqual(self.run_catalog("find", "*.txt"),
                         (0, line.format(3) + "1 file, 3 bytes\n", ""))
        status, output, _ = self.run_catalog("show")
        self.assertEqual(status, 0)
        self.assertRegex(output.splitlines()[0], f"^{self.tree}: scanned .*, [0-9a-f]{{16}}$")
        self.assertIn("\n2 files, 7 bytes\n", output)

    def test_loses_nothing_when_several_scan_into_one_store(self):
        names = [f"{part}/{number}" for part in range(4) for number in range(150)]
        for name in names:
            self.put(name, name.encode())
        # Each part is scanned twice at the same time.
        scans = [self.start("scan", self.tree / str(part % 4), "--quiet", "--store", self.store)
                 for part in range(8)]
        while any(scan.poll() is None for scan in scans):
            if self.store.exists():
                self.assertEqual(self.run_catalog("show")[0], 0)
        for scan in scans:
            self.assertEqual((*scan.communicate(), scan.returncode), ("", "", 0))
        self.assertEqual(self.paths(), sorted(str(self.tree / name) for name in names))
        self.assertEqual(self.store.stat().st_size, RECORD * (1 + 4 + len(names)))

    def test_continues_a_scan_that_was_stopped(self):
        for number in range(2000):
            self.put(str(number), b"x" * 20000)
        for how, status in ((signal.SIGINT, 130), (signal.SIGKILL, -signal.SIGKILL)):
            started = self.start("scan", self.tree, "--quiet", "--store", self.store)
            size = self.store.stat().st_size if self.store.exists() else 0
            while not self.store.exists() or self.store.stat().st_size < size + 100 * RECORD:
                self.assertIsNone(started.poll())
            started.send_signal(how)
            started.communicate(timeout=50)
            self.assertEqual(started.returncode, status)
            self.assertEqual(self.run_catalog("show")[0], 0)
        kept = len(self.paths())
        self.assertGreater(kept, 100)
        self.assertEqual(self.run_catalog("scan", self.tree)[1],
                         f"{2000 - kept} new files, 0 changed files, {kept} unchanged files, "
                         "0 missing files\n")

    def test_refuses_a_damaged_store_and_leaves_it_alone(self):
        self.put("file")
        self.scan()
        sound = self.store.read_bytes()
        damaged = f"record 2 is damaged"
        for reason, content in (("not a catalogue's store", b""),
                                ("not a catalogue's store", b"#!/bin/sh\n" * 100),
                                ("a store of version 2, not 1", sound[:19] + b"\2" + sound[20:]),
                                ("the header is damaged", sound[:100] + b"\1" + sound[101:]),
                                ("cut off", sound[:300]), ("cut off", sound[:-1]),
                                (damaged, sound[:-1] + b"\1"),
                                (damaged, sound[:-RECORD] + bytes(RECORD))):
            self.store.write_bytes(content)
            for command in (("show",), ("find", "*"), ("verify",), ("scan", self.tree)):
                with self.subTest(reason=reason, command=command[0]):
                    self.assertEqual(self.run_catalog(*command),
                                     (1, "", f"catalog: {self.store}: {reason}\n"))
                    self.assertEqual(self.store.read_bytes(), content)

    def test_does_not_take_for_missing_what_it_cannot_see(self):
        self.put("shut/file", b"1")
        self.scan()
        os.rename(self.tree / "shut", self.tree / "away")
        (self.tree / "shut").symlink_to("away")
        self.assertEqual(self.run_catalog("verify")[1].splitlines()[:2],
                         [f"new {self.tree}/away/file", f"missing {self.tree}/shut/file"])
        os.rename(self.tree, self.work / "moved")
        self.assertEqual(self.run_catalog("verify")[:2][1].splitlines()[0],
                         f"missing {self.tree}/shut/file")

    def test_archives_and_restores_the_store(self):
        self.put("file", b"1")
        self.scan()
        sound = self.store.read_bytes()
        done = self.run_catalog("archive", "out")
        size = (self.work / "out.gz").stat().st_size
        sizes = (f"{self.store}: {len(sound)} bytes\n"
                 f"out.gz: {size} bytes, {100 * size / len(sound):.1f} %\n")
        self.assertEqual(done, (0, sizes, ""))
        exists = "catalog: {}: exists; --force overwrites it\n".format
        self.assertEqual(self.run_catalog("archive", "out"), (1, "", exists("out.gz")))
        self.assertEqual(self.run_catalog("restore", "out"), (1, "", exists(self.store)))
        self.store.write_bytes(b"damaged")
        self.assertEqual(self.run_catalog("restore", "out", "--force"), (0, sizes, ""))
        self.assertEqual(self.store.read_bytes(), sound)
        # Anything that is not a store never replaces one.
        (self.work / "out.gz").write_bytes(b"")
        for name, reason in (("out", "not a catalogue's store"), ("no", "No such file")):
            status, output, errors = self.run_catalog("restore", name, "--force")
            self.assertEqual((status, output, errors.count("\n")), (1, "", 1))
            self.assertIn(reason, errors)
        self.assertEqual(self.store.read_bytes(), sound)
        self.assertEqual(len(list(self.work.glob("store*"))), 1)
        self.assertEqual(self.run_catalog("archive", "a b")[0], 2)

    def test_draws_a_bar_on_a_terminal_only(self):
        for number in range(20):
            self.put(str(number))
        self.assertEqual(self.run_catalog("scan", self.tree)[2].splitlines()[::9],
                         ["2 of 20 files", "20 of 20 files"])
        os.truncate(self.tree / "0", 1 << 29)
        ours, theirs = pty.openpty()
        scan = subprocess.Popen([PROGRAM, "scan", self.tree, "--store", self.store], cwd=self.work,
                                env=ENVIRONMENT, stdout=subprocess.DEVNULL, stderr=theirs)
        os.close(theirs)
        shown = b""
        with contextlib.suppress(OSError):  # raised once the other side is closed
            while True:
                shown += os.read(ours, 10000)
        self.assertEqual(scan.wait(50), 0)
        self.assertTrue(shown.endswith(b"\r\x1b[K"))


unittest.main()
