#include "costs/fixed_allocator.h"
#include "data/glimmet/functions_workload.h"
#include "data/glimmet/sql_queries_workload.h"
#include "data/glimmet/sql_tables_workload.h"
#include "data/glimmet/storage_workload.h"
#include "data/monitor/event_workload.h"
#include "data/php/error_data_workload.h"
#include "data/php/headers_workload.h"
#include "data/php/real_request_workload.h"
#include "data/php/superglobals_workload.h"
#include "support/key_arrays.h"
#include "support/plain_key_difference.h"

#include <tarnwick/data/codetrace/data.h>

#include <valgrind/callgrind.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <iterator>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// Cost of reports in instructions and allocations, which do not depend on the machine's load. The program runs under
// callgrind without instrumentation at the start; the instructions of each run of an action go into a dump with its
// name. Allocations are printed:
//
//     ACTION  REPORTS  ALLOCATIONS  BYTES
//
// The arguments are sizes of reports, in elements, for which records are compared with their floors.

namespace tarnwick::bench {
namespace {

/// The result of an action, of any type.
template <class Made>
void keep(Made const &made)
{
    asm volatile("" : : "g"(&made) : "memory");
}

/// Runs an action twice for each number and measures the second run, which excludes work that is done only once.
template <class Prepare, class Action>
void weigh(std::string const &name, int numbers, Prepare prepare, Action action)
{
    for (int number = 0; number < numbers; ++number) {
        auto &&given = prepare(number);
        action(given);
    }
    Taken sum;
    for (int number = 0; number < numbers; ++number) {
        auto &&given = prepare(number);
        auto const before = taken();
        CALLGRIND_START_INSTRUMENTATION;
        action(given);
        CALLGRIND_DUMP_STATS_AT(name.c_str());
        CALLGRIND_STOP_INSTRUMENTATION;
        sum.allocations += taken().allocations - before.allocations;
        sum.bytes += taken().bytes - before.bytes;
    }
    std::printf("%s\t%d\t%zu\t%zu\n", name.c_str(), numbers, sum.allocations, sum.bytes);
}

template <class Workload, class Messages>
void weigh_against_floor(std::string const &name, std::vector<Messages> const &all)
{
    auto const count = static_cast<int>(all.size());
    auto const messages = [&](int number) -> Messages const & { return all[static_cast<std::size_t>(number)]; };
    weigh(name + "/build_and_release", count, messages, [](Messages const &given) { keep(build<Workload>(given)); });
    static Floor floor;
    weigh(name + "/floor", count, messages, [](Messages const &given) {
        build_floor<Workload>(floor, given);
        floor.release();
    });
}

template <class Workload>
void weigh_workload()
{
    constexpr int numbers = 4;
    using Messages = Workload::Messages;
    using Record = decltype(build<Workload>(std::declval<Messages const &>()));
    auto const name = std::string(Workload::name) + '/' + Workload::dialect;

    std::vector<Wire> wires;
    std::vector<Messages> all(numbers);
    for (int number = 0; number < numbers; ++number) {
        wires.push_back(wire_of(Workload::messages(number)));
        parse(wires.back(), all[static_cast<std::size_t>(number)]);
    }
    auto const wire = [&](int number) -> Wire const & { return wires[static_cast<std::size_t>(number)]; };
    auto const messages = [&](int number) -> Messages const & { return all[static_cast<std::size_t>(number)]; };

    std::optional<Messages> parsed;
    weigh(
        name + "/parse", numbers,
        [&](int number) -> Wire const & {
            parsed.emplace();
            return wire(number);
        },
        [&](Wire const &bytes) { parse(bytes, *parsed); });
    std::optional<Record> record;
    weigh(
        name + "/build", numbers,
        [&](int number) -> Messages const & {
            record.reset();
            return messages(number);
        },
        [&](Messages const &given) { keep(record.emplace(build<Workload>(given))); });
    weigh(
        name + "/release", numbers,
        [&](int number) {
            record.emplace(build<Workload>(messages(number)));
            return &record;
        },
        [](auto *place) { place->reset(); });
    weigh(
        name + "/read", numbers,
        [&](int number) -> Record const & { return record.emplace(build<Workload>(messages(number))); },
        [](Record const &built) { keep(Workload::read(built)); });
    weigh_against_floor<Workload>(name, all);
}

template <class Workload>
void weigh_growth(std::vector<int> const &sizes)
{
    for (auto const elements : sizes) {
        std::vector<typename Workload::Messages> one;
        one.push_back(Workload::messages(0, elements));
        weigh_against_floor<Workload>(
            std::string("growth/") + Workload::name + '/' + Workload::dialect + '/' + std::to_string(elements), one);
    }
}

/// A chunk of a code trace, which takes over the transport's message.
void weigh_chunks()
{
    for (auto const size : {std::size_t(1) << 10U, std::size_t(1) << 26U}) {
        std::string bytes(size, 'x');
        weigh(
            "chunk/" + std::to_string(size), 4,
            [&](int /*number*/) {
                zeromq::msg_t message;
                if (zmq_msg_init_data(
                        message.handle(), bytes.data(), bytes.size(), [](void *, void *) {}, nullptr) != 0)
                    throw std::bad_alloc();
                return message;
            },
            [](zeromq::msg_t &message) {
                namespace codetrace = tarnwick::data::codetrace;
                keep(codetrace::Data(new codetrace::detail::Data(std::move(message), data::php::RequestId(7))));
            });
    }
}

/// Differences by key of two arrays that have half of their keys in common, and of small ones by linear searches.
void weigh_key_differences()
{
    for (int const keys : {8, 20'000, 200'000}) {
        auto const own = key_array(0, keys);
        auto const other = key_array(keys / 2, keys);
        auto const arrays = [&](int /*number*/) { return std::pair(own.get(), other.get()); };
        auto const name = "key_difference/" + std::to_string(keys);
        weigh(name, 1, arrays, [](auto const &pair) { keep(pair.first->diff_keys(*pair.second)); });
        if (keys == 8)
            weigh(name + "/plain", 1, arrays,
                  [](auto const &pair) { keep(test::plain_key_difference(*pair.first, *pair.second)); });
    }
}

template <class... Workload>
void weigh_all(std::vector<int> const &sizes)
{
    (weigh_workload<Workload>(), ...);
    (weigh_growth<Workload>(sizes), ...);
}

} // namespace
} // namespace tarnwick::bench

int main(int count, char **arguments)
try {
    using namespace tarnwick::bench;
    std::vector<int> sizes;
    std::transform(arguments + 1, arguments + count, std::back_inserter(sizes),
                   [](char const *size) { return std::stoi(size); });
    weigh_all<SuperglobalsRpc, SuperglobalsProtobuf, FunctionsRpc, FunctionsProtobuf, SqlQueriesRpc, SqlQueriesProtobuf,
              EventRpc, EventProtobuf, HeadersRpc, HeadersProtobuf, SqlTablesRpc, SqlTablesProtobuf, StorageRpc,
              StorageProtobuf, ErrorDataRpc, ErrorDataProtobuf>(sizes);
    weigh_workload<RealRequestRpc>();
    weigh_workload<RealRequestProtobuf>();
    weigh_chunks();
    weigh_key_differences();
} catch (std::exception const &error) {
    std::fprintf(stderr, "costs: %s\n", error.what());
    return 1;
}
