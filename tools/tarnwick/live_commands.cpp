#include "live_commands.h"

#include "live/frame_check.h"
#include "requests/quantity.h"

namespace tarnwick::program {
namespace {

/// Reads the size or the age at which a new file begins.
void read_rotation(std::string const &text, RecordOptions &options)
{
    constexpr long double max_value = 1e18L;
    auto const size = read_size(text);
    auto const age = read_span(text);
    auto const value = size ? size : age;
    if (!value || *value < 1 || *value > max_value)
        throw CLI::ValidationError(
            "--rotate", fmt::format("'{}' is neither a size such as 100MB nor a length of time such as 1h", text));
    if (size)
        options.rotate_size = static_cast<std::uint64_t>(*size);
    else
        options.rotate_age = std::chrono::nanoseconds(static_cast<std::int64_t>(*age));
}

void add_record(CLI::App &app, RecordOptions &options, RecordArguments &arguments, Command &command)
{
    auto &sub = add_command(app, "record", "Receive frames over ZeroMQ and write a capture",
                            "usage: tarnwick record [OPTION...] -o FILE ENDPOINT...");
    sub.add_option("ENDPOINT", arguments.endpoints, "addresses of sockets: tcp://HOST:PORT or ipc://PATH")
        ->type_name("")
        ->required();
    sub.add_option("-o,--output", options.output, "capture to create or to continue")
        ->type_name("FILE")
        ->required()
        ->take_last();
    sub.add_flag("--connect", options.connects, "connect to the endpoints, instead of waiting for connections");
    sub.add_option("--rotate", arguments.rotate,
                   "begin a new FILE when it reaches this size or age, and add the time to the name of the previous")
        ->type_name("SIZE|TIME")
        ->take_last();
    sub.add_option("--max-frame", arguments.max_frame, "the largest frame (default 16MB, at most 1GiB)")
        ->type_name("SIZE")
        ->take_last();
    sub.footer("Exit status: 0 a signal ended the program, 2 wrong usage, 3 a socket cannot be opened or FILE cannot be "
               "written.");
    sub.callback([&] {
        for (auto const &text : arguments.endpoints)
            options.endpoints.push_back(read_argument("ENDPOINT", [&] { return Endpoint(text); }));
        if (!arguments.rotate.empty())
            read_rotation(arguments.rotate, options);
        if (!arguments.max_frame.empty()) {
            auto const size = read_size(arguments.max_frame);
            if (!size || *size < 1 || *size > static_cast<long double>(max_frame_size))
                throw CLI::ValidationError("--max-frame", fmt::format("'{}' is not a size from 1 byte to 1GiB",
                                                                      arguments.max_frame));
            options.max_frame = static_cast<std::uint64_t>(*size);
        }
        command = [&options] { return record(options); };
    });
}

} // namespace

void add_live_commands(CLI::App &app, LiveCommands &options, Command &command)
{
    add_record(app, options.record, options.record_arguments, command);
}

} // namespace tarnwick::program
