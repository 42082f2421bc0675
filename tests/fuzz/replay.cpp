// Runs a target's committed inputs: `fuzz_replay TARGET FOLDER`, by any compiler. A broken promise ends the process, and
// the name of the input stands before it.

#include "fuzz/target.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string_view>
#include <vector>

namespace {

using tarnwick::fuzz::Target;

std::string content_of(std::filesystem::path const &file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

int replay(Target const &target, std::string const &folder)
{
    std::filesystem::directory_iterator const entries(folder);
    std::vector<std::filesystem::path> const files(begin(entries), end(entries));
    std::size_t parsed = 0;
    auto classes = target.classes();
    for (auto const &file : files) {
        // What is printed last names the input that ends the process.
        std::cout << file.filename().string() << std::endl; // NOLINT(performance-avoid-endl)
        auto const content = content_of(file);
        parsed += target.check(content) ? 1U : 0U;
        std::erase(classes, std::string_view(content).substr(0, content.find('\n')));
    }
    for (auto const name : classes)
        std::cout << "no input is of " << name << "\n";
    std::cout << target.name << ": " << files.size() << " inputs, of which " << parsed << " parse\n";
    // Seeds that no longer mean anything to their target would show nothing.
    return classes.empty() && parsed > 0 && parsed * 4 >= files.size() ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int argc, char **argv)
{
    using namespace tarnwick::fuzz;
    std::array const targets{&rpc_reports, &protobuf_reports, &capture, &configuration, &bridge};
    auto const target = std::ranges::find(targets, argc == 3 ? argv[1] : "", &Target::name);
    if (target == targets.end()) {
        std::cerr << "usage: fuzz_replay TARGET FOLDER\n";
        return 2;
    }
    return replay(**target, argv[2]);
}
