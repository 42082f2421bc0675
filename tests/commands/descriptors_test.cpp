// `tarnwick inspect` with few file descriptors. Sanitizers take some themselves.

#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/program.h"

#include <gmock/gmock.h>

#include <string>

namespace tarnwick::test::descriptors_test {
namespace {

using testing::HasSubstr;

// A chunk of the rpc dialect passes through sockets, which take descriptors. With any number of descriptors, the
// program either prints the record or reports the failure.
TEST(Descriptors, running_out_is_reported)
{
    Frame frame;
    frame.set_request_id(1);
    frame.set_rpc_data("bytes");
    TemporaryFile const chunk(delimited(frame));
    test::Setup setup{.arguments = {"inspect", chunk.name()}};
    auto const whole = run(setup).out;
    ASSERT_THAT(whole, HasSubstr("\"codetrace.Data\""));
    constexpr int not_loaded = 127; // by the dynamic loader
    bool enough = false;
    int failures = 0;
    for (setup.open_files = 4; setup.open_files < 40 && !enough; ++setup.open_files) {
        SCOPED_TRACE(setup.open_files);
        auto const outcome = run(setup);
        if (outcome.status == not_loaded)
            continue;
        enough = outcome.status == 0;
        EXPECT_EQ(outcome.out, enough ? whole : "");
        EXPECT_EQ(outcome.err,
                  enough ? ""
                         : chunk.name() +
                               ": frame 1 at byte 0: cannot pass the chunk through a socket: Too many open files\n");
        EXPECT_EQ(outcome.status, enough ? 0 : 3);
        failures += enough ? 0 : 1;
    }
    EXPECT_TRUE(enough);
    EXPECT_GT(failures, 0);
}

} // namespace
} // namespace tarnwick::test::descriptors_test
