"""Combines the sources of a compilation database into few translation units, for clang-tidy.

usage: lint_units.py BUILD-TREE FOLDER...

clang-tidy needs seconds for each translation unit, because it reads everything that the unit includes. So the sources of
a folder are included in units of many sources, which share the precompiled headers of all units.
"""

import json
import os
import re
import shlex
import shutil
import subprocess
import sys

SOURCES = 40  # in a unit
HEADERS = (
    "QtCore/QVariant",
    "fmt/format.h",
    "pelorin/protobuf/Glimmet/sql.pb.h",
    "tarnwick/rpc/php/v1/notify_request.pb.h",
    "gmock/gmock.h",
)
# Fuzzers define the same functions, and examples use whole namespaces.
ALONE = r"/tests/fuzz/(bridge|capture|configuration|recording|reports)\.cpp$|/examples/"
# It tests what a header does not include.
WITHOUT_HEADERS = r"/tarnwick_utils_include_test\.cpp$"


def options_of(command):
    """Returns the options that matter to clang-tidy. An option and its value are one text, with a NUL between them."""
    words = iter(shlex.split(command)[1:])
    options = []
    for word in words:
        if word in ("-c", "-o"):
            next(words)
        elif word in ("-I", "-isystem", "-include"):
            options.append(f"{word}\0{next(words)}")
        elif not re.match("-(O.|W.*|fPI[CE]|g|pthread|DNDEBUG)$", word):
            options.append(word)
    return options


def main(tree, *folders):
    tree = os.path.abspath(tree)
    with open(f"{tree}/compile_commands.json", encoding="utf-8") as file:
        sources = {entry["file"]: options_of(entry["command"]) for entry in json.load(file)}
    units = []  # file, options
    for folder in folders:
        os.makedirs(f"{tree}/{folder}", exist_ok=True)
        if os.path.exists(f"{folder}/.clang-tidy"):
            shutil.copy(f"{folder}/.clang-tidy", f"{tree}/{folder}")
        files = sorted(file for file in sources if file.startswith(os.path.abspath(folder) + "/"))
        alone = [file for file in files if re.search(f"{ALONE}|{WITHOUT_HEADERS}", file)]
        units += [(file, sources[file]) for file in alone]
        files = [file for file in files if file not in alone]
        for begin in range(0, len(files), SOURCES):
            part = files[begin : begin + SOURCES]
            unit = f"{tree}/{folder}/unit_{begin // SOURCES}.cpp"
            with open(unit, "w", encoding="utf-8") as target:
                for number, file in enumerate(part):
                    target.write(f"#define main main_{number}\n")
                    target.write(f'#include "{file}" // NOLINT(bugprone-suspicious-include)\n#undef main\n')
            units.append((unit, list(dict.fromkeys(option for file in part for option in sources[file]))))

    with open(f"{tree}/all.h", "w", encoding="utf-8") as target:
        target.writelines(f"#include <{header}>\n" for header in HEADERS)
    # Precompiled headers need the same options in all units, apart from macros.
    every = list(dict.fromkeys(option for _, options in units for option in options))
    common = [option for option in every if not option.startswith("-D") or all(option in unit for _, unit in units)]
    common = "\0".join(common).split("\0")
    subprocess.run(["clang++-22", *common, "-x", "c++-header", f"{tree}/all.h", "-o", f"{tree}/all.pch"], check=True)
    commands = []
    for file, options in units:
        start = [] if re.search(WITHOUT_HEADERS, file) else ["-include-pch", f"{tree}/all.pch"]
        words = ["c++", *start, *"\0".join(options).split("\0"), "-c", file]
        commands.append({"directory": tree, "file": file, "command": shlex.join(words)})
    with open(f"{tree}/compile_commands.json", "w", encoding="utf-8") as target:
        json.dump(commands, target)


if __name__ == "__main__":
    main(*sys.argv[1:])
