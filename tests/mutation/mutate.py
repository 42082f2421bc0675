#!/usr/bin/env python3
"""Mutation testing of libs/tarnwick: changes one place at a time and checks that a test fails.

Draws a random sample from the changes that candidates.py finds. Sources and build tree stay unchanged: the mutant is
compiled into a folder of its own, and the tests load the library from there. A change that does not compile is no
mutant. Neither is one for which g++ -O2 generates the same code as for the original.

A changed header affects every source that includes it. To save time, the first attempt compiles only the few sources
with the header's name and links their objects first, so that their copies of inline functions are used. Most mutants
are killed there. No change moves a data member, so these objects are compatible with the others.

survivors.tsv lists survivors with a reason: `same` if no caller can see a difference, otherwise `open`. The script
fails if a survivor is not listed, or if the tests kill less than 95% of the mutants that change behaviour. A successful
run of the default size writes its figures to docs/figures/mutation.md, any other run to the build tree.
"""

import argparse
import collections
import concurrent.futures
import json
import os
import pathlib
import random
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import threading

sys.dont_write_bytecode = True
import candidates

DEFAULT_COUNT = 250
LEAST_KILLED = 0.95
PROGRAMS = ("tarnwick_tests", "program_tests", "command_tests")
# Leaves out tests of large reports and files, which take nine tenths of the time. They run only for files of their
# name.
QUICK = (
    "-Hostile.*:HostileArray.*:HostileWidth/*:Chain.of_*:Chain.that_*:SqlTransactionChain.is_*"
    ":ConfigFileOnRandomFiles.*"
)
# A mutated loop may not end and may allocate without limit. The unchanged tests take 16 seconds.
MEMORY, PROCESSOR_SECONDS, SECONDS = 16 << 30, 60, 1200

repository = pathlib.Path(__file__).resolve().parents[2]
sources = repository / "libs/tarnwick"


class Build:
    """A build tree: the includes of each source, and the commands that compile sources and link library and tests."""

    def __init__(self, folder):
        self.folder = folder
        units = json.loads((folder / "compile_commands.json").read_text())
        self.units = {unit["output"]: unit for unit in units}
        self.includes = {}
        for block in self.ninja("-t", "deps").split("\n\n"):
            output, *files = block.splitlines() or [""]
            self.includes[output.split(":")[0]] = {os.path.normpath(folder / file.strip()) for file in files}
        self.library = self.link("tarnwick", "libs/tarnwick/libtarnwick.so")
        self.soname = re.search(r"-soname,(\S+)", " ".join(self.library))[1]
        self.programs = {name: self.link(name, f"tests/{name}") for name in PROGRAMS}

    def ninja(self, *arguments):
        run = subprocess.run(["ninja", *arguments], cwd=self.folder, check=True, text=True, stdout=subprocess.PIPE)
        return run.stdout

    def link(self, target, output):
        """The words of the command that links a target."""
        commands = [line for line in self.ninja("-t", "commands", target).splitlines() if f" -o {output}" in line]
        command = next(part for part in commands[-1].split(" && ") if " -o " in part)
        return [word for word in shlex.split(command) if not word.startswith("-Wl,--dependency-file")]

    def source(self, output):
        return pathlib.Path(self.units[output]["file"])

    def objects(self, link):
        """The objects of a link command, including those in its archives."""
        objects = [word for word in link if word in self.units]
        for archive in (pathlib.PurePath(word) for word in link if word.endswith(".a")):
            folder = f"{archive.parent}/CMakeFiles/{archive.stem.removeprefix('lib')}.dir/"
            objects += [output for output in self.units if output.startswith(folder)]
        return objects

    def depending(self, link, file):
        """The objects of a link command that depend on a source or header."""
        return [output for output in self.objects(link) if str(file) in self.includes[output]]


class Mutant:
    """One change, compiled and linked in a folder of its own."""

    def __init__(self, build, folder, file, text):
        self.build, self.folder, self.file, self.text = build, folder, file, text
        self.objects = {}
        self.place = folder / "include" / file.relative_to(sources.parent)
        shutil.rmtree(folder, ignore_errors=True)
        self.place.parent.mkdir(parents=True)

    def compile(self, output, text, *options):
        """The object compiled from this text, or None if it does not compile."""
        self.place.write_text(text)
        words = shlex.split(self.build.units[output]["command"])
        compiled = self.folder / (output.replace("/", "_") + "".join(options))
        words[words.index("-o") + 1] = str(compiled)
        if self.build.source(output) == self.file:
            words[words.index("-c") + 1] = str(self.place)
        words[1:1] = ["-I", str(self.folder / "include")]
        run = subprocess.run([*words, "-w", *options], cwd=self.build.folder, stderr=subprocess.DEVNULL)
        return compiled if run.returncode == 0 else None

    def compile_into(self, outputs):
        for output in outputs:
            if output not in self.objects:
                self.objects[output] = self.compile(output, self.text)
        return None not in self.objects.values()

    def link(self, link, name):
        """Links a library or program with the changed objects first, so that they replace those in archives."""
        changed = [str(self.objects[word]) for word in self.build.objects(link) if word in self.objects]
        words = [word for word in link if word not in self.objects]
        at = words.index("-o")
        words[at : at + 2] = ["-o", str(self.folder / name), *changed]
        subprocess.run(words, cwd=self.build.folder, check=True)
        return self.folder / name

    def is_same_code(self):
        def code(output, text):
            return self.compile(output, text, "-O2").read_bytes()

        original = self.file.read_text()
        return all(code(output, self.text) == code(output, original) for output in self.objects)


def limit():
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
    resource.setrlimit(resource.RLIMIT_CPU, (PROCESSOR_SECONDS, PROCESSOR_SECONDS))


def run_tests(build, name, program, library, chosen):
    """The name of the test that fails, or the exit status if none was named; None if all pass."""
    run = subprocess.Popen(
        # No child process outlives this script.
        ["setpriv", "--pdeathsig", "KILL", program, "--gtest_fail_fast", "--gtest_brief=1", f"--gtest_filter={chosen}"],
        cwd=build.folder / "tests",
        env=os.environ | {"LD_LIBRARY_PATH": str(library)},
        text=True,
        errors="replace",
        stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        start_new_session=True,
        preexec_fn=limit,
    )
    killer = threading.Timer(SECONDS, os.killpg, (run.pid, signal.SIGKILL))  # the process group
    killer.start()
    printed, _ = run.communicate()
    killer.cancel()
    if run.returncode == 0:
        return None
    failed = re.search(r"^\[  FAILED  \] ([^\s,]+[.][^\s,]+)", printed, re.MULTILINE)
    return f"{name}: {failed[1] if failed else f'exit status {run.returncode}'}"


class Trial:
    """Runs the tests on mutants of a build whose tests pass."""

    def __init__(self, build):
        self.build = build
        for name in PROGRAMS:
            failure = run_tests(build, name, build.folder / "tests" / name, "", "*")
            if failure:
                sys.exit(f"mutate: a test fails on the unchanged library: {failure}")

    def near(self, link, file):
        """The objects whose source names start with the name of a file."""
        return [output for output in self.build.objects(link) if self.build.source(output).stem.startswith(file.stem)]

    def naming(self, link, file):
        """The objects whose sources include a header directly."""
        include = f"#include <{file.relative_to(sources.parent)}>"
        source = self.build.source
        return [output for output in self.build.depending(link, file) if include in source(output).read_text()]

    def steps(self, file):
        """Yields the steps of a trial: (objects of the library, test program, its objects, filter of its tests)"""
        library, tests = self.build.library, self.build.programs[PROGRAMS[0]]
        everywhere, in_tests = self.build.depending(library, file), self.build.depending(tests, file)
        in_library = [output for output in self.near(library, file) if output in everywhere] or everywhere
        for first, left_out in ((self.near(tests, file), ""), (self.naming(tests, file), QUICK)):
            names = set()
            for output in first:
                text = self.build.source(output).read_text()
                names.update(re.findall(r"^(?:TYPED_)?TEST(?:_[FP])?\((\w+),", text, re.MULTILINE))
            if names:
                chosen = ":".join(f"{name}.*:*/{name}.*:{name}/*:*/{name}/*" for name in sorted(names))
                yield in_library, PROGRAMS[0], [output for output in first if output in in_tests], chosen + left_out
        for name in PROGRAMS:
            yield everywhere, name, self.build.depending(self.build.programs[name], file), QUICK

    def verdict(self, mutant):
        """(result, killing test)"""
        for in_library, program, in_program, chosen in self.steps(mutant.file):
            if not mutant.compile_into(in_library + in_program):
                return "not compiled", ""
            if in_library:
                mutant.link(self.build.library, self.build.soname)
            executable = self.build.folder / "tests" / program
            if in_program:
                executable = mutant.link(self.build.programs[program], program)
            failure = run_tests(self.build, program, executable, mutant.folder, chosen)
            if failure:
                return "killed", failure
        return ("same code" if mutant.is_same_code() else "survived"), ""


def one_line(change, text):
    """The change as `old text -> new text` on one line."""
    begin, end = change.start, change.end
    if "\n" not in text[begin:end]:  # show the whole line
        begin, end = text.rfind("\n", 0, begin) + 1, text.find("\n", end)
    new = text[begin : change.start] + change.new + text[change.end : end]
    return " -> ".join(re.sub(r"\s+", " ", piece).strip() for piece in (text[begin:end], new))


def all_changes(part, kinds):
    """[(file, text, change)] for the files that have `part` in their path"""
    files = sorted(path for path in sources.rglob("*") if path.suffix in (".cpp", ".h"))
    texts = {file: file.read_text() for file in files}
    known = candidates.enumerators(map(candidates.code_of, texts.values()))
    return [
        (file, text, change)
        for file, text in texts.items()
        for change in candidates.changes(text, known)
        if part in str(file) and (not kinds or change.kind in kinds)
    ]


class Sample:
    """Draws changes until enough of them are mutants, and prints the result of each."""

    def __init__(self, changes, count, known):
        self.changes, self.count = iter(changes), count
        self.counts, self.open, self.unlisted = collections.Counter(), 0, []
        self.condition = threading.Condition()
        rows = (pathlib.Path(__file__).parent / "survivors.tsv").read_text().splitlines()
        self.listed = {(path, what): kind for path, what, kind, reason in (row.split("\t") for row in rows)}
        self.known = {tuple(rest[:3]): (result, rest[3]) for result, *rest in known}

    @property
    def mutants(self):
        return self.counts["killed"] + self.counts["survived"]

    def take(self):
        with self.condition:
            # Each open change may turn out to be a mutant.
            self.condition.wait_for(lambda: self.open == 0 or self.mutants + self.open < self.count)
            taken = next(self.changes, None) if self.mutants < self.count else None
            self.open += taken is not None
            return taken

    def judge(self, file, text, change, verdict):
        """Counts and prints the result of a change: that of an earlier run, or else of `verdict()`."""
        path, line, what = file.relative_to(repository), text.count("\n", 0, change.start) + 1, one_line(change, text)
        place = f"{path}:{line}", change.kind, what
        result, by = self.known.get(place) or verdict()
        with self.condition:
            self.open -= 1
            self.counts[result] += 1
            if result == "survived":
                by = self.listed.get((str(path), what), "not listed")
                self.counts[by] += 1
                if by == "not listed":
                    self.unlisted.append(f"{path}\t{what}")
            print(result, *place, by, sep="\t", flush=True)
            self.condition.notify_all()


def share_killed(counts):
    """The share of the mutants that change behaviour."""
    return counts["killed"] / max(counts["killed"] + counts["survived"] - counts["same"], 1)


def table(given, counts):
    mutants = counts["killed"] + counts["survived"]
    yield f"| `./dev mutate {given.count} {given.seed}` | |"
    yield "|---|---:|"
    yield f"| mutants | {mutants} |"
    yield f"| killed | {counts['killed']} ({counts['killed'] / max(mutants, 1):.1%}) |"
    yield f"| survived | {counts['survived']} |"
    yield f"| survived without a change of behaviour | {counts['same']} |"
    yield f"| killed of those that change behaviour | {share_killed(counts):.1%} |"
    yield f"| changes that do not compile, and no mutants | {counts['not compiled']} |"
    yield f"| changes that generate the same code, and no mutants | {counts['same code']} |"


def page(given, counts):
    """The result of a run as a page of the documentation."""
    head = [
        "# Figures: mutation testing",
        "",
        f"`./dev mutate` writes this page after a successful run of the default size, {DEFAULT_COUNT} mutants.",
        "",
    ]
    return "\n".join([*head, *table(given, counts)]) + "\n"


def place_of_page(given, fails):
    is_default = given.count == DEFAULT_COUNT and not given.kinds and not given.files
    return "docs/figures/mutation.md" if is_default and not fails else "build/mutation/figures.md"


def main():
    arguments = argparse.ArgumentParser(prog="./dev mutate", description=__doc__.splitlines()[0])
    arguments.add_argument("count", nargs="?", type=int, default=DEFAULT_COUNT, help=f"mutants ({DEFAULT_COUNT})")
    arguments.add_argument("seed", nargs="?", type=int, default=random.SystemRandom().randrange(10**6))
    arguments.add_argument("--kinds", help="only changes of these kinds, such as comparison,has-bit")
    arguments.add_argument("--files", default="", help="only files whose path contains this")
    arguments.add_argument("--jobs", type=int, default=os.cpu_count())
    arguments.add_argument("--known", type=pathlib.Path, help="output of an interrupted run of this seed, to continue")
    given = arguments.parse_args()

    trial = Trial(Build(repository / "build/mutation"))
    changes = all_changes(given.files, given.kinds and given.kinds.split(","))
    print(f"mutate: {given.count} mutants of {len(changes)} changes, with seed {given.seed}", flush=True)
    random.Random(given.seed).shuffle(changes)
    rows = [row.split("\t") for row in given.known.read_text().splitlines()] if given.known else []
    sample = Sample(changes, given.count, [row for row in rows if len(row) == 5])

    def work(folder):
        while (taken := sample.take()) is not None:
            file, text, change = taken
            changed = text[: change.start] + change.new + text[change.end :]
            sample.judge(*taken, lambda: trial.verdict(Mutant(trial.build, folder, file, changed)))

    with concurrent.futures.ThreadPoolExecutor(given.jobs) as pool:
        folders = [trial.build.folder / f"mutants/{number}" for number in range(given.jobs)]
        for _ in pool.map(work, folders):
            pass

    counts = sample.counts
    fails = share_killed(counts) < LEAST_KILLED or bool(sample.unlisted)
    written = repository / place_of_page(given, fails)
    written.parent.mkdir(exist_ok=True)
    written.write_text(page(given, counts))
    print(*table(given, counts), sep="\n")
    print(f"mutate: wrote {written.relative_to(repository)}")
    if sample.unlisted:
        print("mutate: survivors that are not in survivors.tsv:", *sample.unlisted, sep="\n")
    sys.exit(fails)


if __name__ == "__main__":
    main()
