#pragma once

#include "capture/captures.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace tarnwick::program {

/// Captures that can be read several times. Standard input and other files that are not regular ones, such as pipes,
/// are copied to temporary files without a name.
class RereadableCaptures {
public:
    /// Throws `WriteError` if a copy cannot be made.
    explicit RereadableCaptures(std::vector<std::string> const &names);

    [[nodiscard]] std::vector<CaptureFile> const &files() const { return files_; }

private:
    struct Close {
        void operator()(std::FILE *file) const noexcept;
    };
    using TemporaryFile = std::unique_ptr<std::FILE, Close>;

    static TemporaryFile copy(std::string const &name);

    std::vector<TemporaryFile> copies_;
    std::vector<CaptureFile> files_;
};

} // namespace tarnwick::program
