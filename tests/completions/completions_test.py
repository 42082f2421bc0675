#!/usr/bin/env python3
"""Types command lines in a shell, with tabs, and compares what the shell completes.

usage: completions_test.py SHELL SHELL-PROGRAM PROGRAM SCRIPT
"""

import os
import pty
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SHELL, SHELL_PROGRAM = sys.argv[1:3]
PROGRAM, SCRIPT = (Path(name).resolve() for name in sys.argv[3:5])

# Typed text, and the command line that results. Each shell adds a space after a complete word.
CASES = [
    ("tarnwick insp\t", "tarnwick inspect "),
    ("tarnwick config ex\t", "tarnwick config explain "),
    ("tarnwick config get --na\t", "tarnwick config get --name="),
    ("tarnwick inspect --all\t", "tarnwick inspect --all-records "),
    ("tarnwick inspect --form\t", "tarnwick inspect --format="),
    ("tarnwick inspect --format=te\t", "tarnwick inspect --format=text "),
    ("tarnwick inspect --format js\t", "tarnwick inspect --format jsonl "),
    ("tarnwick inspect --format=text --color=ne\t", "tarnwick inspect --format=text --color=never "),
    ("tarnwick help config ch\t", "tarnwick help config check "),
    ("tarnwick inspect cap\t", "tarnwick inspect capture.tnw "),
    ("tarnwick inspect --format=text cap\t", "tarnwick inspect --format=text capture.tnw "),
    ("tarnwick inspect -- cap\t", "tarnwick inspect -- capture.tnw "),
    ("tarnwick sh\t", "tarnwick show "),
    ("tarnwick show --a\t", "tarnwick show --all "),
    ("tarnwick diff --fa\t", "tarnwick diff --fail-if="),
    ("tarnwick statements --so\t", "tarnwick statements --sort="),
    ("tarnwick recover cap\t", "tarnwick recover capture.tnw "),
    ("tarnwick record --ro\t", "tarnwick record --rotate="),
    ("tarnwick ls --mask=no\t", "tarnwick ls --mask=none "),
    ("tarnwick replay --sp\t", "tarnwick replay --speed="),
    ("tarnwick report cap\t", "tarnwick report capture.tnw "),
    ("tarnwick export --to=sq\t", "tarnwick export --to=sqlite "),
    ("tarnwick query --max\t", "tarnwick query --max-rows="),
    ("tarnwick query --form\t", "tarnwick query --format="),
    ("tarnwick config dump --set cap\t", "tarnwick config dump --set capture.tnw "),
]

# Commands that load the script and let Control-G print the command line in brackets and clear it.
SET_UP = {
    "bash": r"""
        source {script}
        show() {{ printf '<%s>\n' "$READLINE_LINE"; READLINE_LINE= READLINE_POINT=0; }}
        bind -x '"\C-g": show'
        """,
    "zsh": r"""
        fpath=({script.parent} $fpath)
        autoload -Uz compinit; compinit -D -u
        show() {{ print -r -- "<$BUFFER>"; BUFFER=; }}
        zle -N show; bindkey '^G' show
        """,
}
ARGUMENTS = {"bash": ["--norc", "--noprofile", "-i"], "zsh": ["-f", "-i"]}
PROMPT = "READY> "


class Terminal:
    """A shell on a terminal."""

    def __init__(self, environment, folder):
        self.child, self.descriptor = pty.fork()
        if self.child == 0:
            os.chdir(folder)
            os.execve(SHELL_PROGRAM, [SHELL, *ARGUMENTS[SHELL]], environment)
        self.output = ""

    def type(self, text):
        os.write(self.descriptor, text.encode())

    def read_until(self, pattern):
        """Returns the first match in what the shell prints, and drops the output up to its end."""
        while not (found := re.search(pattern, self.output)):
            self.output += os.read(self.descriptor, 4096).decode(errors="replace")
        self.output = self.output[found.end() :]
        return found

    def close(self):
        os.close(self.descriptor)
        os.waitpid(self.child, 0)


class Completions(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        (self.folder / "bin").mkdir()
        (self.folder / "bin/tarnwick").symlink_to(PROGRAM)
        (self.folder / "capture.tnw").touch()
        self.environment = {
            "HOME": folder.name,
            "INPUTRC": "/dev/null",
            "LC_ALL": "C.UTF-8",
            "PATH": f"{self.folder}/bin:{os.environ['PATH']}",
            "PS1": PROMPT,
            "TERM": "dumb",
        }

    @unittest.skipIf(SHELL == "fish", "fish prints its completions without a terminal")
    def test_completes_typed_lines(self):
        terminal = Terminal(self.environment, self.folder)
        self.addCleanup(terminal.close)
        terminal.read_until(PROMPT)
        for command in SET_UP[SHELL].format(script=SCRIPT).strip().splitlines():
            terminal.type(command.strip() + "\n")
            terminal.read_until(PROMPT)
        for typed, expected in CASES:
            with self.subTest(typed=typed):
                terminal.type(typed + "\a")
                self.assertEqual(terminal.read_until("<(tarnwick.*)>\r?\n")[1], expected)

    @unittest.skipUnless(SHELL == "fish", "only fish prints its completions without a terminal")
    def test_prints_completions(self):
        for typed, expected in CASES:
            with self.subTest(typed=typed):
                command = "source $argv[1]; complete --do-complete $argv[2]"
                found = subprocess.run(
                    [SHELL_PROGRAM, "--no-config", "--command", command, str(SCRIPT), typed.removesuffix("\t")],
                    check=True,
                    capture_output=True,
                    text=True,
                    env=self.environment,
                    cwd=self.folder,
                ).stdout
                self.assertEqual([line.split("\t")[0] for line in found.splitlines()], [expected.split()[-1]])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
