"""run_guide.py GUIDE PROGRAM: the guide's program prints what the guide says."""

import os
import re
import subprocess
import sys
import tempfile
import threading
import tty


def answer(master):
    """A device that answers ping by pong."""
    heard = b""
    while b"ping" not in heard:
        heard += os.read(master, 64)
    os.write(master, b"pong")


def main():
    guide, program = sys.argv[1:]
    with open(guide, encoding="utf-8") as file:
        expected = re.search(r"\n```text\n(.*?)```", file.read(), re.DOTALL).group(1)
    master, slave = os.openpty()
    tty.setraw(slave)
    threading.Thread(target=answer, args=(master,), daemon=True).start()
    with tempfile.TemporaryDirectory() as directory:
        done = subprocess.run([program, os.ttyname(slave)], cwd=directory, timeout=60, check=False,
                              env=os.environ | {"LC_ALL": "C.UTF-8"},
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    printed = done.stdout.decode()
    if done.returncode != 0 or printed != expected:
        sys.exit(f"ended with {done.returncode}, printed:\n{printed}instead of:\n{expected}")


main()
