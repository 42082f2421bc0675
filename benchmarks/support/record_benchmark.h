#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

// What is measured of every record. Each figure is of one report; 64 different ones take turns, since one alone would
// teach the branch predictor.

namespace tarnwick::bench {

inline constexpr std::size_t reports = 64;

template <class Message>
using Fill = void (*)(Message &message, int number);

template <class Message>
std::vector<Message> filled(Fill<Message> fill)
{
    std::vector<Message> messages(reports);
    for (std::size_t i = 0; i < reports; ++i)
        fill(messages[i], static_cast<int>(i));
    return messages;
}

template <class Message>
void parse(benchmark::State &state, Fill<Message> fill)
{
    std::vector<decltype(std::declval<Message const &>().SerializeAsString())> wire;
    wire.reserve(reports);
    for (auto const &message : filled(fill))
        wire.push_back(message.SerializeAsString());
    std::size_t next = 0;
    for (auto _ : state) {
        Message message;
        if (!message.ParseFromString(wire[next++ % reports]))
            state.SkipWithError("a report does not parse");
        benchmark::DoNotOptimize(message);
    }
}

/// What `make` gives of a message is built and kept; its release is not in the figure.
template <class Message, class Make>
void build(benchmark::State &state, Fill<Message> fill, Make make)
{
    auto const messages = filled(fill);
    std::vector<decltype(make(messages[0]))> made;
    made.reserve(reports);
    while (state.KeepRunningBatch(reports)) {
        for (auto const &message : messages)
            made.push_back(make(message));
        state.PauseTiming();
        made.clear();
        state.ResumeTiming();
    }
}

template <class Message, class Make>
void release(benchmark::State &state, Fill<Message> fill, Make make)
{
    auto const messages = filled(fill);
    std::vector<decltype(make(messages[0]))> made;
    made.reserve(reports);
    while (state.KeepRunningBatch(reports)) {
        state.PauseTiming();
        for (auto const &message : messages)
            made.push_back(make(message));
        state.ResumeTiming();
        made.clear();
    }
}

template <class Message, class Make, class Read>
void read(benchmark::State &state, Fill<Message> fill, Make make, Read read_all)
{
    std::vector<decltype(make(std::declval<Message const &>()))> made;
    made.reserve(reports);
    for (auto const &message : filled(fill))
        made.push_back(make(message));
    std::size_t next = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(read_all(made[next++ % reports]));
}

/// Registers parse of the message, its own copy, and build and release of the record that `make` gives.
template <class Message, class Make>
void add_record(std::string const &name, Fill<Message> fill, Make make)
{
    auto const copy = [](Message const &message) { return message; };
    benchmark::RegisterBenchmark(name + "/parse", parse<Message>, fill);
    benchmark::RegisterBenchmark(name + "/copy_of_message", build<Message, decltype(copy)>, fill, copy);
    benchmark::RegisterBenchmark(name + "/build", build<Message, Make>, fill, make);
    benchmark::RegisterBenchmark(name + "/release", release<Message, Make>, fill, make);
}

/// Registers a walk over the record that touches everything in it.
template <class Message, class Make, class Read>
void add_read(std::string const &name, Fill<Message> fill, Make make, Read read_all)
{
    benchmark::RegisterBenchmark(name + "/read", read<Message, Make, Read>, fill, make, read_all);
}

/// Registers another form of the same content, for comparison.
template <class Message, class Make>
void add_alternative(std::string const &name, Fill<Message> fill, Make make)
{
    benchmark::RegisterBenchmark(name + "/build", build<Message, Make>, fill, make);
    benchmark::RegisterBenchmark(name + "/release", release<Message, Make>, fill, make);
}

} // namespace tarnwick::bench
