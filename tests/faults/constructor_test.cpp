// Records that break the promise, each of which must be reported.

#include "support/records/constructor.h"

#include <tarnwick/data/description.h>

#include <gmock/gmock.h>

#include <pelorin/protobuf/PelorinPHP/rshutdown_data.pb.h>

#include <QtCore/QString>

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <stdexcept>
#include <type_traits>

#ifdef TARNWICK_SANITIZED
#include <sanitizer/lsan_interface.h>
#endif

namespace tarnwick::test {
namespace {

using EndMessage = pelorin::protobuf::PelorinPHP::RShutdownData;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

/// A record of one text and one number, each of which takes a block.
struct Record {
    QString text;
    std::unique_ptr<int> number;

    void read_text() { text = QString::fromUtf8("a text of its own"); }
    void read_number() { number = std::make_unique<int>(7); }

    [[nodiscard]] std::int64_t held() const noexcept { return number ? *number : 0; }
};

struct Keeping : Record {
    explicit Keeping(EndMessage const &)
    {
        read_text();
        read_number();
    }
};

/// Returns a block that its caller leaks when something fails. The block stays reachable from here, so leak checks at
/// the end of the process do not report it.
int *owned_by_nobody()
{
    static std::array<int *, 100> blocks;
    static std::size_t count = 0;
    return blocks.at(count++) = new int(7);
}

struct Leaking : Record {
    explicit Leaking(EndMessage const &)
    {
        auto *const block = owned_by_nobody();
        read_text();
        number.reset(block);
    }
};

struct LeakingWithoutFault : Keeping {
    explicit LeakingWithoutFault(EndMessage const &message)
        : Keeping(message)
    {
        owned_by_nobody();
    }
};

struct Swallowing : Record {
    explicit Swallowing(EndMessage const &)
    {
        try {
            read_text();
            read_number();
        } catch (std::bad_alloc const &) { // NOLINT(bugprone-empty-catch): that is the fault
        }
    }
};

struct Translating : Record {
    explicit Translating(EndMessage const &)
    try {
        read_text();
    } catch (std::bad_alloc const &) {
        throw std::runtime_error("no memory");
    }
};

/// Recovers from one failed allocation with another one, which must succeed.
struct Falling : Record {
    explicit Falling(EndMessage const &)
    {
        try {
            read_text();
        } catch (std::bad_alloc const &) {
            read_text();
        }
    }
};

/// The same, and leaks a block if both fail.
struct FallingLow : Record {
    explicit FallingLow(EndMessage const &)
    {
        auto *const block = owned_by_nobody();
        try {
            read_text();
        } catch (std::bad_alloc const &) {
            read_text();
        }
        number.reset(block);
    }
};

struct Unasked : Record {
    explicit Unasked(EndMessage const &)
    {
        read_text();
        if (++made > 1)
            throw std::bad_alloc();
    }
    static inline int made = 0;
};

struct Crashing : Record {
    explicit Crashing(EndMessage const &)
    {
        // NOLINTNEXTLINE(bugprone-unhandled-code-paths): that is the fault
        auto *const volatile block = static_cast<int volatile *>(std::malloc(sizeof(int)));
        *block = 7;
        std::free(const_cast<int *>(block));
    }
};

struct Terminating : Record {
    explicit Terminating(EndMessage const &) noexcept { read_text(); }
};

struct Needing {
    explicit Needing(EndMessage const &message)
        : status(message.response_status())
    {
    }
    std::int64_t status;
};

} // namespace
} // namespace tarnwick::test

template <class T>
    requires std::derived_from<T, tarnwick::test::Record>
struct tarnwick::data::Description<T> {
    static constexpr std::string_view name = "test.Record";
    static constexpr std::tuple fields{Field{"text", &test::Record::text}, Field{"number", &test::Record::held}};
};

template <>
struct tarnwick::data::Description<tarnwick::test::Needing> {
    static constexpr std::string_view name = "test.Needing";
    static constexpr std::tuple fields{Field{"status", &test::Needing::status}};
};

namespace tarnwick::test {
namespace {

template <class T>
AllocationFaults faults_of(std::size_t wanted = 0)
{
    return fail_all_shapes(constructor_of<T, EndMessage>("test"), wanted);
}

TEST(ConstructorFaults, are_no_violation_if_all_memory_is_freed)
{
    auto const faults = faults_of<Keeping>();
    EXPECT_THAT(faults.violations, IsEmpty());
    EXPECT_EQ(faults.count, 20U * 2U * 2U);
}

TEST(ConstructorFaults, are_as_many_as_wanted)
{
    EXPECT_EQ(faults_of<Keeping>(1'001).count, 1'004U);
}

TEST(ConstructorFaults, are_no_violation_if_the_record_is_complete)
{
    EXPECT_THAT(faults_of<Falling>().violations, IsEmpty());
}

TEST(ConstructorFaults, report_a_leak)
{
    EXPECT_THAT(faults_of<Leaking>().violations,
                ElementsAre("shape 0, allocation 2: 1 blocks of memory more than before",
                            "shape 0, allocation 2 and all after it: 1 blocks of memory more than before"));
}

TEST(ConstructorFaults, report_a_leak_when_two_allocations_fail)
{
    EXPECT_THAT(faults_of<FallingLow>().violations,
                ElementsAre("shape 0, allocation 2 and all after it: 1 blocks of memory more than before"));
}

TEST(ConstructorFaults, report_a_leak_without_a_fault)
{
    EXPECT_THAT(faults_of<LeakingWithoutFault>().violations,
                Contains("shape 0, allocation 4: 1 blocks of memory more than before"));
}

TEST(ConstructorFaults, report_an_incomplete_record)
{
    EXPECT_THAT(faults_of<Swallowing>().violations,
                ElementsAre("shape 0, allocation 1: the result is not that of a run without faults",
                            "shape 0, allocation 2: the result is not that of a run without faults",
                            "shape 0, allocation 1 and all after it: the result is not that of a run without faults",
                            "shape 0, allocation 2 and all after it: the result is not that of a run without faults"));
}

TEST(ConstructorFaults, report_another_exception)
{
    EXPECT_THAT(faults_of<Translating>().violations,
                Contains("shape 0, allocation 1: an exception other than std::bad_alloc came out"));
}

TEST(ConstructorFaults, report_an_exception_without_a_fault)
{
    // The second allocation is that of the exception.
    EXPECT_THAT(faults_of<Unasked>().violations,
                Contains("shape 0, allocation 3: std::bad_alloc came out though nothing had failed"));
}

TEST(ConstructorFaults, are_required_if_memory_is_taken)
{
    EXPECT_THAT(faults_of<Needing>().violations, Contains("no allocation failed"));
}

TEST(ConstructorFaults, are_forbidden_if_no_memory_is_taken)
{
    auto constructor = constructor_of<Keeping, EndMessage>("test");
    constructor.takes_memory = false;
    EXPECT_THAT(fail_all_shapes(constructor, 0).violations, Contains("memory was taken"));
    constructor = constructor_of<Needing, EndMessage>("test");
    constructor.takes_memory = false;
    EXPECT_THAT(fail_all_shapes(constructor, 0).violations, IsEmpty());
}

TEST(ConstructorFaults, require_every_field_filled_and_absent)
{
    auto constructor = constructor_of<Keeping, EndMessage>("test");
    auto const &all = constructor.fail_each_allocation;
    constructor.fail_each_allocation = [all](std::uint32_t shape, FieldCoverage &coverage) {
        return all(shape == 0 ? 0 : 1, coverage);
    };
    EXPECT_THAT(fail_all_shapes(constructor, 0).violations, Contains(StartsWith("never filled: ")));
    constructor.fail_each_allocation = [all](std::uint32_t, FieldCoverage &coverage) { return all(1, coverage); };
    EXPECT_THAT(fail_all_shapes(constructor, 0).violations,
                AllOf(Contains(StartsWith("never filled: ")), Contains(StartsWith("never absent: "))));
}

TEST(FaultsInProcesses, report_the_first_that_ends_a_process)
{
    auto const faults_in_processes_of = []<class T>(std::type_identity<T>) {
        return fail_each_allocation_in_processes(
            Operation{[] { return EndMessage(); }, [](EndMessage const &message) { return T(message); }, record_text});
    };
    EXPECT_THAT(faults_in_processes_of(std::type_identity<Crashing>()).violations,
                ElementsAre("allocation 1: the process ended"));
    EXPECT_THAT(faults_in_processes_of(std::type_identity<Leaking>()).violations,
                ElementsAre("allocation 2: 1 blocks of memory more than before"));
    auto const faults = faults_in_processes_of(std::type_identity<Keeping>());
    EXPECT_THAT(faults.violations, IsEmpty());
    EXPECT_EQ(faults.count, 2U * 2U);
}

#ifdef TARNWICK_SANITIZED
// The counting allocator calls the sanitizer's, whose leak check must still work.
TEST(LeakCheckDeathTest, reports_leaked_blocks)
{
    static void *volatile latest;
    auto const lose = [] {
        for (int i = 0; i < 100; ++i) {
            latest = std::malloc(100);
            ASSERT_NE(latest, nullptr);
        }
        latest = nullptr;
        __lsan_do_leak_check();
    };
    EXPECT_DEATH(lose(), "detected memory leaks");
}
#endif

TEST(ConstructorFaultsDeathTest, report_a_crash)
{
    EXPECT_DEATH(faults_of<Crashing>(), "");
}

TEST(ConstructorFaultsDeathTest, report_an_exception_that_leaves_a_noexcept_function)
{
    EXPECT_DEATH(faults_of<Terminating>(), "bad_alloc");
}

} // namespace
} // namespace tarnwick::test
