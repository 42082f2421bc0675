#include "live_commands.h"

#include "live/frame_check.h"
#include "live/nats_source.h"
#include "requests/quantity.h"

#include <chrono>
#include <cmath>
#include <cstdint>
#include <functional>
#include <optional>

namespace tarnwick::program {
namespace {

/// Adds the options for CURVE keys.
void add_access_options(CLI::App &app, AccessOptions &options)
{
    auto const add = [&app](std::string const &name, std::string &target, char const *type, std::string const &help) {
        app.add_option(name, target, help)->type_name(type)->take_last();
    };
    add("--curve-keys", options.curve_keys, "FILE",
        "encrypt, and prove who this side is, with the key pair of this file; tarnwick keys creates it");
    add("--allow", options.allow, "FILE",
        "where an address is bound: only clients whose public keys are in this file, or in a .pub file of this folder");
    add("--server-key", options.server_key, "FILE",
        "where an address is connected to: the file with the public key of the other side");
}

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
        options.rotate_size = static_cast<std::uint64_t>(*value);
    else
        options.rotate_age = std::chrono::nanoseconds(static_cast<std::int64_t>(*value));
}

void add_record(CLI::App &app, RecordOptions &options, RecordArguments &arguments, Command &command)
{
    auto &sub = add_command(app, "record", "Receive frames over ZeroMQ or from a stream, and write a capture",
                            "usage: tarnwick record [OPTION...] -o FILE ENDPOINT...");
    sub.add_option("ENDPOINT", arguments.endpoints,
                   "addresses of sockets, tcp://HOST:PORT or ipc://PATH, or one stream, nats://HOST:PORT/STREAM")
        ->type_name("")
        ->required();
    sub.add_option("-o,--output", options.output,
                   "capture to create or to continue, or a stream, nats://HOST:PORT/STREAM")
        ->type_name("FILE")
        ->required()
        ->take_last();
    auto const *connects = sub.add_flag("--connect", "connect to the endpoints, instead of waiting for connections");
    sub.add_option("--rotate", arguments.rotate,
                   "begin a new FILE when it reaches this size or age, and add the time to the name of the previous")
        ->type_name("SIZE|TIME")
        ->take_last();
    sub.add_option("--max-frame", arguments.max_frame, "the largest frame (default 16MB, at most 1GiB)")
        ->type_name("SIZE")
        ->take_last();
    add_access_options(sub, options.access);
    sub.footer(
        "Exit status: 0 a signal ended the program, 2 wrong usage, 3 a socket cannot be opened or FILE cannot be "
        "written.");
    sub.callback([&, connects] {
        if (NatsAddress::is_one(options.output)) {
            read_argument("--output", [&] { NatsSource::check(options.output); });
            if (!arguments.rotate.empty())
                throw CLI::ValidationError("--rotate", "only for a file");
        }
        if (NatsAddress::is_one(arguments.endpoints.front())) {
            options.stream = arguments.endpoints.front();
            read_argument("ENDPOINT", [&] { NatsSource::check(*options.stream); });
            if (arguments.endpoints.size() > 1)
                throw CLI::ValidationError("ENDPOINT", "a stream is recorded alone");
            if (NatsAddress::is_one(options.output))
                throw CLI::ValidationError("--output", "a stream is recorded to a file");
            arguments.endpoints.clear();
        }
        for (auto const &text : arguments.endpoints)
            options.endpoints.push_back(read_argument("ENDPOINT", [&] { return Endpoint(text); }));
        options.attachment = connects->count() > 0 ? Attachment::connect : Attachment::bind;
        for (auto const &endpoint : options.endpoints)
            read_argument("ENDPOINT", [&] { check_access(options.access, options.attachment, endpoint); });
        if (!arguments.rotate.empty())
            read_rotation(arguments.rotate, options);
        if (!arguments.max_frame.empty()) {
            auto const size = read_size(arguments.max_frame);
            if (!size || *size < 1 || *size > static_cast<long double>(max_frame_size))
                throw CLI::ValidationError("--max-frame",
                                           fmt::format("'{}' is not a size from 1 byte to 1GiB", arguments.max_frame));
            options.max_frame = static_cast<std::uint64_t>(*size);
        }
        command = [&options] { return record(options); };
    });
}

/// Adds an option that takes a positive number.
void add_factor(CLI::App &app, std::string const &name, std::string const &type, std::string const &help,
                std::function<void(long double)> const &set)
{
    app.add_option_function<std::string>(
           name,
           [name, set](std::string const &argument) {
               long double number = 0;
               if (!CLI::detail::lexical_cast(argument, number) || !std::isfinite(number) || number <= 0)
                   throw CLI::ValidationError(name, fmt::format("'{}' is not a number above 0", argument));
               set(number);
           },
           help)
        ->type_name(type)
        ->take_last();
}

void add_replay(CLI::App &app, ReplayOptions &options, std::vector<std::string> &places, Command &command)
{
    auto &sub = add_command(app, "replay", "Send the frames of captures over ZeroMQ",
                            "usage: tarnwick replay [OPTION...] [FILE...] ENDPOINT");
    sub.add_option("FILE", places,
                   "captures to send, standard input if none is given, or for -; then the address of the receiver, "
                   "tcp://HOST:PORT or ipc://PATH")
        ->type_name("");
    add_factor(sub, "--speed", "FACTOR", "divide the times between frames by this, such as 2 or 0.5",
               [&options](long double speed) { options.pace.speed = speed; });
    add_factor(sub, "--rate", "N", "send N frames a second, instead of at their times",
               [&options](long double rate) { options.pace.rate = rate; });
    sub.add_flag("--loop", options.loop, "after the last frame, continue with the first, until Ctrl-C");
    add_request_filter(sub, options.filter);
    add_access_options(sub, options.access);
    sub.footer("Exit status: 0 success, 1 a capture has a fault, 2 wrong usage,\n"
               "3 a file cannot be read, or Ctrl-C came before all frames were sent.");
    sub.callback([&] {
        if (places.empty())
            throw CLI::ValidationError("the address of the receiver is required");
        options.endpoint = read_argument("ENDPOINT", [&] { return Endpoint(places.back()); });
        read_argument("ENDPOINT", [&] { check_access(options.access, Attachment::connect, *options.endpoint); });
        places.pop_back();
        if (!places.empty())
            options.files = places;
        check_files(options.files);
        if (sub.count("--speed") > 0 && sub.count("--rate") > 0)
            throw CLI::ValidationError("--speed", "not with --rate, which does not use the times of frames");
        command = [&options] { return replay(options); };
    });
}

void add_keys_command(CLI::App &app, KeysOptions &options, Command &command)
{
    auto &sub = add_command(app, "keys", "Create keys for record and replay", "usage: tarnwick keys [OPTION...] NAME");
    sub.add_option("NAME", options.name, "creates NAME.key, which must remain secret, and NAME.pub, for the other side")
        ->type_name("");
    sub.footer("Exit status: 0 success, 2 wrong usage, 3 a file cannot be written.");
    sub.callback([&] {
        if (options.name.empty())
            throw CLI::ValidationError("a name for the files is required");
        command = [&options] { return keys(options); };
    });
}

} // namespace

void add_live_commands(CLI::App &app, LiveCommands &options, Command &command)
{
    add_record(app, options.record, options.record_arguments, command);
    add_replay(app, options.replay, options.replay_places, command);
    add_keys_command(app, options.keys, command);
}

} // namespace tarnwick::program
