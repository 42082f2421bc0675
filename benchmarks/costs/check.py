#!/usr/bin/env python3
"""Holds the instructions and allocations of all kinds of reports against what was reached before.

Fails when a record takes other allocations than its floor, more than 5% above the reached ratio of instructions to
the floor's or to the parse's, when an element of a large report costs more floors than one of a small report, or when
the cost of a chunk depends on its size.
"""

import argparse
import collections
import json
import pathlib
import subprocess
import sys
import tempfile

TOLERANCE = 1.05


def measured(program, sizes):
    """{action: {reports, allocations, bytes, instructions}}, each number but the first of one report."""
    with tempfile.TemporaryDirectory() as folder:
        out = pathlib.Path(folder) / "dump"
        run = subprocess.run(
            ["valgrind", "--tool=callgrind", "--instr-atstart=no", f"--callgrind-out-file={out}", program, *sizes],
            check=True,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
        )
        instructions = collections.Counter()
        for dump in pathlib.Path(folder).iterdir():
            lines = dump.read_text(errors="replace").splitlines()
            names = [line.split("Client Request: ")[1] for line in lines if "Client Request: " in line]
            totals = [int(line.split()[1]) for line in lines if line.startswith("totals: ")]
            if names:
                instructions[names[0]] += totals[0]
    actions = {}
    for line in run.stdout.splitlines():
        name, reports, *counts = line.split("\t")
        reports = int(reports)
        allocations, size = (int(count) / reports for count in counts)
        actions[name] = {
            "reports": reports,
            "allocations": allocations,
            "bytes": size,
            "instructions": instructions[name] / reports,
        }
    return actions


def workloads(actions):
    return sorted({name.rsplit("/", 1)[0] for name in actions if name.endswith("/parse")})


def ratios(actions):
    """{workload: {pair of actions: ratio of their instructions}}"""
    reached = {}
    for workload in workloads(actions):
        of = {action: actions[f"{workload}/{action}"]["instructions"] for action in ("parse", "build", "build_and_release", "floor")}
        reached[workload] = {
            "build/parse": round(of["build"] / of["parse"], 3),
            "build_and_release/floor": round(of["build_and_release"] / of["floor"], 3),
        }
    return reached


def complaints(actions, reached):
    now = ratios(actions)
    for workload in sorted(now.keys() | reached.keys()):
        if workload not in now or workload not in reached:
            yield f"{workload}: measured and written down differ: run check.py with --write"
            continue
        for pair, ratio in now[workload].items():
            before = reached[workload][pair]
            if ratio > before * TOLERANCE:
                action, base = pair.split("/")
                yield (
                    f"{workload}: {action} grew to {ratio:.3f} of the instructions of {base}, reached was {before:.3f}: "
                    f"{actions[f'{workload}/{action}']['instructions']:,.0f} instructions a report to "
                    f"{actions[f'{workload}/{base}']['instructions']:,.0f}"
                )
    for name in sorted(actions):
        if name.endswith("/floor"):
            record = actions[name.removesuffix("floor") + "build_and_release"]
            for counted in ("allocations", "bytes"):
                if record[counted] != actions[name][counted]:
                    yield (
                        f"{name.removesuffix('/floor')}: {record[counted]:,.2f} {counted} a report, "
                        f"the floor has {actions[name][counted]:,.2f}"
                    )
    for workload in workloads(actions):
        sizes = sorted(
            int(name.split("/")[3]) for name in actions if name.startswith(f"growth/{workload}/") and name.endswith("/floor")
        )
        of_size = {}
        for size in sizes:
            record, floor = (
                actions[f"growth/{workload}/{size}/{action}"]["instructions"] for action in ("build_and_release", "floor")
            )
            of_size[size] = record / floor
        for size in sizes[1:]:
            if of_size[size] > of_size[sizes[0]] * TOLERANCE:
                yield (
                    f"{workload}: {of_size[size]:.3f} of the floor's instructions at {size:,} elements, "
                    f"{of_size[sizes[0]]:.3f} at {sizes[0]:,}"
                )
    chunks = {name: of["instructions"] for name, of in actions.items() if name.startswith("chunk/")}
    if max(chunks.values()) > min(chunks.values()) * TOLERANCE:
        yield "the cost of a chunk depends on its size: " + ", ".join(
            f"{name.split('/')[1]} bytes {instructions:,.0f} instructions" for name, instructions in chunks.items()
        )


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program", help="the program `costs`")
    parser.add_argument("reached", type=pathlib.Path, help="the ratios that were reached")
    parser.add_argument("sizes", nargs="+", help="of the reports whose growth is held against the floor's, in elements")
    parser.add_argument("--write", action="store_true", help="put the ratios of this run into the file of those reached")
    parser.add_argument("--json", type=pathlib.Path, help="where to put all that was measured")
    arguments = parser.parse_args()

    actions = measured(arguments.program, arguments.sizes)
    if arguments.json:
        arguments.json.write_text(json.dumps(actions, indent=1) + "\n")
    if arguments.write:
        arguments.reached.write_text(json.dumps(ratios(actions), indent=4) + "\n")
    grown = list(complaints(actions, json.loads(arguments.reached.read_text())))
    for workload, pairs in ratios(actions).items():
        print(workload, *(f"{pair} {ratio:.3f}" for pair, ratio in pairs.items()), sep="  ")
    for complaint in grown:
        print(f"costs: {complaint}", file=sys.stderr)
    sys.exit(1 if grown else 0)


if __name__ == "__main__":
    main()
