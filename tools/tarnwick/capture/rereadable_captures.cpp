#include "capture/rereadable_captures.h"

#include "capture/input_file.h"
#include "error_text.h"
#include "print/output.h"
#include "print/readable_text.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdint>
#include <sys/stat.h>
#include <utility>

namespace tarnwick::program {
namespace {

/// Whether the content can be read only once.
bool is_stream(std::string const &name)
{
    struct stat status = {};
    return name == "-" || NatsAddress::is_one(name) ||
           (::stat(name.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode));
}

} // namespace

RereadableCaptures::RereadableCaptures(std::vector<std::string> const &names)
{
    for (auto const &name : names) {
        auto path = name;
        if (is_stream(name)) {
            copies_.push_back(copy(name));
            path = fmt::format("/proc/self/fd/{}", ::fileno(copies_.back().get()));
        }
        files_.push_back({name, path});
    }
}

void RereadableCaptures::Close::operator()(std::FILE *file) const noexcept
{
    (void)std::fclose(file);
}

RereadableCaptures::TemporaryFile RereadableCaptures::copy(std::string const &name)
{
    TemporaryFile file(std::tmpfile());
    bool is_whole = file != nullptr;
    InputFile input(name);
    while (is_whole && !input.at_end()) {
        auto const bytes = input.take(UINT64_MAX);
        is_whole = std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
    }
    if (auto const problem = input.problem(); !problem.empty())
        throw WriteError(fmt::format("cannot read {}: {}", escaped_text(name), problem));
    if (!is_whole || std::fflush(file.get()) != 0)
        throw WriteError(fmt::format("cannot write a temporary file: {}", error_text(errno)));
    return file;
}

} // namespace tarnwick::program
