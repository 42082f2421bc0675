// A failed allocation in a constructor leaves no incomplete record and leaks no memory.

#include "support/records/constructors.h"

#include "support/table.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <iostream>
#include <regex>
#include <string>
#include <vector>

namespace tarnwick::test::constructors_test {
namespace {

using testing::IsEmpty;

// Under a sanitizer each fault takes longer.
#ifdef TARNWICK_SANITIZED
constexpr std::size_t faults_wanted = 200'000;
#else
constexpr std::size_t faults_wanted = 1'000'000;
#endif

std::size_t total = 0;

/// The faults for each constructor that takes memory.
std::size_t share()
{
    static auto const sharing = std::ranges::count_if(constructors(), &Constructor::takes_memory);
    return faults_wanted / static_cast<std::size_t>(sharing) + 1;
}

class AllocationFaultsOf : public TableTest<Constructor> {};

TEST_P(AllocationFaultsOf, end_in_bad_alloc_or_a_complete_record)
{
    auto const faults = fail_all_shapes(GetParam(), share());
    EXPECT_THAT(faults.violations, IsEmpty());
    total += faults.count;
}

INSTANTIATE_TEST_SUITE_P(, AllocationFaultsOf, rows(constructors()), by_name);

/// Signatures of the exported constructors that read a message, in the form of `Constructor::signature`.
std::vector<std::string> exported()
{
    std::ifstream symbols(TARNWICK_SOURCES "/tests/packaging/tarnwick.symbols");
    std::regex const constructor(R"((tarnwick::data::(?:\w+::)*(\w+))::\2\(([^,)]+?)(?: const)?&{0,2}[,)].*)");
    std::vector<std::string> signatures;
    for (std::string line; std::getline(symbols, line);) {
        std::smatch match;
        if (std::regex_match(line, match, constructor) && match[1] != match[3])
            signatures.push_back(match.str(1) + "(" + match.str(3));
    }
    return signatures;
}

TEST(AllocationFaultsOfConstructors, cover_every_exported_constructor)
{
    std::vector<std::string> signatures;
    for (auto const &constructor : constructors())
        signatures.push_back(constructor.signature);
    EXPECT_THAT(signatures, testing::UnorderedElementsAreArray(exported()));
}

/// Checks the number of faults after all tests.
class Total : public testing::Environment {
public:
    void TearDown() override
    {
        std::cout << "allocation faults in constructors: " << total << '\n';
        if (testing::GTEST_FLAG(filter) == "*") {
            EXPECT_GE(total, faults_wanted);
        }
    }
};

[[maybe_unused]] auto const *const environment = testing::AddGlobalTestEnvironment(new Total);

} // namespace
} // namespace tarnwick::test::constructors_test
