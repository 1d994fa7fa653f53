"""readme_test.py SOURCE WORK_DIR: what README.md says for a project of one's own, done word by word.

The first commands run in the source tree, the others beside the program.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys

source, work = map(pathlib.Path, sys.argv[1:])
text = (source / "README.md").read_text(encoding="utf-8")
section = re.search(r"\n## In your project\n(.*?)\n## ", text, re.DOTALL).group(1)
blocks = {kind: re.findall(rf"^```{kind}\n(.*?)^```", section, re.DOTALL | re.MULTILINE)
          for kind in ("sh", "cpp", "cmake")}
install, build, compile_by_hand = blocks["sh"]
program, = blocks["cpp"]
project, subdirectory = blocks["cmake"]
expected = re.search(r"prints `(.*)`", section).group(1)


def run(commands, place):
    environment = os.environ | {"HOME": str(work)}
    done = subprocess.run(["bash", "-euc", commands], cwd=place, env=environment, check=True,
                          stdout=subprocess.PIPE, text=True)
    return done.stdout.splitlines()


def try_project(name, cmake_text, commands):
    place = work / name
    place.mkdir(parents=True)
    (place / "app.cpp").write_text(program)
    (place / "CMakeLists.txt").write_text(cmake_text)
    if "libs/utilities" in cmake_text:
        (place / "libs").mkdir()
        (place / "libs/utilities").symlink_to(source)
    printed = run(commands, place)[-1]
    if printed != expected:
        sys.exit(f"{name}: printed {printed} instead of {expected}")


shutil.rmtree(work, ignore_errors=True)
work.mkdir()
run(install, source)
try_project("find_package", project, build)
try_project("pkg_config", "", compile_by_hand)
shutil.rmtree(work / "utilities")
try_project("subdirectory", re.sub(r"find_package.*\n", subdirectory, project), build)
