// Deliberate races, each on an operation that the library does not promise to be safe. ThreadSanitizer must report them,
// otherwise its silence about the other tests proves nothing.

#include "threads/threads.h"

#include <gtest/gtest.h>

#ifdef TARNWICK_SANITIZED

#include "support/table.h"
#include "threads/records.h"

#include <tarnwick/pconfigfile.h>

#include <QtCore/QString>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <stdexcept>
#include <variant>

// NOLINTBEGIN(clang-diagnostic-reserved-identifier): ThreadSanitizer calls these names

/// One race is enough, and the code after it can crash.
extern "C" char const *__tsan_default_options()
{
    return "halt_on_error=1";
}

/// A QReadWriteLock that two threads want at once allocates a mutex and publishes it in Qt's own code, which is not
/// instrumented. The next thread to lock this mutex appears to race with the allocation. The code under test has no mutex.
extern "C" char const *__tsan_default_suppressions()
{
    return "race_top:pthread_mutex_\n"
           "race_top:pthread_cond_\n";
}

// NOLINTEND(clang-diagnostic-reserved-identifier)

namespace tarnwick::test::control_race_test {
namespace {

constexpr int rounds = 100;

void count_in_one_number()
{
    int number = 0;
    on_threads([&](std::size_t) {
        for (int round = 0; round < rounds; ++round)
            ++number;
    });
}

// Releases as handles would if their count synchronised nothing.
void release_in_no_order()
{
    auto *const number = new int(1);
    std::atomic<std::size_t> count = threads;
    on_threads([&](std::size_t) {
        EXPECT_EQ(*number, 1);
        if (count.fetch_sub(1, std::memory_order_relaxed) == 1)
            delete number;
    });
}

void assign_one_handle()
{
    auto const construct = constructors(1).front();
    Record const mine = construct();
    Record shared = construct();
    on_threads([&](std::size_t thread) {
        for (int round = 0; round < rounds; ++round) {
            if (thread % 2 == 0)
                shared = mine;
            else
                Record const copy(shared);
        }
    });
}

Record rinit_record()
{
    for (auto const &construct : constructors(1)) {
        if (auto record = construct(); std::holds_alternative<data::php::RInit>(record))
            return record;
    }
    throw std::logic_error("no constructor of RInit");
}

void read_a_record_after_its_release()
{
    Record shared = rinit_record();
    auto const &payload = *std::get<data::php::RInit>(shared);
    on_threads([&](std::size_t thread) {
        if (thread == 0)
            shared = Record();
        else
            EXPECT_NE(payload.request_id().id(), 1U << 31);
    });
}

void fill_one_table()
{
    PelorinPHPX::ConfigFile config(QString(u"none.conf"), QString());
    on_threads([&](std::size_t) {
        for (int round = 0; round < rounds; ++round)
            config.add_value(QString(u"key"), QString(u"value"));
    });
}

struct Race {
    char const *name;
    void (*run)();
    char const *report = "data race";
};

class ControlRaceDeathTest : public TableTest<Race> {};

TEST_P(ControlRaceDeathTest, is_detected)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    constexpr int exit_code_of_the_sanitizer = 66;
    EXPECT_EXIT(
        {
            GetParam().run();
            std::exit(0);
        },
        testing::ExitedWithCode(exit_code_of_the_sanitizer), GetParam().report);
}

INSTANTIATE_TEST_SUITE_P(
    , ControlRaceDeathTest,
    testing::Values(Race{"of_one_number", count_in_one_number}, Race{"of_a_release_in_no_order", release_in_no_order},
                    Race{"of_one_handle", assign_one_handle},
                    Race{"with_a_release", read_a_record_after_its_release, "data race|heap-use-after-free"},
                    Race{"of_one_table", fill_one_table}),
    by_name);

} // namespace
} // namespace tarnwick::test::control_race_test

#else

TEST(ControlRace, is_detected)
{
    GTEST_SKIP() << "nobody looks for races in this build: ./dev test has one where ThreadSanitizer does";
}

#endif
