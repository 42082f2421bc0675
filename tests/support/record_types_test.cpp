#include "support/record_types.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>

namespace tarnwick::test::record_types_test {
namespace {

std::string text_of(std::filesystem::path const &path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(RecordTypes, list_every_type_that_declares_a_metatype)
{
    std::filesystem::path const sources(TARNWICK_SOURCES);
    auto const list =
        text_of(sources / "libs/tarnwick/data/records.h") + text_of(sources / "tests/support/record_types.h");
    std::regex const declared(R"(Q_DECLARE_METATYPE\((?:tarnwick::)?(?:data::)?([\w:]+)\))");
    int types = 0;
    for (auto const &header : std::filesystem::recursive_directory_iterator(sources / "libs/tarnwick")) {
        if (header.path().extension() != ".h")
            continue;
        auto const text = text_of(header.path());
        for (std::sregex_iterator match(text.begin(), text.end(), declared); match != std::sregex_iterator(); ++match) {
            auto const name = (*match)[1].str();
            EXPECT_TRUE(std::regex_search(list, std::regex("[ <](data::)?" + name + "[,>]"))) << name << " is missing";
            ++types;
        }
    }
    EXPECT_GE(types, 30);
}

} // namespace
} // namespace tarnwick::test::record_types_test
