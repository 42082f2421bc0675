#include "command_line.h"

#include "exit_status.h"
#include "inspect.h"
#include "output.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <csignal>
#include <cstdio>
#include <map>
#include <string>

namespace tarnwick::program {
namespace {

template <class Enum>
using Words = std::map<std::string, Enum>;

void add_inspect(CLI::App &app, InspectOptions &options)
{
    auto *inspect = app.add_subcommand("inspect", "Print the records that the reports of captures feed");
    inspect->footer("Exit status: 0 done, 1 a capture has a fault (said with its place), 2 wrong usage,\n"
                    "3 a file cannot be read or written.");
    inspect->add_option("FILE", options.files, "Capture files; - or none is standard input");
    inspect
        ->add_option("--format", options.format,
                     "text (for people), jsonl (one JSON object per record), auto (text on a terminal)")
        ->transform(CLI::CheckedTransformer(
            Words<Format>{{"auto", Format::automatic}, {"text", Format::text}, {"jsonl", Format::jsonl}}));
    inspect->add_option("--color", options.color, "auto (on a terminal, unless NO_COLOR is set), always, never")
        ->transform(CLI::CheckedTransformer(
            Words<Color>{{"auto", Color::automatic}, {"always", Color::always}, {"never", Color::never}}));
    inspect->add_flag("--all-records", options.all_records,
                      "Build every record of a report's family, whatever the report's case");
}

} // namespace

int run(int argc, char const *const *argv)
{
    // A reader that goes away is an output that cannot be written, not a reason to die without a word.
    std::signal(SIGPIPE, SIG_IGN); // NOLINT(cert-err33-c): it cannot fail for this signal

    CLI::App app("Shows what is in a capture of reports from PHP applications.", "tarnwick");
    app.set_version_flag("--version", "tarnwick " TARNWICK_VERSION);
    app.require_subcommand(1);
    InspectOptions options;
    add_inspect(app, options);

    try {
        app.parse(argc, argv);
    } catch (CLI::ParseError const &error) {
        return app.exit(error) == 0 ? done : wrong_usage;
    }

    try {
        return inspect(options);
    } catch (WriteError const &error) {
        fmt::print(stderr, "tarnwick: {}\n", error.what());
        return file_failure;
    }
}

} // namespace tarnwick::program
