"""Runs the catalogue program, whose path is the first argument, on real directories."""

import hashlib
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import unittest

PROGRAM = os.path.abspath(sys.argv.pop(1))

# Root may read everything unless it drops that right.
AS_ORDINARY_USER = (["setpriv", "--bounding-set", "-dac_override,-dac_read_search"]
                    if os.geteuid() == 0 else [])

# Names as the system has them, and as they are shown.
NAMES = {
    b"a name": "a name",
    b"back\\slash": "back\\\\slash",
    b"bell\x07": "bell\\x07",
    b"caf\xc3\xa9": "café",
    b"cut\xe2\x82": "cut\\xe2\\x82",
    b"new\nline": "new\\nline",
    b"not\xff\xfeutf8": "not\\xff\\xfeutf8",
    b"sub-z": "sub-z",
    b"sub/\xf0\x9f\x98\x80 \xc3": "sub/😀 \\xc3",
    b"sub/deep/tab\there": "sub/deep/tab\\there",
    b"sub0": "sub0",
}


class Catalog(unittest.TestCase):
    def setUp(self):
        self.work = self.enterContext(tempfile.TemporaryDirectory())
        self.tree = os.path.join(self.work, "tree")
        os.mkdir(self.tree)

    def put(self, name, content=b"", modified=86400 * 15000):
        path = pathlib.Path(self.tree, os.fsdecode(name))
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
        os.utime(path, (modified, modified))

    def run_catalog(self, *arguments, prefix=(), locale="C.UTF-8", stdout=subprocess.PIPE,
                    given=""):
        self.environment = {**os.environ, "LC_ALL": locale, "TZ": "America/New_York",
                            "XDG_STATE_HOME": self.work + "/state"}
        done = subprocess.run([*prefix, PROGRAM, *arguments], cwd=self.work, stdout=stdout,
                              stderr=subprocess.PIPE, encoding="utf-8", timeout=50, input=given,
                              env=self.environment)
        return done.returncode, done.stdout, done.stderr

    def names_listed(self, *arguments, **options):
        status, output, errors = self.run_catalog("list", *arguments, **options)
        return status, [line.split("  ")[0] for line in output.splitlines()[:-1]], errors

    def log(self, name="vy-current-status"):
        """The lines of a status log, none while a program that starts has moved the last one away."""
        file = pathlib.Path(self.work, "state/catalog", name)
        try:
            return file.read_text("utf-8").splitlines()
        except FileNotFoundError:
            return []

    def test_lists_all_names_aligned_and_sorted_with_true_digests(self):
        rows = []
        for number, name in enumerate(sorted(NAMES)):
            content = bytes([number]) * (number * 13109)
            self.put(name, content)
            rows.append((NAMES[name], len(content), hashlib.md5(content).hexdigest()))
        total = sum(size for _, size, _ in rows)
        names, sizes = max(len(row[0]) for row in rows), max(len(str(row[1])) for row in rows)
        table = "".join(f"{name:{names}}  {size:{sizes}}  2011-01-25 19:00:00  {md5}\n"
                        for name, size, md5 in rows)
        self.assertEqual(self.run_catalog("list", "tree"),
                         (0, f"{table}{len(rows)} files, {total} bytes\n", ""))
        self.assertEqual((self.log()[0], self.log()[-1]), ("list tree", "done"))
        self.assertEqual(self.names_listed("tree", "caf*", locale="C")[1], ["caf\\xc3\\xa9"])
        self.assertEqual(self.names_listed("tree", "-xs*", "-xa*", "-xb*", "-x*t*")[1],
                         ["café", "new\\nline"])
        for end, options in (("\n", ()), ("\0", ("-0",))):
            given = end.join(("tree/a name", "", "tree/../tree/sub0"))
            self.assertEqual(self.names_listed("-", *options, given=given),
                             (0, ["tree/a name", "tree/../tree/sub0"], ""))

    def test_matches_the_pattern_with_the_files_own_name(self):
        names = ["a.h", "b.hpp", "sub.h/c", "sub.h/dd.h"]
        for name in names:
            self.put(name, b"x")
        for pattern, expected in (("*", names), ("*.h", ["a.h", "sub.h/dd.h"]), ("?.h", ["a.h"]),
                                  ("sub*", []), ("", []), ("C", [])):
            with self.subTest(pattern):
                self.assertEqual(self.names_listed("tree", pattern), (0, expected, ""))
        self.assertIn("\n1 file, 1 byte\n", self.run_catalog("list", "tree", "c")[1])
        self.assertEqual(self.run_catalog("list", "tree", "sub*"), (0, "0 files, 0 bytes\n", ""))

    def test_follows_no_link_below_the_directory(self):
        self.put("sub/file")
        os.mkfifo(os.path.join(self.tree, "fifo"))
        for name, target in (("loop", "."), ("sub/up", ".."), ("file", "sub/file"), ("no", "no")):
            os.symlink(target, os.path.join(self.tree, name))
        os.symlink("tree", os.path.join(self.work, "link"))
        self.assertEqual(self.names_listed("link"), (0, ["sub/file"], ""))

    def test_goes_on_after_what_it_cannot_read(self):
        for name in ("a", "b\nlocked", "c/shut/file", "d"):
            self.put(name)
        os.chmod(os.path.join(self.tree, "b\nlocked"), 0)
        os.chmod(os.path.join(self.tree, "c/shut"), 0)
        expected = ("catalog: c/shut: Permission denied\n"
                    "catalog: b\\nlocked: Permission denied\n")
        self.assertEqual(self.names_listed("tree", prefix=AS_ORDINARY_USER),
                         (1, ["a", "d"], expected))
        self.assertEqual(self.log()[-1], "done, with failures")
        # What is read is not what the size said, and what can be opened but not read.
        self.assertEqual(self.run_catalog("list", "/proc/sys/kernel", "ostype"),
                         (1, "0 files, 0 bytes\n", "catalog: ostype: changed while it was read\n"))
        self.assertIn("catalog: mem: Input/output error\n",
                      self.run_catalog("list", "/proc/self", "mem")[2])

    def test_selects_by_the_local_date_of_the_last_change(self):
        # New York is 5 hours behind GMT, 4 in summer.
        midnight, summer = 1609477200, 1625112000  # 2021-01-01, 2021-07-01
        times = {"a": midnight - 1, "b": midnight, "c": summer - 1, "d": summer, "e": 1, "f": -9,
                 "g": 2**32 + 5}
        for name, modified in times.items():
            self.put(name, modified=modified)
        for options, expected in (("", "abcdefg"), ("--since 2021-01-01", "bcdg"),
                                  ("--until 2020-12-31", "aef"),
                                  ("--since 2021-01-01 --until 2021-06-30", "bc"),
                                  ("--until 1999-01-01 --until 2021-07-01", "abcdef"),
                                  ("--since 2106-02-07", "g"), ("--since 2106-02-08", ""),
                                  ("--since 1969-12-31 --until 1969-12-31", "ef"),
                                  ("--since 2021-07-01 --until 2021-06-30", "")):
            with self.subTest(options):
                self.assertEqual(self.names_listed("tree", *options.split()),
                                 (0, list(expected), ""))
        for form, shown in (("iso", ["2020-12-31 23:59:59", "2021-07-01 00:00:00",
                                     "1969-12-31 19:00:01", "2106-02-07 01:28:21"]),
                            ("locale", ["23:59:59 12/31/20", "00:00:00 07/01/21",
                                        "1969-12-31 19:00:01", "2106-02-07 01:28:21"])):
            lines = self.run_catalog("list", "tree", "--dates", form)[1].splitlines()
            self.assertEqual([lines[row].split("  ")[2].strip() for row in (0, 3, 4, 6)], shown)
        for date in ("2021-02-29", "2021-13-01", "2021-00-10", "2021-01-00", "21-1-1",
                     "2021-01-01x", "2021/01/01", "x\n", ""):
            with self.subTest(date):
                name = date.replace("\n", "\\n")
                self.assertEqual(self.run_catalog("list", "tree", "--since", date),
                                 (2, "", f"catalog: --since {name}: not a date, written like "
                                         "2021-12-31\n"))

    def test_says_in_one_line_why_there_is_no_table(self):
        self.put("file")
        os.symlink("loop", os.path.join(self.work, "loop"))
        for directory, reason in (("tree/file", "Not a directory"),
                                  ("missing", "No such file or directory"),
                                  ("loop", "Too many levels of symbolic links")):
            with self.subTest(directory):
                self.assertEqual(self.run_catalog("list", directory),
                                 (1, "", f"catalog: {directory}: {reason}\n"))
                self.assertEqual(self.log()[-1], "failed")
        with open("/dev/full", "w", encoding="utf-8") as full:
            self.assertEqual(self.run_catalog("list", "tree", stdout=full)[::2],
                             (1, "catalog: standard output: No space left on device\n"))
        self.assertEqual(self.log("vy-last-stop-status")[0], "list loop")

    def test_explains_itself_and_names_what_is_wrong(self):
        for arguments, said in ((("--help",), "\n  verify "), (("list", "-j4", "--help"), "\n  -j, "),
                                (("--version",), "catalog (Utilities) "),
                                (("list", "--vers"), "catalog (Utilities) ")):
            status, output, errors = self.run_catalog(*arguments)
            self.assertEqual((status, said in "\n" + output, errors), (0, True, ""))
        for arguments, reason in (
                ("", "a command is missing; try 'catalog --help'"),
                ("lists tree", "unknown command 'lists'; try 'catalog --help'"),
                ("list", "DIR|- is missing; try 'catalog list --help'"),
                ("list tree * more", "'more' is one word too many; try 'catalog list --help'"),
                ("list --hread 1", "unknown option '--hread'; try 'catalog list --help'"),
                ("list tree -jx", "--threads x: not a number from 1 to 256"),
                ("list -z", "unknown option '-z'; try 'catalog list --help'"),
                ("scan tree --store", "option '--store' needs a value; try 'catalog scan --help'"),
                ("scan tree", "--store FILE is missing; try 'catalog scan --help'"),
                ("scan --quiet=1", "option '--quiet' takes no value; try 'catalog scan --help'"),
                *((f"list tree --threads {number}",
                   f"--threads {number}: not a number from 1 to 256")
                  for number in ("0", "257", "1x", "-1"))):
            with self.subTest(arguments):
                self.assertEqual(self.run_catalog(*arguments.split()),
                                 (2, "", f"catalog: {reason}\n"))

    def test_prints_the_same_table_whatever_the_number_of_threads(self):
        for number in range(300):
            self.put(f"{number}", b"x" * (number * 7919 % 50000))
        expected = self.run_catalog("list", "tree", "--threads", "1")
        self.assertIn("\n300 files, ", expected[1])
        for threads in ("2", "7", "256"):
            self.assertEqual(self.run_catalog("list", "--threads", threads, "--", "tree"), expected)

    def test_ends_in_an_orderly_way_on_interrupt(self):
        self.put("endless")
        os.truncate(os.path.join(self.tree, "endless"), 1 << 40)
        self.run_catalog("list", "/nowhere")
        started = subprocess.Popen([PROGRAM, "list", "tree"], cwd=self.work, text=True,
                                   env=self.environment,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.addCleanup(started.kill)
        while self.log()[-1:] != ["reading the files"]:
            self.assertIsNone(started.poll())
        started.send_signal(signal.SIGINT)
        self.assertEqual(started.communicate(timeout=50), ("", "catalog: interrupted\n"))
        self.assertEqual((started.returncode, self.log()[-1]), (130, "interrupted"))


unittest.main()
