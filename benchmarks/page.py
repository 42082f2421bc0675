#!/usr/bin/env python3
"""Prints the page of figures of ./dev bench and writes a plot for each kind of report.

Times are medians of interleaved repetitions. Their spread is half the interquartile range.
"""

import argparse
import collections
import json
import pathlib
import re
import statistics
import sys

sys.path.insert(0, str(pathlib.Path(__file__).parent / "costs"))
from check import growth, ratio  # noqa: E402

WORKLOADS = ["superglobals", "functions", "sql_queries", "event", "real_request"]
DIALECTS = ["rpc", "protobuf"]
ACTIONS = [
    ("parse/heap", "parse, messages on the heap"),
    ("parse_and_drop/heap", "the same, and drop them"),
    ("parse/arena", "parse, messages in an arena"),
    ("parse_and_drop/reused_arena", "parse and drop, an arena that is reused"),
    ("copy/heap", "copy of the messages, heap"),
    ("copy_and_drop/heap", "the same, and drop it"),
    ("copy/arena", "copy of the messages, arena"),
    ("build", "build the record"),
    ("release", "release it"),
    ("build_and_release", "build and release"),
    ("read", "read all of it"),
    ("road/heap", "parse, build, drop the messages, release; heap"),
    ("road/arena", "the same, arena"),
    ("road/reused_arena", "the same, an arena that is reused"),
    ("floor/build", "floor: allocate and convert"),
    ("floor/release", "floor: free"),
    ("floor/build_and_release", "floor: both"),
]
ALTERNATIVES = ["QVariantMap", "QCborValue", "QJsonDocument", "nlohmann::json"]
# Limits of the rpc dialect, as ratios of the first action to the second. The second number is the goal.
BOUNDS = [
    (
        "build",
        "parse_and_drop/heap",
        {"superglobals": (0.40, 0.30), "functions": (0.22, 0.17), "sql_queries": (0.80, 0.65), "event": (0.70, 0.55)},
    ),
    (
        "build",
        "copy_and_drop/heap",
        {"superglobals": (0.75, None), "functions": (0.25, None), "sql_queries": (0.85, None), "event": (1.30, None)},
    ),
    (
        "build_and_release",
        "floor/build_and_release",
        {"superglobals": (1.60, 1.35), "functions": (1.50, 1.35), "sql_queries": (1.45, 1.35), "event": (1.55, 1.35)},
    ),
]

NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
Time = collections.namedtuple("Time", "median spread")


def times(runs):
    """Returns {benchmark: time of one report in ns}."""
    samples = collections.defaultdict(list)
    for run in runs:
        if run.get("run_type") == "iteration":
            # The benchmark library appends options to a name.
            name = re.sub(r"/(iterations:\d+|manual_time|real_time)", "", run["run_name"])
            samples[name].append(run["real_time"] * NANOSECONDS[run["time_unit"]])
    found = {}
    for name, values in samples.items():
        quartiles = statistics.quantiles(values, n=4) if len(values) > 1 else [values[0]] * 3
        found[name] = Time(quartiles[1], (quartiles[2] - quartiles[0]) / 2)
    return found


def shown(nanoseconds):
    digits = 0 if nanoseconds >= 100_000 else 1 if nanoseconds >= 1_000 else 3
    return f"{nanoseconds / 1000:,.{digits}f}"


def table(head, rows):
    yield "| " + " | ".join(head) + " |"
    yield "|---|" + "---:|" * (len(head) - 1)
    for row in rows:
        yield "| " + " | ".join(row) + " |"
    yield ""


def cell(time):
    return f"{shown(time.median)} ± {shown(time.spread)}" if time else ""


def workload_tables(found, workload):
    for dialect in DIALECTS:
        rows = []
        for action, meaning in ACTIONS:
            both = [found.get(f"{workload}/{dialect}/{thread}/{action}") for thread in ("main", "worker")]
            if any(both):
                rows.append([meaning, *map(cell, both)])
        for tree in ALTERNATIVES:
            for action in ("build", "build_and_release"):
                both = [found.get(f"{workload}/{dialect}/{thread}/{tree}/{action}") for thread in ("main", "worker")]
                if any(both):
                    rows.append([f"{tree}: {action.replace('_', ' ')}", *map(cell, both)])
        if rows:
            yield f"{workload}, {dialect} dialect"
            yield ""
            yield from table(["us a report", "first thread", "worker thread"], rows)


def bound_row(name, reached, bound, aim=None):
    return [name, f"{reached:.2f}", f"{bound:.2f}", "yes" if reached <= bound else "no", f"{aim:.2f}" if aim else ""]


def unbound_rows(found):
    for base in ("parse/heap", "copy/heap", "floor/build"):
        for workload in WORKLOADS:
            of_build, of_base = (found.get(f"{workload}/rpc/main/{name}") for name in ("build", base))
            if of_build and of_base:
                yield [f"{workload}: build / {base}", f"{of_build.median / of_base.median:.2f}", "", "", ""]


def reader_rows(found):
    """Compares the loading of configuration files with GLib's reader."""
    for lines in 1_000, 10_000, 200_000:
        ours, other = (found.get(f"Config/{reader}/load/{lines}") for reader in ("ConfigFile", "GKeyFile"))
        if ours and other:
            yield bound_row(f"{lines:,} lines of configuration: ConfigFile / GKeyFile, load", ours.median / other.median, 1)


def bound_table(found):
    rows = []
    for action, base, bounds in BOUNDS:
        for workload, (bound, aim) in bounds.items():
            of_action, of_base = (found.get(f"{workload}/rpc/main/{name}") for name in (action, base))
            if of_action and of_base:
                rows.append(bound_row(f"{workload}: {action} / {base}", of_action.median / of_base.median, bound, aim))
    for workload in WORKLOADS:
        records = [found.get(f"{workload}/{dialect}/main/build_and_release") for dialect in DIALECTS]
        for dialect, record in zip(DIALECTS, records):
            others = {tree: found.get(f"{workload}/{dialect}/main/{tree}/build_and_release") for tree in ALTERNATIVES}
            if record and all(others.values()):
                best = min(others, key=lambda tree: others[tree].median)
                name = f"{workload}, {dialect}: build_and_release / {best}, the fastest other form"
                rows.append(bound_row(name, record.median / others[best].median, 1))
        rpc, protobuf = records
        # For a whole request the dialects report different facts.
        if rpc and protobuf and workload != "real_request":
            rows.append(bound_row(f"{workload}: protobuf / rpc, build_and_release", protobuf.median / rpc.median, 1.1))
    rows += reader_rows(found)
    rows += unbound_rows(found)
    yield from table(["Ratio of times, first thread; rpc dialect where none is named", "measured", "limit", "within limit", "goal"], rows)


def thread_table(found):
    rows = []
    for workload in WORKLOADS:
        for dialect in DIALECTS:
            one, two = (found.get(f"{workload}/{dialect}/side_by_side/{threads}") for threads in (1, 2))
            if one and two:
                handed = found[f"{workload}/{dialect}/hand_over"]
                rates = [1e9 / one.median, 2e9 / two.median]
                rows.append([f"{workload}, {dialect}"] + [f"{rate:,.0f}" for rate in rates])
                rows[-1] += [f"{rates[1] / rates[0]:.2f}", f"{1e9 / handed.median:,.0f}"]
    head = ["Reports a second", "built and released by one thread", "by two", "ratio"]
    yield from table(head + ["built by one, read and released by another"], rows)


def road_table(found):
    """Prints what a report costs from its bytes to the release of its record."""
    rows = []
    for workload in WORKLOADS:
        for dialect in DIALECTS:
            names = ["road/reused_arena", "parse_and_drop/reused_arena", "build", "release", "road/arena", "road/heap"]
            actions = [found.get(f"{workload}/{dialect}/main/{name}") for name in names]
            if all(actions):
                whole, *parts = [time.median for time in actions]
                row = [f"{workload}, {dialect}", shown(whole)]
                row += [f"{part / whole * 100:.0f} %" for part in parts[:3]] + [f"{part / whole:.2f}" for part in parts[3:]]
                rows.append(row)
    head = ["From bytes to records, with one arena that is reused", "us a report", "parse", "build", "release"]
    yield from table(head + ["an arena for each report, ratio", "messages on the heap, ratio"], rows)


def other_table(found):
    """Prints benchmarks that belong to no kind of report."""
    rows = [[name, cell(time)] for name, time in sorted(found.items()) if name.split("/")[0] not in WORKLOADS]
    yield from table(["us", "first thread"], rows)


def cost_tables(costs):
    rows = []
    for name in costs:
        if name.endswith("/parse"):
            workload = name.removesuffix("/parse")
            build = costs[f"{workload}/build"]
            row = [workload.replace("/", ", "), f"{build['allocations']:,.0f}", f"{build['bytes']:,.0f}"]
            for action in ("parse", "build", "release", "read"):
                row.append(f"{costs[f'{workload}/{action}']['instructions']:,.0f}")
            rows.append(row + [f"{ratio(costs, workload, 'build_and_release', 'floor'):.2f}"])
    head = ["One report", "allocations", "bytes", "instructions to parse", "to build", "to release", "to read"]
    yield from table(head + ["build and release over the floor"], rows)

    by_workload = growth(costs)
    sizes = sorted({size for of_size in by_workload.values() for size in of_size})
    rows = []
    for workload, of_size in by_workload.items():
        row = [workload.replace("/", ", ")]
        for size in sizes:
            instructions = costs[f"growth/{workload}/{size}/build_and_release"]["instructions"]
            row.append(f"{instructions / size:,.0f}, {of_size[size]:.2f}")
        rows.append(row)
    yield from table(["Instructions an element, and over the floor, of"] + [f"{size:,}" for size in sizes], rows)


def plot(found, workload, folder):
    from matplotlib import pyplot

    bars = [
        (meaning, f"{workload}/rpc/main/{action}")
        for action, meaning in ACTIONS
        if action not in ("floor/build", "floor/release")
    ]
    bars += [(f"{tree}: build and release", f"{workload}/rpc/main/{tree}/build_and_release") for tree in ALTERNATIVES]
    bars = [(meaning, found[name]) for meaning, name in bars if name in found][::-1]
    if not bars:
        return False
    figure, axes = pyplot.subplots(figsize=(8, 0.32 * len(bars) + 0.8), layout="constrained")
    drawn = axes.barh(
        [meaning for meaning, _ in bars],
        [time.median / 1000 for _, time in bars],
        xerr=[time.spread / 1000 for _, time in bars],
        color=["#b0b0b0" if ":" in meaning else "#3a6ea5" for meaning, _ in bars],
    )
    axes.bar_label(drawn, [shown(time.median) for _, time in bars], padding=4)
    axes.set_xlabel("us a report, rpc dialect, first thread")
    axes.set_title(workload)
    axes.spines[["top", "right"]].set_visible(False)
    axes.margins(x=0.12)
    figure.savefig(folder / f"{workload}.svg", metadata={"Date": None})
    pyplot.close(figure)
    return True


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("costs", type=pathlib.Path, help="JSON output of benchmarks/costs/check.py")
    parser.add_argument("build", type=pathlib.Path, help="JSON file with the build time and the size of the library")
    parser.add_argument("folder", type=pathlib.Path, help="folder to which the plots are written")
    parser.add_argument("times", type=pathlib.Path, nargs="+", help="JSON output of the benchmarks, one file a process")
    arguments = parser.parse_args()

    measured = [json.loads(path.read_text()) for path in arguments.times]
    found = times(run for process in measured for run in process["benchmarks"])
    context = measured[0]["context"]
    load = context["load_avg"][0]
    print("# Figures: performance\n")
    print("`./dev bench` writes this page after a run without arguments. ", end="")
    print("[benchmarks.md](../benchmarks.md) describes what is measured.\n")
    print(f"{context['num_cpus']} processors of {context['mhz_per_cpu']} MHz, load before {load:.2f}.")
    build = json.loads(arguments.build.read_text())
    processor_seconds = build["user_seconds"] + build["system_seconds"]
    print(
        f"After configuration, the library and its message libraries build in {build['seconds']:.0f} s "
        f"({processor_seconds:.0f} s of CPU time). The stripped libtarnwick.so has {build['bytes'] / 1024:,.0f} KiB."
        "\n"
    )
    costs = json.loads(arguments.costs.read_text())
    for line in (*bound_table(found), *road_table(found), *thread_table(found), *cost_tables(costs), *other_table(found)):
        print(line)
    arguments.folder.mkdir(parents=True, exist_ok=True)
    for workload in WORKLOADS:
        if plot(found, workload, arguments.folder):
            print(f"![{workload}](performance/{workload}.svg)\n")
        for line in workload_tables(found, workload):
            print(line)


if __name__ == "__main__":
    main()
