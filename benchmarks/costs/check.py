#!/usr/bin/env python3
"""Compares the instructions and allocations of all kinds of reports with the recorded ones.

Fails if the allocations of a record differ from those of its floor, if a ratio of its instructions to those of the
floor or of parsing is more than 5% above the recorded ratio, if the elements of a large report cost more, relative to
the floor, than those of a small report, if the cost of a chunk depends on its size, or if the cost of a difference by
key is not linear or, of small arrays, above that of linear searches.
"""

import argparse
import collections
import json
import os
import pathlib
import subprocess
import sys
import tempfile

TOLERANCE = 1.05
KEY_GROWTH = 20  # the largest ratio of the cost of a difference of ten times as many keys
COMPLAINTS = 3  # the exit status, distinct from that of an error


def measured(program, sizes):
    """Returns {action: {reports, allocations, bytes, instructions}}, except for `reports` per report."""
    with tempfile.TemporaryDirectory() as folder:
        out = pathlib.Path(folder) / "dump"
        run = subprocess.run(
            ["valgrind", "--tool=callgrind", "--instr-atstart=no", f"--callgrind-out-file={out}", program, *sizes],
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
            # No symbol is looked up during a measurement.
            env=os.environ | {"LD_BIND_NOW": "1"},
        )
        if run.returncode != 0:
            sys.exit(f"costs: {program} ended with {run.returncode}\n{run.stderr}")
        instructions = collections.defaultdict(list)
        for dump in pathlib.Path(folder).iterdir():
            name, total = read_dump(dump.read_text(errors="replace"))
            if name:
                instructions[name].append(total)
    return combined(run.stdout, instructions)


def read_dump(text):
    """Returns the action and the instructions of a dump; the action of the last dump is None."""
    lines = text.splitlines()
    names = [line.split("Client Request: ")[1] for line in lines if "Client Request: " in line]
    totals = [int(line.split()[1]) for line in lines if line.startswith("totals: ")]
    return (names[0], totals[0]) if names else (None, 0)


def combined(printed, instructions):
    actions = {}
    for line in printed.splitlines():
        name, reports, *counts = line.split("\t")
        reports = int(reports)
        allocations, size = (int(count) / reports for count in counts)
        if len(instructions[name]) != reports or min(instructions[name]) == 0:
            sys.exit(f"costs: {name} ran {reports} times and was dumped with {instructions[name]} instructions")
        actions[name] = {
            "reports": reports,
            "allocations": allocations,
            "bytes": size,
            "instructions": sum(instructions[name]) / reports,
        }
    return actions


def workloads(actions):
    return sorted({name.rsplit("/", 1)[0] for name in actions if name.endswith("/parse")})


def ratio(actions, workload, action, base):
    return actions[f"{workload}/{action}"]["instructions"] / actions[f"{workload}/{base}"]["instructions"]


def ratios(actions):
    """Returns {workload: {pair of actions: ratio of their instructions}}."""
    reached = {}
    for workload in workloads(actions):
        reached[workload] = {
            pair: round(ratio(actions, workload, *pair.split("/")), 3)
            for pair in ("build/parse", "build_and_release/floor")
        }
    return reached


def growth(actions):
    """Returns {workload: {elements: ratio of its instructions to the floor's}}."""
    found = collections.defaultdict(dict)
    for name in actions:
        if name.startswith("growth/") and name.endswith("/floor"):
            of_size = name.removesuffix("/floor")
            workload, size = of_size.removeprefix("growth/").rsplit("/", 1)
            found[workload][int(size)] = ratio(actions, of_size, "build_and_release", "floor")
    return found


def complaints(actions, reached):
    measured_ratios = ratios(actions)
    for workload in sorted(measured_ratios.keys() | reached.keys()):
        if workload not in measured_ratios or workload not in reached:
            yield f"{workload}: measured and written down differ: run check.py with --write"
            continue
        for pair, measured_ratio in measured_ratios[workload].items():
            best = reached[workload][pair]
            if measured_ratio > best * TOLERANCE:
                action, base = pair.split("/")
                yield (
                    f"{workload}: {action} grew to {measured_ratio:.3f} of the instructions of {base}, "
                    f"reached was {best:.3f}: "
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
    for workload, of_size in growth(actions).items():
        least = min(of_size)
        for size, over_floor in sorted(of_size.items()):
            if over_floor > of_size[least] * TOLERANCE:
                yield (
                    f"{workload}: {over_floor:.3f} of the floor's instructions at {size:,} elements, "
                    f"{of_size[least]:.3f} at {least:,}"
                )
    chunks = {name: of["instructions"] for name, of in actions.items() if name.startswith("chunk/")}
    if max(chunks.values()) > min(chunks.values()) * TOLERANCE:
        yield "the cost of a chunk depends on its size: " + ", ".join(
            f"{name.split('/')[1]} bytes {instructions:,.0f} instructions" for name, instructions in chunks.items()
        )
    few, plain, many, most = (
        actions[f"key_difference/{keys}"]["instructions"] for keys in ("8", "8/plain", "20000", "200000")
    )
    if few > plain * TOLERANCE:
        yield f"a difference of 8 keys takes {few:,.0f} instructions, linear searches take {plain:,.0f}"
    if most >= many * KEY_GROWTH:
        yield (
            f"a difference of 200,000 keys takes {most:,.0f} instructions, {most / many:.1f} times those of 20,000 keys"
        )


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program", help="the program `costs`")
    parser.add_argument("reached", type=pathlib.Path, help="the file of recorded ratios")
    parser.add_argument("sizes", nargs="+", help="sizes, in elements, of reports whose growth is compared with the floor's")
    parser.add_argument("--write", action="store_true", help="record the ratios of this run")
    parser.add_argument("--json", type=pathlib.Path, help="the file to which the measurements are written")
    arguments = parser.parse_args()

    actions = measured(arguments.program, arguments.sizes)
    if arguments.json:
        arguments.json.write_text(json.dumps(actions, indent=1) + "\n")
    if arguments.write:
        arguments.reached.write_text(json.dumps(ratios(actions), indent=4) + "\n")
    found = list(complaints(actions, json.loads(arguments.reached.read_text())))
    for workload, pairs in ratios(actions).items():
        print(workload, *(f"{pair} {reached:.3f}" for pair, reached in pairs.items()), sep="  ")
    for name in actions:
        if name.startswith("key_difference/"):
            print(name, f"{actions[name]['instructions']:,.0f} instructions", sep="  ")
    for complaint in found:
        print(f"costs: {complaint}", file=sys.stderr)
    sys.exit(COMPLAINTS if found else 0)


if __name__ == "__main__":
    main()
