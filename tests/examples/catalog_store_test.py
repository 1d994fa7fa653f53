"""Runs the catalogue program's store commands, on real directories and from several processes."""

import contextlib
import datetime
import hashlib
import json
import os
import pathlib
import pty
import random
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest

PROGRAM = os.path.abspath(sys.argv.pop(1))
BLOCK = 4096
SEED = 20261124
TOTALS = "{} new, {} changed, {} moved, {} missing, {} unreadable, {} unchanged\n".format


def open_files(process):
    """The paths of what a process has open."""
    for number in os.listdir(f"/proc/{process}/fd"):
        with contextlib.suppress(OSError):  # closed meanwhile
            yield os.readlink(f"/proc/{process}/fd/{number}")


class Store(unittest.TestCase):
    def setUp(self):
        self.work = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory())).resolve()
        self.tree = self.work / "tree"
        self.tree.mkdir()
        self.enterContext(contextlib.chdir(self.work))
        self.store = pathlib.Path("store")
        self.environment = {**os.environ, "LC_ALL": "C.UTF-8", "TZ": "UTC",
                            "XDG_STATE_HOME": str(self.work / "state")}

    def put(self, name, content=b""):
        path = self.tree / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)

    def start(self, *arguments, **options):
        return subprocess.Popen([PROGRAM, *map(str, arguments)], cwd=self.work,
                                env=self.environment, stdin=subprocess.PIPE,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, **options)

    def run_catalog(self, *arguments, store="store", given=""):
        started = self.start(*arguments, *(["--store", store] if store else []))
        output, errors = started.communicate(os.fsencode(given), timeout=50)
        return started.returncode, os.fsdecode(output), os.fsdecode(errors)

    def expect(self, status, output, *arguments, **options):
        self.assertEqual(self.run_catalog(*arguments, **options)[:2], (status, output))

    def paths(self):
        status, output, _ = self.run_catalog("find", "*")
        self.assertEqual(status, 0)
        return [line.split("  ")[0] for line in output.splitlines()[:-1]]

    def test_tells_what_became_of_the_tree(self):
        tree, long_name = self.tree, "/".join(["d" * 200] * 7) + "/deep"
        for name in ("same", "other", "gone", "left", "kind", "rights", "shut/in", long_name):
            self.put(name, name.encode())
        (tree / "link").symlink_to("here")
        os.mkfifo(tree / "pipe")
        os.chmod(tree / "rights", 0o644)
        self.expect(0, TOTALS(19, 0, 0, 0, 0, 0), "scan", tree)
        self.assertIn(f"{tree}/{long_name}", self.paths())
        self.expect(0, TOTALS(0, 0, 0, 0, 0, 19), "verify", "-j1", "--quiet")
        hidden = (tree / "same").stat()
        self.put("same", b"emas")
        os.utime(tree / "same", ns=(hidden.st_atime_ns, hidden.st_mtime_ns))
        self.put("other", b"2")
        self.put("new", b"1")
        (tree / "gone").unlink()
        (tree / "left").rename(tree / "right")
        (tree / "kind").unlink()
        (tree / "kind").mkdir()
        os.chmod(tree / "rights", 0o4600)
        (tree / "link").unlink()
        (tree / "link").symlink_to("there\n")
        self.expect(1, "missing {0}/gone\n"
                       "changed {0}/kind: type file -> directory, mode 0644 -> 0755\n"
                       "changed {0}/link: target here -> there\\n\n"
                       "new {0}/new\n"
                       "changed {0}/other: content, size 5 -> 1\n"
                       "moved {0}/right from {0}/left\n"
                       "changed {0}/rights: mode 0644 -> 4600\n"
                       "changed {0}/same: content, but neither size nor time\n".format(tree)
                    + TOTALS(1, 5, 1, 1, 0, 12), "verify")
        self.expect(1, f"changed {tree}/same: content, but neither size nor time\n"
                       + TOTALS(0, 1, 0, 0, 0, 0), "verify", "tree/same")
        self.expect(0, TOTALS(1, 4, 1, 1, 0, 13), "scan", tree)
        self.expect(1, f"changed {tree}/same: content, but neither size nor time\n"
                       + TOTALS(0, 1, 0, 0, 0, 18), "verify")
        self.expect(0, TOTALS(0, 1, 0, 0, 0, 0), "accept", "tree/same")
        self.expect(0, TOTALS(0, 0, 0, 0, 0, 19), "verify")

    def test_checks_copies_parts_and_what_was_left_in(self):
        for name in ("a", "b.o", "sub/c", "sub/objects/d"):
            self.put(name, name.encode())
        tree, options = self.tree, ("-x*.o", "-xsub/obj*")
        self.expect(0, TOTALS(4, 0, 0, 0, 0, 0), "scan", "tree", *options)
        self.expect(0, TOTALS(0, 0, 0, 0, 0, 4), "verify")
        self.expect(0, TOTALS(2, 0, 0, 0, 0, 4), "scan", "tree", "-x*.c", "--exclude", "sub/obj*/d")
        self.expect(0, TOTALS(1, 0, 0, 0, 0, 6), "scan", "tree", "-x", "")
        shutil.copytree(tree, self.work / "copy")
        (self.work / "copy/sub/c").write_text("C")
        os.chmod(self.work / "copy/a", 0o600)
        self.expect(1, f"changed {self.work}/copy/sub/c: content, size 5 -> 1\n" + TOTALS(0, 1, 0, 0, 0, 6),
                    "verify", "--root", "copy", "--content")
        self.expect(0, TOTALS(0, 0, 0, 0, 0, 3), "verify", "-rcopy", "-c", "tree/sub/objects", "tree/b.o")
        self.assertEqual(self.run_catalog("verify", "-r", "no")[::2],
                         (1, "catalog: no: No such file or directory\n"))
        # A list from elsewhere, into a store of its own.
        for given, options in (("tree/a\n./tree/sub/c\n", "-"), ("tree/a\0tree/sub/c", "-0")):
            listed = "listed" + options
            self.expect(0, TOTALS(2, 0, 0, 0, 0, 0), "scan", "tree", options, given=given, store=listed)
            self.expect(0, TOTALS(0, 0, 0, 0, 0, 2), "verify", store=listed)
        tree.rename("away")
        self.expect(1, f"missing {tree}/a\nmissing {tree}/sub/c\n" + TOTALS(0, 0, 0, 2, 0, 0),
                    "verify", store=listed)
        pathlib.Path("away").rename("tree")
        self.expect(0, "4 paths forgotten\n", "forget", "tree/sub")
        self.assertEqual(self.paths(), [f"{tree}/a", f"{tree}/b.o"])
        self.expect(0, "4 paths forgotten\n", "forget", self.work)
        for command in (("forget", "tree"), ("accept", "tree")):
            self.assertEqual(self.run_catalog(*command)[::2],
                             (1, "catalog: tree: not in the catalogue\n"))
        self.assertEqual(self.run_catalog("verify"), (1, "", "catalog: nothing to verify\n"))

    def test_shows_its_entries(self):
        self.put("a.txt", b"abc")
        (self.tree / "ln").symlink_to("a.txt")
        os.utime(self.tree / "a.txt", (1_000_000_000, 1_000_000_000))
        os.chmod(self.tree / "a.txt", 0o6751)
        self.run_catalog("scan", self.tree, "--sha256")
        md5 = "900150983cd24fb0d6963f7d28e17f72"
        sha256 = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"
        line = f"{self.tree}/a.txt  3  {{}}  {{}}\n1 file, 3 bytes\n".format
        self.expect(0, line("2001-09-09 01:46:40", md5), "find", "*.txt")
        self.expect(0, line("01:46:40 09/09/01", sha256), "find", "a*", "--sha256", "-dlocale")
        output = self.run_catalog("show", "--long")[1].splitlines()
        self.assertRegex(output[0], f"^{self.tree}: scanned ....-..-.. .*, [0-9a-f]{{16}}$")
        self.assertRegex(output[2], f"^-rwsr-s--x  [^ ]+ +[^ ]+ +{self.tree}/a.txt  ")
        self.assertRegex(output[3], f"^lrwxrwxrwx .*/ln -> a.txt .*  link$")

    def test_writes_and_checks_the_lists_of_other_programs(self):
        names = ["plain", " two  blanks ", "back\\slash", "new\nline", "re\rturn", "MD5 (x) = y", "*"]
        for name in names:
            self.put(name, name.encode())
        self.put("caf\udce9 \u00e9\U0001F600\"", b"1")
        self.run_catalog("scan", self.tree, "--sha256")
        for tool, form in (("md5sum", ()), ("sha256sum", ("-Fsha256",))):
            for options in ((), ("--tag",), ("-z",), ("--tag", "-z")):
                with self.subTest(tool=tool, options=options):
                    ours = self.run_catalog("export", "--relative", *form, *options)[1]
                    theirs = subprocess.run([tool, *options, *sorted(os.listdir(b"tree"))],
                                            cwd="tree", capture_output=True, check=True).stdout
                    self.assertEqual(ours.encode(errors="surrogateescape"), theirs)
                    zero = [option for option in options if option == "-z"]
                    self.expect(0, TOTALS(0, 0, 0, 0, 0, 8), "check", *zero, "-rtree", given=ours,
                                store="")

        lines = self.run_catalog("export", "--format", "json")[1]
        objects = [json.loads(line) for line in lines.splitlines()]
        self.assertEqual([os.fsencode(one["path"]) for one in objects],
                         sorted([bytes(self.tree), *map(bytes, self.tree.iterdir())]))
        found = (self.tree / "plain").stat()
        modified = datetime.datetime.fromtimestamp(found.st_mtime, datetime.UTC)
        self.assertEqual({**objects[-2], "modified": objects[-2]["modified"][:19]},
                         {"path": f"{self.tree}/plain", "type": "file", "size": 5, "mode": "0644",
                          "owner": os.geteuid(), "group": os.getegid(),
                          "modified": modified.strftime("%FT%T"),
                          "md5": hashlib.md5(b"plain").hexdigest(),
                          "sha256": hashlib.sha256(b"plain").hexdigest()})
        self.put("plain", b"x")
        (self.tree / "*").unlink()
        pathlib.Path("list").write_text(lines + "0123  nothing\n# a comment\n")
        self.assertEqual(self.run_catalog("check", "list", store=""),
                         (1, f"missing {self.tree}/*\nchanged {self.tree}/plain: content\n"
                             + TOTALS(0, 1, 0, 1, 0, 6),
                          "catalog: list: line 10 is no checksum\n"))

    def test_loses_nothing_when_several_scan_into_one_store(self):
        names = [f"{part}/{number}" for part in range(4) for number in range(150)]
        for name in names:
            self.put(name, name.encode())
        # Each part is scanned twice at the same time.
        scans = [self.start("scan", self.tree / str(part % 4), "--store", self.store)
                 for part in range(8)]
        while any(scan.poll() is None for scan in scans):
            if self.store.exists():
                self.assertEqual(self.run_catalog("show")[0], 0)
        for scan in scans:
            self.assertEqual((scan.communicate()[1], scan.returncode), (b"", 0))
        self.assertEqual(self.paths(), sorted(str(self.tree / name) for name in names))
        self.assertEqual(len(list(self.work.iterdir())), 3)

    def test_keeps_what_was_scanned_when_it_is_stopped(self):
        for number in range(200):
            self.put(str(number), b"x")
        os.mkfifo(self.tree / "pipe")
        self.put("the last is endless")
        os.truncate(self.tree / "the last is endless", 1 << 40)
        for how, status, kept in ((signal.SIGINT, 130, 200), (signal.SIGKILL, -signal.SIGKILL, 200),
                                  (signal.SIGINT, 130, 201)):
            started = self.start("scan", self.tree, "--store", self.store, "-j1")
            while not any(link.endswith("/the last is endless") for link in open_files(started.pid)):
                self.assertIsNone(started.poll())
            started.send_signal(how)
            started.communicate(timeout=50)
            self.assertEqual((started.returncode, len(self.paths())), (status, kept))
            self.put("one more")
        os.truncate(self.tree / "the last is endless", 1)
        self.expect(0, TOTALS(1, 0, 0, 0, 0, 203), "scan", self.tree)

    def test_says_in_one_line_why_there_is_nothing_to_say(self):
        for arguments, reason in ((("scan", "no"), "no: No such file or directory"),
                                  (("scan", "tree", "-"), "/: not in {tree}"),
                                  (("verify",), "store: No such file or directory"),
                                  (("verify", "--log", "tree/x/y"), "tree/x/y: Not a directory"),
                                  (("archive", "out"), "store: No such file or directory")):
            with self.subTest(arguments):
                self.put("x")
                self.assertEqual(self.run_catalog(*arguments, given="/"),
                                 (1, "", f"catalog: {reason.format(tree=self.tree)}\n"))
                self.assertFalse(self.store.exists())
        self.assertEqual(self.run_catalog("check", given="x\n", store="")[2].splitlines(),
                         ["catalog: -: line 1 is no checksum", "catalog: nothing to check"])

    def test_refuses_whatever_is_not_as_it_was_written(self):
        for number in range(60):
            self.put(f"{'directory/' * (number % 3)}{number}", b"x" * number)
        self.run_catalog("scan", "tree", "--sha256")
        other = pathlib.Path("other")
        self.run_catalog("scan", "tree", store=other)
        sound, foreign = self.store.read_bytes(), other.read_bytes()
        expected = self.run_catalog("show", "--long")
        chance = random.Random(SEED)
        place = lambda: chance.choice((chance.randrange(len(sound)), chance.randrange(200)))
        block = lambda: chance.randrange(len(foreign) // BLOCK) * BLOCK

        def swapped(one, two, size, source):
            damaged = bytearray(sound)
            damaged[one:one + size], damaged[two:two + size] = (source[two:two + size],
                                                                sound[one:one + size])
            return bytes(damaged)

        def flipped(at):
            return sound[:at] + bytes([sound[at] ^ 1 << chance.randrange(8)]) + sound[at + 1:]

        stores = [flipped(place()) for _ in range(80)]
        stores += [sound[:place()] for _ in range(40)]
        stores += [sound[:size] for size in range(0, len(sound), BLOCK)]
        stores += [swapped(block(), block(), BLOCK, source) for source in 20 * (sound, foreign)]
        stores += [swapped(place(), place(), chance.randrange(1, 99), sound) for _ in range(40)]
        stores += [sound + bytes(1), sound + bytes(BLOCK), sound[:BLOCK] + foreign[BLOCK:],
                   b"#!/bin/sh\n" * 100, sound[:19] + b"\1" + sound[20:]]
        for number, content in enumerate(stores):
            self.store.write_bytes(content)
            for command in (("show", "--long"), ("verify",), ("scan", "tree"))[:3 if number % 20 == 0 else 1]:
                with self.subTest(number=number, command=command[0]):
                    status, output, errors = self.run_catalog(*command)
                    if content == sound:
                        self.assertEqual((status, errors), (0, ""))
                        continue
                    self.assertEqual((status, output, errors.count("\n")), (1, "", 1), errors)
                    self.assertEqual(errors[:16], "catalog: store: ")
                    self.assertEqual(self.store.read_bytes(), content)
        self.assertEqual(errors, "catalog: store: a store of version 1, not 2: scan into a new one\n")

    def test_archives_and_restores_the_store(self):
        self.put("file", b"1")
        self.run_catalog("scan", "tree")
        os.chmod(self.store, 0o640)
        sound, whole = self.store.read_bytes(), self.store.stat()
        done = self.run_catalog("archive", "an out")
        size = os.stat("an out.gz").st_size
        sizes = (f"store: {len(sound)} bytes\n"
                 f"an out.gz: {size} bytes, {100 * size / len(sound):.1f} %\n")
        self.assertEqual(done, (0, sizes, ""))
        exists = "catalog: {}: exists; --force overwrites it\n".format
        self.assertEqual(self.run_catalog("archive", "an out"), (1, "", exists("an out.gz")))
        self.assertEqual(self.run_catalog("restore", "an out"), (1, "", exists("store")))
        self.store.unlink()
        self.store.write_bytes(b"damaged")
        self.assertEqual(self.run_catalog("restore", "an out", "--force"), (0, sizes, ""))
        self.assertEqual((self.store.read_bytes(), self.store.stat().st_mode,
                          os.stat("an out.gz").st_mode), (sound, whole.st_mode, whole.st_mode))
        # Anything that is not a store never replaces one.
        pathlib.Path("out.gz").write_bytes(b"")
        os.mkdir("shut", 0o500)
        for command, reason in (("restore out --force", "out.gz: not a catalogue's store"),
                                ("restore no --force", "no.gz: No such file or directory"),
                                ("archive no/out", "no/out.gz: No such file or directory")):
            self.assertEqual(self.run_catalog(*command.split()),
                             (1, "", f"catalog: {reason}\n"))
        self.environment["PATH"] = "/nowhere"
        self.assertEqual(self.run_catalog("archive", "new"), (1, "", "catalog: gzip: the program "
                         "is not installed, or not in the PATH\n"))
        self.assertEqual(self.store.read_bytes(), sound)
        self.assertEqual(sorted(os.listdir()), ["an out.gz", "out.gz", "shut", "state", "store", "tree"])

    def test_draws_a_bar_on_a_terminal_only(self):
        for number in range(20):
            self.put(str(number))
        self.assertEqual(self.run_catalog("scan", self.tree)[2], "")
        os.truncate(self.tree / "0", 1 << 29)
        for quiet, ends in (((), [b"\r\x1b[K"]), (("-q",), [b""])):
            ours, theirs = pty.openpty()
            scan = subprocess.Popen([PROGRAM, "scan", self.tree, "-f", "-sstore", *quiet],
                                    cwd=self.work, env=self.environment,
                                    stdout=subprocess.DEVNULL, stderr=theirs)
            os.close(theirs)
            shown = b""
            with contextlib.suppress(OSError):  # raised once the other side is closed
                while True:
                    shown += os.read(ours, 10000)
            os.close(ours)
            self.assertEqual(scan.wait(50), 0)
            self.assertIn(shown[-4:], ends)


unittest.main()
