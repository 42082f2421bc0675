#include "data/glimmet/functions_workload.h"
#include "data/glimmet/sql_queries_workload.h"
#include "data/monitor/event_workload.h"
#include "data/php/real_request_workload.h"
#include "data/php/superglobals_workload.h"
#include "support/trees.h"

#include <benchmark/benchmark.h>

#include <google/protobuf/arena.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <semaphore>
#include <string>
#include <string_view>
#include <thread>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

// What each kind of report costs, from its bytes to its release, with what it is compared to. Each figure is of one
// report. What an action needs and what it leaves are outside its time.

namespace tarnwick::bench {
namespace {

/// So many different reports take turns, since one alone would teach the branch predictor.
constexpr std::size_t reports = 64;

using Clock = std::chrono::steady_clock;

template <class Prepare, class Action>
void measure(benchmark::State &state, Prepare prepare, Action action)
{
    std::size_t number = 0;
    for (auto _ : state) {
        auto &&given = prepare(number++ % reports);
        auto const finish = [&state, start = Clock::now()] {
            state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
        };
        if constexpr (std::is_void_v<decltype(action(given))>) {
            action(given);
            finish();
        } else {
            auto made = action(given);
            finish();
            benchmark::DoNotOptimize(made);
        }
    }
}

/// Where an action runs: the allocator serves a process's first thread from another arena than all others.
enum class Where { main_thread, worker_thread };

class Suite {
public:
    Suite(std::string name, Where where)
        : name_(std::move(name))
        , where_(where)
    {
    }

    template <class Prepare, class Action>
    void add(std::string const &what, Prepare prepare, Action action) const
    {
        auto const run = [where = where_, prepare, action](benchmark::State &state) {
            if (where == Where::main_thread)
                measure(state, prepare, action);
            else
                std::thread([&] { measure(state, prepare, action); }).join();
        };
        auto const *thread = where_ == Where::main_thread ? "main" : "worker";
        benchmark::RegisterBenchmark(name_ + '/' + thread + '/' + what, run)->UseManualTime();
    }

private:
    std::string name_;
    Where where_;
};

/// Messages in an arena, as servers hold them.
template <class Messages>
class InArena;

template <class... Message>
class InArena<std::tuple<Message...>> {
public:
    std::tuple<Message &...> messages() { return {*google::protobuf::Arena::Create<Message>(&arena_)...}; }

private:
    google::protobuf::Arena arena_;
};

/// What `make` gives for each report, made when the first is asked for.
template <class Workload, class Make>
auto const &all_of(std::size_t number, Make make)
{
    static auto const all = [make] {
        std::vector<decltype(make(number))> made;
        made.reserve(reports);
        for (std::size_t i = 0; i < reports; ++i)
            made.push_back(make(i));
        return made;
    }();
    return all[number];
}

template <class Workload>
Wire const &wire_of_report(std::size_t number)
{
    return all_of<Workload>(number, [](std::size_t i) { return wire_of(Workload::messages(static_cast<int>(i))); });
}

/// A report as a receiver has it: parsed, on the heap.
template <class Workload>
auto const &messages_of(std::size_t number)
{
    return all_of<Workload>(number, [](std::size_t i) {
        typename Workload::Messages messages;
        parse(wire_of_report<Workload>(i), messages);
        return messages;
    });
}

template <class Workload>
auto made_record(std::size_t number)
{
    return build<Workload>(messages_of<Workload>(number));
}

template <class Workload>
auto const &record_of(std::size_t number)
{
    return all_of<Workload>(number, made_record<Workload>);
}

template <class Workload>
void add_messages(Suite const &suite)
{
    using Messages = Workload::Messages;
    suite.add("parse/heap", wire_of_report<Workload>, [](Wire const &wire) {
        Messages messages;
        parse(wire, messages);
        return messages;
    });
    suite.add("parse/arena", wire_of_report<Workload>, [](Wire const &wire) {
        auto arena = std::make_unique<InArena<Messages>>();
        auto messages = arena->messages();
        parse(wire, messages);
        return arena;
    });
    suite.add("copy/heap", messages_of<Workload>, [](Messages const &messages) { return messages; });
    suite.add("copy/arena", messages_of<Workload>, [](Messages const &messages) {
        auto arena = std::make_unique<InArena<Messages>>();
        arena->messages() = messages;
        return arena;
    });
}

template <class Workload>
void add_record(Suite const &suite)
{
    using Messages = Workload::Messages;
    suite.add("build", messages_of<Workload>, build<Workload, Messages>);
    suite.add("release", made_record<Workload>, [](auto &record) { record = {}; });
    suite.add("build_and_release", messages_of<Workload>,
              [](Messages const &messages) { auto const record = build<Workload>(messages); });
    suite.add("read", record_of<Workload>, [](auto const &record) { return Workload::read(record); });
    suite.add("road/heap", wire_of_report<Workload>, [](Wire const &wire) {
        auto messages = std::make_optional<Messages>();
        parse(wire, *messages);
        auto const record = build<Workload>(*messages);
        messages.reset();
    });
    suite.add("road/arena", wire_of_report<Workload>, [](Wire const &wire) {
        auto arena = std::make_optional<InArena<Messages>>();
        auto messages = arena->messages();
        parse(wire, messages);
        auto const record = build<Workload>(messages);
        arena.reset();
    });
}

/// One thread builds, another reads and releases: a report each time the slower of the two is ready for the next.
template <class Workload>
void hand_over(benchmark::State &state)
{
    using Record = decltype(made_record<Workload>(0));
    constexpr std::ptrdiff_t room = 16;
    std::array<std::optional<Record>, room> ring; // an empty place ends the consumer
    std::counting_semaphore<room> vacant(room);
    std::counting_semaphore<room> occupied(0);
    std::size_t next = 0;
    auto const give = [&](std::optional<Record> record) {
        vacant.acquire();
        ring[next++ % room] = std::move(record);
        occupied.release();
    };
    std::thread consumer([&] {
        for (std::size_t place = 0;; ++place) {
            occupied.acquire();
            auto const record = std::exchange(ring[place % room], std::nullopt);
            vacant.release();
            if (!record)
                return;
            benchmark::DoNotOptimize(Workload::read(*record));
        }
    });
    for (auto _ : state)
        give(made_record<Workload>(next % reports));
    give(std::nullopt);
    consumer.join();
}

/// How many reports a second so many threads build and release.
template <class Workload>
void build_side_by_side(benchmark::State &state)
{
    auto number = static_cast<std::size_t>(state.thread_index()) * reports / 2;
    for (auto _ : state)
        benchmark::DoNotOptimize(made_record<Workload>(number++ % reports));
    state.SetItemsProcessed(state.iterations());
}

template <class Workload>
void add_threads(std::string const &name)
{
    benchmark::RegisterBenchmark(name + "/hand_over", hand_over<Workload>)->UseRealTime();
    benchmark::RegisterBenchmark(name + "/side_by_side", build_side_by_side<Workload>)
        ->ThreadRange(1, 2)
        ->UseRealTime();
}

template <class Workload>
void add_floor(Suite const &suite)
{
    using Messages = Workload::Messages;
    static Floor floor;
    auto const after_last = [](std::size_t number) -> Messages const & {
        floor.release();
        return messages_of<Workload>(number);
    };
    auto const built = [](std::size_t number) {
        build_floor<Workload>(floor, messages_of<Workload>(number));
        return &floor;
    };
    suite.add("floor/build", after_last, [](Messages const &messages) { build_floor<Workload>(floor, messages); });
    suite.add("floor/release", built, [](Floor *built_floor) { built_floor->release(); });
    suite.add("floor/build_and_release", after_last, [](Messages const &messages) {
        build_floor<Workload>(floor, messages);
        floor.release();
    });
}

template <class Workload, class Tree>
void add_alternative(Suite const &suite)
{
    using Messages = Workload::Messages;
    auto const name = std::string(Tree::name);
    suite.add(name + "/build", messages_of<Workload>, build_tree<Workload, Tree, Messages>);
    suite.add(name + "/build_and_release", messages_of<Workload>,
              [](Messages const &messages) { auto const tree = build_tree<Workload, Tree>(messages); });
}

template <class Workload>
void add_workload()
{
    auto const name = std::string(Workload::name) + '/' + Workload::dialect;
    for (auto const where : {Where::main_thread, Where::worker_thread}) {
        Suite const suite(name, where);
        add_messages<Workload>(suite);
        add_record<Workload>(suite);
        add_floor<Workload>(suite);
    }
    add_threads<Workload>(name);
    if constexpr (std::string_view(Workload::dialect) == "rpc") {
        Suite const suite(name, Where::main_thread);
        add_alternative<Workload, VariantTree>(suite);
        add_alternative<Workload, CborTree>(suite);
        add_alternative<Workload, JsonTree>(suite);
        add_alternative<Workload, NlohmannTree>(suite);
    }
}

[[maybe_unused]] bool const registered = [] {
    add_workload<SuperglobalsRpc>();
    add_workload<SuperglobalsProtobuf>();
    add_workload<FunctionsRpc>();
    add_workload<FunctionsProtobuf>();
    add_workload<SqlQueriesRpc>();
    add_workload<SqlQueriesProtobuf>();
    add_workload<EventRpc>();
    add_workload<EventProtobuf>();
    add_workload<RealRequestRpc>();
    add_workload<RealRequestProtobuf>();
    return true;
}();

} // namespace
} // namespace tarnwick::bench
