#include "data/glimmet/functions_workload.h"
#include "data/glimmet/sql_queries_workload.h"
#include "data/monitor/event_workload.h"
#include "data/php/real_request_workload.h"
#include "data/php/superglobals_workload.h"
#include "support/trees.h"

#include <benchmark/benchmark.h>

#include <google/protobuf/arena.h>

#include <array>
#include <atomic>
#include <barrier>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <random>
#include <semaphore>
#include <string>
#include <thread>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

// Cost of each kind of report, from its bytes to its release, and of what it is compared with. Each figure is for one
// report. Set-up and clean-up of an action are not timed.

namespace tarnwick::bench {
namespace {

/// Number of reports that take turns; a single report would train the branch predictor. There are fewer real requests,
/// so the first ones repeat.
constexpr std::size_t reports = 64;

using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

template <class Prepare, class Action>
void measure(benchmark::State &state, Prepare prepare, Action action)
{
    // The first call builds all reports of the kind.
    static_cast<void>(prepare(0));
    std::size_t number = 0;
    for (auto _ : state) {
        auto &&given = prepare(number++ % reports);
        auto const start = Clock::now();
        if constexpr (std::is_void_v<decltype(action(given))>) {
            action(given);
            state.SetIterationTime(seconds_since(start));
        } else {
            auto made = action(given);
            state.SetIterationTime(seconds_since(start));
            benchmark::DoNotOptimize(made);
        }
    }
}

/// Thread on which an action runs: the allocator uses another arena for a process's first thread than for all others.
enum class Where { main_thread, worker_thread };

class Suite {
public:
    /// `rounds`: number of passes through all reports in a repetition.
    Suite(std::string name, Where where, std::size_t rounds)
        : name_(std::move(name))
        , where_(where)
        , rounds_(rounds)
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
        benchmark::RegisterBenchmark(name_ + '/' + thread + '/' + what, run)
            ->UseManualTime()
            ->Iterations(static_cast<benchmark::IterationCount>(rounds_ * reports));
    }

private:
    std::string name_;
    Where where_;
    std::size_t rounds_;
};

/// Messages in an arena, as in servers.
template <class Messages>
class InArena;

template <class... Message>
class InArena<std::tuple<Message...>> {
public:
    /// `block_size`: of the memory that the arena uses first, and keeps.
    explicit InArena(std::size_t block_size = 0)
        : block_(block_size)
        , arena_(block_.data(), block_.size())
    {
    }

    std::tuple<Message &...> messages() { return {*google::protobuf::Arena::Create<Message>(&arena_)...}; }
    void reset() { arena_.Reset(); }

private:
    std::vector<char> block_;
    google::protobuf::Arena arena_;
};

constexpr std::size_t first_block = std::size_t{1} << 20U;

/// Results of `make` for each report, made on first use.
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

/// A report in the form that a receiver has: parsed, on the heap.
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
    suite.add("parse_and_drop/reused_arena", wire_of_report<Workload>,
              [arena = std::make_shared<InArena<Messages>>(first_block)](Wire const &wire) {
                  auto messages = arena->messages();
                  parse(wire, messages);
                  arena->reset();
              });
    suite.add("parse_and_drop/heap", wire_of_report<Workload>, [](Wire const &wire) {
        Messages messages;
        parse(wire, messages);
    });
    suite.add("copy/heap", messages_of<Workload>, [](Messages const &messages) { return messages; });
    suite.add("copy_and_drop/heap", messages_of<Workload>, [](Messages const &messages) {
        auto copy = messages;
        benchmark::DoNotOptimize(copy);
    });
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
    suite.add("road/reused_arena", wire_of_report<Workload>,
              [arena = std::make_shared<InArena<Messages>>(first_block)](Wire const &wire) {
                  auto messages = arena->messages();
                  parse(wire, messages);
                  auto const record = build<Workload>(messages);
                  arena->reset();
              });
}

/// One thread builds all reports in turn, another reads and releases them. Measured until the last release.
template <class Workload>
void hand_over(benchmark::State &state)
{
    using Record = decltype(made_record<Workload>(0));
    static_cast<void>(messages_of<Workload>(0));
    constexpr std::ptrdiff_t room = 4;
    for (auto _ : state) {
        std::array<Record, room> ring;
        std::counting_semaphore<room> vacant(room);
        std::counting_semaphore<room> occupied(0);
        std::thread consumer([&] {
            for (std::size_t i = 0; i < reports; ++i) {
                occupied.acquire();
                auto const record = std::exchange(ring[i % room], {});
                vacant.release();
                benchmark::DoNotOptimize(Workload::read(record));
            }
        });
        auto const start = Clock::now();
        for (std::size_t i = 0; i < reports; ++i) {
            auto record = made_record<Workload>(i);
            vacant.acquire();
            ring[i % room] = std::move(record);
            occupied.release();
        }
        consumer.join();
        state.SetIterationTime(seconds_since(start) / reports);
    }
}

/// Several threads build and release all reports in turn. Measured from the moment at which all are ready until the
/// first thread has done its share; the time is per report of one thread. (The threads are our own, because versions of
/// the benchmark library differ in the time that they report for several threads.)
template <class Workload>
void build_side_by_side(benchmark::State &state)
{
    static_cast<void>(messages_of<Workload>(0));
    // Some tenths of a second: a shorter time would mostly measure other activity of the system.
    constexpr auto share = reports * (Workload::rounds == 1 ? 4 : 40 * Workload::rounds);
    auto const count = state.range(0);
    // The addresses of a thread's memory can change the time of a small report by more than a quarter. So they are
    // different in every thread and every repetition.
    static std::minstd_rand random(static_cast<unsigned int>(count));
    std::uniform_int_distribution<std::size_t> some(0, std::size_t(1) << 16U);
    for (auto _ : state) {
        std::atomic<bool> over = false;
        std::atomic<std::size_t> made = 0;
        std::barrier ready(count + 1);
        std::vector<std::thread> threads;
        threads.reserve(static_cast<std::size_t>(count));
        for (std::int64_t i = 0; i < count; ++i)
            threads.emplace_back([&, in_front = some(random)] {
                std::vector<std::byte> const shift(in_front);
                // The first round allocates the thread's memory from the system.
                for (std::size_t number = 0; number < reports; ++number)
                    benchmark::DoNotOptimize(made_record<Workload>(number));
                ready.arrive_and_wait();
                std::size_t number = 0;
                for (; number < share && !over.load(std::memory_order_relaxed); ++number)
                    benchmark::DoNotOptimize(made_record<Workload>(number % reports));
                over = true;
                made += number;
            });
        ready.arrive_and_wait();
        auto const start = Clock::now();
        for (auto &thread : threads)
            thread.join();
        state.SetIterationTime(seconds_since(start) * static_cast<double>(count) / static_cast<double>(made));
    }
}

template <class Workload>
void add_threads(std::string const &name)
{
    constexpr benchmark::IterationCount iterations = 4;
    benchmark::RegisterBenchmark(name + "/hand_over", hand_over<Workload>)->UseManualTime()->Iterations(iterations);
    benchmark::RegisterBenchmark(name + "/side_by_side", build_side_by_side<Workload>)
        ->DenseRange(1, 2)
        ->UseManualTime()
        ->Iterations(iterations);
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
        floor.release();
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
        Suite const suite(name, where, Workload::rounds);
        add_messages<Workload>(suite);
        add_record<Workload>(suite);
        add_floor<Workload>(suite);
        Suite const alternatives(name, where, 1);
        add_alternative<Workload, VariantTree>(alternatives);
        add_alternative<Workload, CborTree>(alternatives);
        add_alternative<Workload, JsonTree>(alternatives);
        add_alternative<Workload, NlohmannTree>(alternatives);
    }
    add_threads<Workload>(name);
}

[[maybe_unused]] bool const has_workloads = [] {
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
