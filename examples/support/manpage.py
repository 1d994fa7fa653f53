"""manpage.py PROGRAM TEMPLATE OUTPUT: a program's page of the manual, compressed.

In the template @SYNOPSIS@, @COMMANDS@, @OPTIONS@, @NOTES@ and @VERSION@ stand for what the program says of
itself, so that the page tells what the program does.
"""

import gzip
import pathlib
import re
import subprocess
import sys

OPTION = re.compile(r"^  (?:-(\S), |    )--(\S+)(?: (\S+))?  +(\S.*)$")


OF_ALL = ("help", "version")


def ask(*arguments):
    done = subprocess.run(arguments, check=True, stdout=subprocess.PIPE, text=True, encoding="utf-8")
    return done.stdout.rstrip("\n")


def text(words):
    """Words as lines of the page, a sentence each."""
    lines = re.sub(r"\. (?=[A-Z])", ".\n", " ".join(words.split())).replace("\\", "\\e").splitlines()
    return "\n".join("\\&" + line if line[0] in ".'" else line for line in lines)


class Help:
    """What `PROGRAM [COMMAND] --help` prints: usage and explanation, options or commands, notes."""

    def __init__(self, *command):
        usage, rest = ask(*command, "--help").split("\n", 1)
        self.words = usage.removeprefix("usage: ").split()
        explanation, listed, *others = rest.split("\n\n")
        self.explanation = text(explanation)
        self.notes = text(others[-1]) if others else ""
        self.commands = re.findall(r"^  (\w+) ", listed, re.MULTILINE)
        unfolded = re.sub(r"\n {10,}", " ", listed).splitlines()
        self.options = [match.groups() for match in map(OPTION.match, unfolded) if match]

    def synopsis(self, command):
        """The usage, with all options in the place of [OPTION]..."""
        words = iter(self.words[1 + len(command):])
        lines = [".Nm"] + [".Cm " + name for name in command]
        required = set()
        for word in words:
            if word.startswith("--"):
                required.add(word[2:])
                lines.append(f".Fl -{word[2:]} Ar {next(words)}")
            elif word == "[OPTION]...":
                lines += [f".Op Fl -{name}" + (f" Ar {value}" if value else "")
                          for _, name, value, _ in self.options
                          if name not in required.union(OF_ALL)]
            else:
                name = word.strip("[].")
                more = " ..." if word.endswith("...") else ""
                lines.append((".Op Ar " if word[0] == "[" else ".Ar ") + name + more)
        return "\n".join(lines)


def item(letter, name, value, explanation):
    short = f"Fl {letter} , " if letter else ""
    return f".It {short}Fl -{name}" + (f" Ar {value}" if value else "") + "\n" + text(explanation)


def main(program, template, output):
    whole = Help(program)
    helps = {(name,): Help(program, name) for name in whole.commands} or {(): whole}
    options = {option[1]: option for one in helps.values() for option in one.options}
    options |= {name: options.pop(name) for name in OF_ALL}
    parts = {
        "SYNOPSIS": "\n".join(one.synopsis(command) for command, one in helps.items()),
        "COMMANDS": "\n".join(f".It Cm {name}\n{helps[name,].explanation}" for name in whole.commands),
        "OPTIONS": "\n".join(item(*option) for option in options.values()),
        "NOTES": whole.notes,
        "VERSION": ask(program, "--version").split()[-1],
    }
    page = re.sub(r"@([A-Z]+)@", lambda match: parts[match[1]], pathlib.Path(template).read_text(encoding="utf-8"))
    pathlib.Path(output).write_bytes(gzip.compress(page.encode("utf-8"), mtime=0))


main(*sys.argv[1:])
