// The functions that libFuzzer calls. TARNWICK_FUZZ_TARGET is the target.

#include "fuzz/target.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t *data, std::size_t size, std::size_t max_size);

namespace {

constexpr auto const &target = tarnwick::fuzz::TARNWICK_FUZZ_TARGET;

unsigned long long parsed = 0;

std::string_view view(std::uint8_t const *data, std::size_t size)
{
    return {reinterpret_cast<char const *>(data), size};
}

/// Copies the result to `data` and returns its size. A result that is empty or does not fit leaves the input unchanged.
std::size_t written(std::string const &result, std::uint8_t *data, std::size_t size, std::size_t max_size)
{
    if (result.size() > max_size || result.empty())
        return size;
    return result.copy(reinterpret_cast<char *>(data), result.size());
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/)
{
    std::atexit([] {
        auto const seconds = static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
        std::fprintf(stderr, "parsed: %llu\ncpu seconds: %.1f\n", parsed, seconds);
    });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size)
{
    parsed += target.check(view(data, size)) ? 1 : 0;
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t *data, std::size_t size, std::size_t max_size,
                                               unsigned int seed)
{
    return written(target.mutated(view(data, size), seed, LLVMFuzzerMutate), data, size, max_size);
}

extern "C" std::size_t LLVMFuzzerCustomCrossOver(std::uint8_t const *data, std::size_t size, std::uint8_t const *other,
                                                 std::size_t other_size, std::uint8_t *out, std::size_t max_size,
                                                 unsigned int seed)
{
    auto const crossed = target.crossed(view(data, size), view(other, other_size), seed);
    if (crossed.size() > max_size)
        return 0;
    return crossed.copy(reinterpret_cast<char *>(out), crossed.size());
}
