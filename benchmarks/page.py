#!/usr/bin/env python3
"""Makes the page of figures, and a plot for each kind of report, of what ./dev bench measured.

Times are medians of repetitions that took turns, with half the distance between the quartiles as their spread.
"""

import argparse
import collections
import json
import pathlib
import statistics

WORKLOADS = ["superglobals", "functions", "sql_queries", "event", "real_request"]
DIALECTS = ["rpc", "protobuf"]
ACTIONS = [
    ("parse/heap", "parse, messages on the heap"),
    ("parse/arena", "parse, messages in an arena"),
    ("copy/heap", "copy of the messages, heap"),
    ("copy/arena", "copy of the messages, arena"),
    ("build", "build the record"),
    ("release", "release it"),
    ("build_and_release", "build and release"),
    ("read", "read all of it"),
    ("road/heap", "parse, build, drop the messages, release; heap"),
    ("road/arena", "the same, arena"),
    ("floor/build", "floor: allocate and convert"),
    ("floor/release", "floor: free"),
    ("floor/build_and_release", "floor: both"),
]
ALTERNATIVES = ["QVariantMap", "QCborValue", "QJsonDocument", "nlohmann::json"]
# What the rpc dialect is held to: at most so much of the other.
BOUNDS = [
    ("build", "parse/heap", {"superglobals": 0.40, "functions": 0.22, "sql_queries": 0.80, "event": 0.70}),
    ("build", "copy/heap", {"superglobals": 0.75, "functions": 0.25, "sql_queries": 0.85, "event": 1.30}),
    ("build_and_release", "floor/build_and_release",
     {"superglobals": 1.60, "functions": 1.50, "sql_queries": 1.45, "event": 1.55}),
]

Time = collections.namedtuple("Time", "median spread")


def times(runs):
    """{benchmark: time of one report in ns}, and {benchmark: reports a second}."""
    samples = collections.defaultdict(list)
    rates = collections.defaultdict(list)
    for run in runs:
        if run.get("run_type") != "iteration":
            continue
        name = run["run_name"].replace("/manual_time", "").replace("/real_time", "")
        samples[name].append(run["real_time"])
        if "items_per_second" in run:
            rates[name].append(run["items_per_second"])
    found = {}
    for name, values in samples.items():
        quartiles = statistics.quantiles(values, n=4) if len(values) > 1 else [values[0]] * 3
        found[name] = Time(quartiles[1], (quartiles[2] - quartiles[0]) / 2)
    return found, {name: statistics.median(values) for name, values in rates.items()}


def shown(nanoseconds):
    return f"{nanoseconds / 1000:,.1f}" if nanoseconds < 100_000 else f"{nanoseconds / 1000:,.0f}"


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
        over = found.get(f"{workload}/{dialect}/hand_over")
        if over:
            rows.append(["built by one thread, read and released by another", cell(over), ""])
        for tree in ALTERNATIVES:
            for action in ("build", "build_and_release"):
                time = found.get(f"{workload}/{dialect}/main/{tree}/{action}")
                if time:
                    rows.append([f"{tree}: {action.replace('_', ' ')}", cell(time), ""])
        if rows:
            yield f"{workload}, {dialect} dialect"
            yield ""
            yield from table(["us a report", "first thread", "worker thread"], rows)


def bound_table(found):
    rows = []
    for action, base, bounds in BOUNDS:
        for workload, bound in bounds.items():
            of = [found.get(f"{workload}/rpc/main/{name}") for name in (action, base)]
            if all(of):
                ratio = of[0].median / of[1].median
                rows.append([f"{workload}: {action} / {base}", f"{ratio:.2f}", f"{bound:.2f}", "yes" if ratio <= bound else "no"])
    for workload in WORKLOADS:
        record = found.get(f"{workload}/rpc/main/build_and_release")
        others = {tree: found.get(f"{workload}/rpc/main/{tree}/build_and_release") for tree in ALTERNATIVES}
        if record and all(others.values()):
            best = min(others, key=lambda tree: others[tree].median)
            ratio = record.median / others[best].median
            rows.append([f"{workload}: build_and_release / {best}, the fastest other", f"{ratio:.2f}", "1.00", "yes" if ratio < 1 else "no"])
        dialects = [found.get(f"{workload}/{dialect}/main/build_and_release") for dialect in ("protobuf", "rpc")]
        if all(dialects) and workload != "real_request":
            ratio = dialects[0].median / dialects[1].median
            rows.append([f"{workload}: protobuf / rpc, build_and_release", f"{ratio:.2f}", "1.10", "yes" if ratio <= 1.1 else "no"])
    yield from table(["Ratio of times, first thread", "reached", "at most", "held"], rows)


def thread_table(rates):
    rows = []
    for workload in WORKLOADS:
        for dialect in DIALECTS:
            one, two = (rates.get(f"{workload}/{dialect}/side_by_side/threads:{threads}") for threads in (1, 2))
            if one and two:
                rows.append([f"{workload}, {dialect}", f"{one:,.0f}", f"{two:,.0f}", f"{two / one:.2f}"])
    yield from table(["Built and released a second", "one thread", "two threads", "ratio"], rows)


def cost_tables(costs):
    rows = []
    for workload in WORKLOADS + ["headers", "sql_tables", "storage"]:
        for dialect in DIALECTS:
            of = {action: costs[f"{workload}/{dialect}/{action}"] for action in ("parse", "build", "release", "read", "build_and_release", "floor")}
            rows.append(
                [f"{workload}, {dialect}"]
                + [f"{of['build'][counted]:,.0f}" for counted in ("allocations", "bytes")]
                + [f"{of[action]['instructions']:,.0f}" for action in ("parse", "build", "release", "read")]
                + [f"{of['build_and_release']['instructions'] / of['floor']['instructions']:.2f}"]
            )
    yield from table(["One report", "allocations", "bytes", "instructions to parse", "to build", "to release", "to read", "build and release over the floor"], rows)

    growth = collections.defaultdict(dict)
    for name, record in costs.items():
        if name.startswith("growth/") and name.endswith("/build_and_release"):
            _, workload, dialect, size, _ = name.split("/")
            floor = costs[f"growth/{workload}/{dialect}/{size}/floor"]
            growth[f"{workload}, {dialect}"][int(size)] = (record["instructions"] / int(size), record["instructions"] / floor["instructions"])
    sizes = sorted({size for of_size in growth.values() for size in of_size})
    yield from table(
        ["Instructions an element, and over the floor, at elements"] + [f"{size:,}" for size in sizes],
        [[name] + [f"{of_size[size][0]:,.0f}, {of_size[size][1]:.2f}" for size in sizes] for name, of_size in growth.items()],
    )


def plot(found, workload, folder):
    from matplotlib import pyplot

    bars = [(meaning, f"{workload}/rpc/main/{action}") for action, meaning in ACTIONS if action not in ("floor/build", "floor/release")]
    bars += [(f"{tree}: build and release", f"{workload}/rpc/main/{tree}/build_and_release") for tree in ALTERNATIVES]
    bars = [(meaning, found[name]) for meaning, name in bars if name in found][::-1]
    if not bars:
        return
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


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("times", type=pathlib.Path, help="of the benchmarks, as JSON")
    parser.add_argument("costs", type=pathlib.Path, help="of benchmarks/costs/check.py, as JSON")
    parser.add_argument("build", type=pathlib.Path, help="build time and size of the library, as JSON")
    parser.add_argument("folder", type=pathlib.Path, help="where the plots go")
    arguments = parser.parse_args()

    measured = json.loads(arguments.times.read_text())
    found, rates = times(measured["benchmarks"])
    context = measured["context"]
    print(f"{context['num_cpus']} processors of {context['mhz_per_cpu']} MHz, load before {context['load_avg'][0]:.2f}.")
    build = json.loads(arguments.build.read_text())
    print(
        f"The library, with its message libraries, builds from nothing in {build['seconds']:.0f} s "
        f"({build['processor_seconds']:.0f} s of processor time); stripped, libtarnwick.so has {build['bytes'] / 1024:,.0f} KiB.\n"
    )
    for line in (*bound_table(found), *thread_table(rates), *cost_tables(json.loads(arguments.costs.read_text()))):
        print(line)
    arguments.folder.mkdir(parents=True, exist_ok=True)
    for workload in WORKLOADS:
        for line in workload_tables(found, workload):
            print(line)
        plot(found, workload, arguments.folder)


if __name__ == "__main__":
    main()
