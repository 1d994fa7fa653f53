"""run_guide.py GUIDE PROGRAM: the guide's program prints what the guide says."""

import os
import pathlib
import re
import subprocess
import sys
import tempfile
import threading
import tty

guide, program = sys.argv[1:]
text = pathlib.Path(guide).read_text(encoding="utf-8")
expected = re.search(r"\n```text\n(.*?)```", text, re.DOTALL).group(1)
master, slave = os.openpty()
tty.setraw(slave)


def answer():
    """A device that answers ping by pong."""
    heard = b""
    while b"ping" not in heard:
        heard += os.read(master, 64)
    os.write(master, b"pong")


threading.Thread(target=answer, daemon=True).start()
with tempfile.TemporaryDirectory() as directory:
    done = subprocess.run([program, os.ttyname(slave)], cwd=directory, timeout=60, check=False,
                          env=os.environ | {"LC_ALL": "C.UTF-8"},
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
printed = done.stdout.decode()
if done.returncode != 0 or printed != expected:
    sys.exit(f"ended with {done.returncode}, printed:\n{printed}instead of:\n{expected}")
