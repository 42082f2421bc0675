#!/usr/bin/env python3
"""Reports which lines, branches and conditions of libs/tarnwick the tests cover.

Reads the gcov data of a build tree of the preset `coverage`. A line is covered if it ran in any source that includes it
and in any instance of a template; branches and conditions are merged in the same way. Two things are left out: the
branches from a call to the code that runs when the call throws, and templates without an instance.

uncovered.tsv lists the lines that no test covers: file, text of the line, number of such lines, reason. The script
fails if an uncovered line is missing from this list, or if a listed line is covered. Otherwise it writes the totals to
docs/figures/coverage.md.
"""

import argparse
import collections
import concurrent.futures
import json
import os
import pathlib
import subprocess
import sys

repository = pathlib.Path(__file__).resolve().parents[2]
FOLDER = "libs/tarnwick/"


class File:
    def __init__(self):
        self.lines = collections.Counter()  # {line: execution count}
        self.branches = collections.Counter()  # {(line, branches of the line, index): execution count}
        self.conditions = {}  # {(line, index, number of outcomes): outcomes that never decided}


def gcov(notes):
    """The gcov reports of one object file."""
    command = ["gcov", "--json-format", "--stdout", "--branch-probabilities", "--conditions", str(notes)]
    run = subprocess.run(command, cwd=repository, capture_output=True, text=True, check=True)
    return [json.loads(line) for line in run.stdout.splitlines() if line.startswith("{")]


def source_of(report, file):
    path = pathlib.Path(os.path.normpath(pathlib.Path(report["current_working_directory"]) / file["file"]))
    return str(path.relative_to(repository)) if path.is_relative_to(repository) else ""


def branches_of(line):
    """The branches of a line, without those of exceptions."""
    throwing = {branch["source_block_id"] for branch in line["branches"] if branch["throw"]}
    return [branch for branch in line["branches"] if branch["source_block_id"] not in throwing]


def add(files, report):
    for file in report["files"]:
        path = source_of(report, file)
        if not path.startswith(FOLDER):
            continue
        known = files[path]
        for line in file["lines"]:
            number = line["line_number"]
            known.lines[number] += line["count"]
            branches = branches_of(line)
            for at, branch in enumerate(branches):
                known.branches[number, len(branches), at] += branch["count"]
            for at, condition in enumerate(line.get("conditions", [])):
                missed = {(term, True) for term in condition["not_covered_true"]}
                missed |= {(term, False) for term in condition["not_covered_false"]}
                key = number, at, condition["count"]
                known.conditions[key] = known.conditions.get(key, missed) & missed


def read(build):
    objects = []
    for part in ("libs/tarnwick", "tests/CMakeFiles/tarnwick_tests.dir", "tests/coverage"):
        found = sorted((build / part).rglob("*.gcno"))
        if not found:
            sys.exit(f"coverage: {build / part} has no coverage build")
        objects += found
    files = collections.defaultdict(File)
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for reports in pool.map(gcov, objects):
            for report in reports:
                add(files, report)
    return dict(sorted(files.items()))


def share(done, of):
    return f"{done}/{of} ({done / of:.1%})" if of else "none"


def figures(files):
    """(lines, covered lines, branches, taken branches, outcomes of conditions, covered outcomes)"""
    lines = [count for file in files for count in file.lines.values()]
    branches = [count for file in files for count in file.branches.values()]
    outcomes = sum(key[2] for file in files for key in file.conditions)
    missed = sum(len(missed) for file in files for missed in file.conditions.values())
    ran, taken = (sum(count > 0 for count in counts) for counts in (lines, branches))
    return len(lines), ran, len(branches), taken, outcomes, outcomes - missed


def page(totals):
    """The totals of `figures` as a page of the documentation."""
    lines = [
        "# Figures: coverage",
        "",
        "`./dev coverage` writes this page if `tests/coverage/uncovered.tsv` explains every uncovered line.",
        "",
        "| Of `libs/tarnwick` | All | Covered |",
        "|---|---:|---:|",
    ]
    for name, of, covered in zip(("lines", "branches", "outcomes of conditions"), totals[::2], totals[1::2]):
        lines.append(f"| {name} | {of:,} | {covered:,} ({covered / of:.1%}) |")
    return "\n".join(lines) + "\n"


def table(files):
    rows = [(path, *figures([file])) for path, file in files.items()]
    rows.append(("all", *figures(files.values())))
    print(f"{'':58}{'lines':>18}{'branches':>18}{'conditions':>18}")
    for path, lines, ran, branches, taken, outcomes, covered in rows:
        cells = share(ran, lines), share(taken, branches), share(covered, outcomes)
        print(f"{path:58}" + "".join(f"{cell:>18}" for cell in cells))


def text_of(path, number):
    return (repository / path).read_text().splitlines()[number - 1].strip()


def missed_branches(files):
    for path, file in files.items():
        numbers = {key[0] for key, count in file.branches.items() if count == 0}
        numbers |= {key[0] for key, missed in file.conditions.items() if missed}
        for number in sorted(numbers):
            missed = [missed for key, missed in file.conditions.items() if key[0] == number]
            terms = sorted(f"{term + 1} {str(outcome).lower()}" for outcomes in missed for term, outcome in outcomes)
            branches = sum(count == 0 for key, count in file.branches.items() if key[0] == number)
            what = [f"{branches} branches"] * (branches > 0) + [f"conditions {', '.join(terms)}"] * bool(terms)
            print(f"  {path}:{number}: {text_of(path, number)}  [{'; '.join(what)}]")


def unlisted(files):
    """Prints the uncovered lines. True if they differ from those in uncovered.tsv."""
    rows = (pathlib.Path(__file__).parent / "uncovered.tsv").read_text().splitlines()
    listed = {(path, text): (int(count), reason) for path, text, count, reason in (row.split("\t") for row in rows)}
    missed = collections.Counter()
    for path, file in files.items():
        for number in sorted(number for number, count in file.lines.items() if count == 0):
            line = path, text_of(path, number)
            missed[line] += 1
            count, reason = listed.get(line, (0, ""))
            print(f"  {path}:{number}: {line[1]}  [{reason if missed[line] <= count else 'NOT COVERED'}]")
    for line, (count, _) in sorted(listed.items()):
        if missed[line] < count:
            print(f"  {line[0]}: {line[1]}  [COVERED OR REMOVED, but uncovered.tsv lists {count}]")
    return missed != {line: count for line, (count, _) in listed.items()}


def main():
    arguments = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    arguments.add_argument("build", type=pathlib.Path)
    files = read(arguments.parse_args().build.resolve())
    table(files)
    print("\nbranches that no test takes, and condition terms that never decide the outcome:")
    missed_branches(files)
    print("\nlines that no test covers:")
    if unlisted(files):
        sys.exit(1)
    written = repository / "docs/figures/coverage.md"
    written.parent.mkdir(exist_ok=True)
    written.write_text(page(figures(files.values())))
    print(f"\ncoverage: wrote {written.relative_to(repository)}")


if __name__ == "__main__":
    main()
