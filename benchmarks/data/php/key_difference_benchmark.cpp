#include "support/key_arrays.h"
#include "support/plain_key_difference.h"

#include <benchmark/benchmark.h>

// Difference by key of two arrays of that many keys, half of which they have in common: by the library, and by a linear
// search for each key.

namespace tarnwick::bench {
namespace {

template <class Difference>
void key_difference(benchmark::State &state, Difference difference)
{
    auto const size = static_cast<int>(state.range(0));
    auto const own = key_array(0, size);
    auto const other = key_array(size / 2, size);
    for (auto _ : state)
        benchmark::DoNotOptimize(difference(*own, *other));
}

[[maybe_unused]] bool const registered = [] {
    using data::php::detail::PelorinArray;
    benchmark::RegisterBenchmark("KeyDifference/diff_keys",
                                 [](benchmark::State &state) {
                                     key_difference(state, [](PelorinArray const &own, PelorinArray const &other) {
                                         return own.diff_keys(other);
                                     });
                                 })
        ->Arg(8)
        ->Arg(1'000)
        ->Arg(20'000)
        ->Arg(200'000);
    benchmark::RegisterBenchmark("KeyDifference/linear_searches",
                                 [](benchmark::State &state) { key_difference(state, test::plain_key_difference); })
        ->Arg(8)
        ->Arg(1'000);
    return true;
}();

} // namespace
} // namespace tarnwick::bench
