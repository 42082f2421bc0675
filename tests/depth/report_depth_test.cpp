// The program reads reports up to the limit of nested messages on a small stack, and rejects deeper ones.

#include "support/small_stack.h"
#include "support/table.h"
#include "tools/tarnwick/support/captures.h"

#include "capture/record_feed.h"
#include "capture/report_parser.h"
#include "print/output.h"
#include "print/record_printer.h"
#include "print/record_selection.h"
#include "tools/tarnwick/support/files.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarnwick::test::report_depth_test {
namespace {

using program::RecordFeed;
using rpc::php::v1::PelorinArray;
using rpc::php::v1::PelorinArrayElement;
using rpc::php::v1::PelorinObject;
using rpc::php::v1::PelorinResource;
using rpc::php::v1::ZVal;

/// A way to nest values: the fields from one value to the next.
struct Nesting {
    char const *name;
    std::vector<int> fields;
};

class ReportDepth : public TableTest<Nesting> {
protected:
    struct FeedResult {
        std::optional<std::string> fault;
        std::string printed;
    };

    static FeedResult feed(std::size_t depth, program::RecordPrinter::Style const &style)
    {
        auto const frame = rpc_php_frame(nested_report(depth, GetParam().fields));
        FeedResult result;
        on_small_stack([&] {
            MemoryFile const file;
            program::Output output(file.descriptor());
            program::RecordPrinter printer(output, style);
            program::RecordSelection selection(printer);
            RecordFeed feed(selection, false);
            result.fault = feed.feed(frame);
            selection.flush();
            output.flush();
            result.printed = file.content();
        });
        return result;
    }
};

constexpr std::size_t limit = program::max_report_depth;

TEST_P(ReportDepth, up_to_the_limit_is_printed_on_a_small_stack)
{
    program::Masks const masks{program::MaskRules()};
    program::RecordPrinter::Style const styles[] = {
        {.json = true},
        {.json = false},
        {.json = true, .masks = masks},
        {.json = false, .masks = masks},
        {.json = true, .json_style = {.plain_values = true}},
        {.json = true, .masks = masks, .json_style = {.plain_values = true}},
    };
    for (auto const &style : styles) {
        auto const of_limit = feed(limit, style);
        EXPECT_EQ(of_limit.fault, std::nullopt);
        EXPECT_THAT(of_limit.printed, testing::HasSubstr("php.Superglobals"));
        // With all levels.
        auto const levels = (limit - 4) / GetParam().fields.size();
        EXPECT_GT(of_limit.printed.size(), feed(limit / 2, style).printed.size() + levels / 2);
    }
}

TEST_P(ReportDepth, beyond_the_limit_is_a_fault_on_a_small_stack)
{
    for (auto const depth : {limit + 1, limit + 2, limit + 100'000}) {
        auto const beyond = feed(depth, {.json = true});
        EXPECT_EQ(beyond.fault, "the tarnwick.rpc.php.v1.NotifyRequest nests messages more than 1000 deep");
        EXPECT_EQ(beyond.printed, "");
    }
}

INSTANTIATE_TEST_SUITE_P(
    Of, ReportDepth,
    testing::Values(Nesting{"arrays",
                            {ZVal::kArrayValueFieldNumber, PelorinArray::kElementsFieldNumber,
                             PelorinArrayElement::kValueFieldNumber}},
                    Nesting{"objects", {ZVal::kObjectValueFieldNumber, PelorinObject::kValueFieldNumber}},
                    Nesting{"properties",
                            {ZVal::kObjectValueFieldNumber, PelorinObject::kPropertiesFieldNumber,
                             PelorinArray::kElementsFieldNumber, PelorinArrayElement::kValueFieldNumber}},
                    Nesting{"resources", {ZVal::kResourceValueFieldNumber, PelorinResource::kValueFieldNumber}}),
    by_name);

} // namespace
} // namespace tarnwick::test::report_depth_test
