#!/usr/bin/env python3
"""Prints a page: the CPU time of commands of the program, as ratios to a program that only parses the same capture, and
the memory that many requests take.

Usage: measure.py PROGRAM PARSE_REPORTS CAPTURE...

The runs take turns. The smallest time of each command counts, because other load can only add to it.
"""

import os
import pathlib
import subprocess
import sys
import tempfile

COPIES = 60
ROUNDS = 7
REQUESTS = 10_000_000
JSON_LINES = ["inspect", "--format=jsonl"]
# The largest ratio that is allowed, if any.
COMMANDS = [
    (["ls", "--format=jsonl"], 1.8),
    (["ls", "--format=jsonl", "--mask=default"], None),
    (["ls", "--format=csv"], None),
    (["ls", "--format=csv", "--mask=none"], 1.8),
    (["ls", "--format=text"], None),
    (["ls", "--format=text", "--mask=none"], 1.8),
    (["ls", "--format=jsonl", "--where=status>=500"], 1.8),
    (["ls", "--format=jsonl", "--where=method=POST"], 1.8),
    (["ls", "--format=jsonl", "--sort=duration:desc", "--top=10"], None),
    (JSON_LINES, 2.2),
    (["inspect", "--format=jsonl", "--record=RShutdown"], None),
    (["inspect", "--format=text"], None),
    (["inspect", "--format=text", "--mask=none"], None),
    (["export", "--to=sqlite", "-o", "FILE"], 4),
]
MANY_REQUESTS = [
    ["ls", "--format=csv"],
    ["ls", "--format=csv", "--mask=none"],
    ["ls", "--format=csv", "--sort=uri", "--top=10"],
    ["ls", "--format=csv", "--sort=uri"],
]


def cpu_seconds(command, folder):
    """Returns the user and system time of a command, which runs in `folder` and whose output goes to /dev/null."""
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, cwd=folder)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"measure.py: {' '.join(command)} ended with status {process.returncode}")
    return usage.ru_utime + usage.ru_stime


def peak_megabytes(program, arguments):
    """Returns the peak memory of a command that reads many requests."""
    generator = [sys.executable, pathlib.Path(__file__).with_name("many_requests.py"), str(REQUESTS)]
    with subprocess.Popen(generator, stdout=subprocess.PIPE) as capture:
        process = subprocess.Popen([program, *arguments], stdin=capture.stdout, stdout=subprocess.DEVNULL)
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"measure.py: {' '.join(arguments)} ended with status {process.returncode}")
    return usage.ru_maxrss * 1024 / 1e6


def main(program, parse_reports, *captures):
    program, parse_reports = os.path.abspath(program), os.path.abspath(parse_reports)
    with tempfile.TemporaryDirectory() as folder:
        copies = pathlib.Path(folder) / "capture.tnw"
        database = pathlib.Path(folder) / "FILE"
        # Not all at once: the memory of a new process counts that of this one.
        with copies.open("wb") as file:
            for capture in captures * COPIES:
                file.write(pathlib.Path(capture).read_bytes())
        commands = [[parse_reports, copies], [parse_reports, "--json", copies]] + [[program, *arguments, copies] for arguments, _ in COMMANDS]
        best = [float("inf")] * len(commands)
        for _ in range(ROUNDS):
            for i, command in enumerate(commands):
                database.unlink(missing_ok=True)
                best[i] = min(best[i], cpu_seconds(command, folder))
        size = copies.stat().st_size
    print(f"CPU time of commands on {COPIES} copies of the example captures ({size / 1e6:.0f} MB), as ratios to a program")
    print("that parses the same frames and reports on an arena and does nothing with them. The program allocates with jemalloc,")
    print("the other one with glibc. `./dev bench` writes this page.")
    print()
    print("| Command | ratio | at most |")
    print("|---|---:|---:|")
    failed = False
    for (arguments, limit), seconds in zip(COMMANDS, best[2:]):
        ratio = seconds / best[0]
        print(f"| `{' '.join(arguments)}` | {ratio:.2f} | {limit or ''} |")
        failed |= limit is not None and ratio > limit
    json_lines = best[2:][[arguments for arguments, _ in COMMANDS].index(JSON_LINES)]
    print()
    print(f"Protobuf's `MessageToJsonString` for the same reports takes {best[1] / best[0]:.2f} with the parsing, so")
    print(f"`{' '.join(JSON_LINES)}` takes {json_lines / best[1]:.2f} of it.")
    print()
    print(f"Peak memory for a capture of {REQUESTS:,} requests with different ids, from `many_requests.py`:")
    print()
    print("| Command | MB |")
    print("|---|---:|")
    for arguments in MANY_REQUESTS:
        print(f"| `{' '.join(arguments)}` | {peak_megabytes(program, arguments):.0f} |")
    if failed:
        print("measure.py: a ratio is larger than allowed", file=sys.stderr)
    return 3 if failed else 0


if __name__ == "__main__":
    if len(sys.argv) < 4:
        sys.exit(__doc__)
    sys.exit(main(*sys.argv[1:]))
