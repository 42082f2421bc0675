// What libFuzzer calls. TARNWICK_FUZZ_TARGET names the target.

#include "fuzz/target.h"

#include <cstdio>
#include <cstdlib>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t *data, std::size_t size, std::size_t max_size);

namespace {

constexpr auto const &target = tarnwick::fuzz::TARNWICK_FUZZ_TARGET;

unsigned long long inputs = 0;
unsigned long long parsed = 0;

std::string_view view(std::uint8_t const *data, std::size_t size)
{
    return {reinterpret_cast<char const *>(data), size};
}

/// What became of an input, where there is room for it; otherwise it stays as it was.
std::size_t written(std::string const &result, std::uint8_t *data, std::size_t size, std::size_t max_size)
{
    if (result.size() > max_size || result.empty())
        return size;
    return result.copy(reinterpret_cast<char *>(data), result.size());
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/)
{
    std::atexit([] { std::fprintf(stderr, "inputs: %llu\nparsed: %llu\n", inputs, parsed); });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size)
{
    ++inputs;
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
