// Replays a target's committed inputs: `fuzz_replay TARGET FOLDER...`. Builds with any compiler. A broken promise
// aborts the process; the last line printed before it is the name of the input.

#include "fuzz/target.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace {

using tarnwick::fuzz::Target;

std::string content_of(std::filesystem::path const &file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

int replay(Target const &target, std::span<char *const> folders)
{
    std::vector<std::filesystem::path> files;
    for (auto const *folder : folders)
        std::ranges::copy(std::filesystem::directory_iterator(folder), std::back_inserter(files));
    std::size_t parsed = 0;
    auto classes = target.classes();
    for (auto const &file : files) {
        // Flushed before the check, which may abort.
        std::cout << file.filename().string() << std::endl; // NOLINT(performance-avoid-endl)
        auto const content = content_of(file);
        parsed += target.check(content) ? 1U : 0U;
        std::erase(classes, std::string_view(content).substr(0, content.find('\n')));
    }
    for (auto const name : classes)
        std::cout << "no input of class " << name << "\n";
    std::cout << target.name << ": " << files.size() << " inputs, " << parsed << " of them parse\n";
    // Inputs that no longer parse test nothing.
    return classes.empty() && parsed > 0 && parsed * 4 >= files.size() ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int argc, char **argv)
{
    using namespace tarnwick::fuzz;
    std::array const targets{&rpc_reports, &protobuf_reports, &capture, &configuration, &bridge, &recording};
    auto const target = std::ranges::find(targets, argc > 2 ? argv[1] : "", &Target::name);
    if (target == targets.end()) {
        std::cerr << "usage: fuzz_replay TARGET FOLDER...\n";
        return 2;
    }
    return replay(**target, std::span(argv + 2, argv + argc));
}
