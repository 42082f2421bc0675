#pragma once

// Fixture that runs `tarnwick config` on files in a folder.

#include "program.h"

#include "support/config_files.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace tarnwick::test {

class ConfigProgram : public testing::Test {
protected:
    /// Runs the program in the folder.
    [[nodiscard]] Outcome config(std::vector<std::string> arguments, std::vector<std::string> environment = {}) const
    {
        return config(test::Setup{.arguments = std::move(arguments), .environment = std::move(environment)});
    }
    [[nodiscard]] Outcome config(test::Setup setup) const
    {
        WorkingFolder const here(folder.path());
        setup.arguments.insert(setup.arguments.begin(), "config");
        return run(setup);
    }

    ConfigFolder folder;
};

inline void expect(Outcome const &outcome, int status, std::string const &out, std::string const &err = {})
{
    EXPECT_EQ(outcome.status, status);
    EXPECT_EQ(outcome.out, out);
    EXPECT_EQ(outcome.err, err);
}

} // namespace tarnwick::test
