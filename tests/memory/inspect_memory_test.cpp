// The memory that `tarnwick inspect` needs for the largest frames, and its exit when there is less.

#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/program.h"

#include "support/table.h"

#include <pelorin/protobuf/Glimmet/bodies.pb.h>
#include <pelorin/protobuf/Glimmet/sql.pb.h>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cstddef>
#include <iostream>
#include <ostream>
#include <ranges>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <thread>
#include <vector>

namespace tarnwick::test::inspect_memory_test {
namespace {

using pelorin::protobuf::Glimmet::RawPostData;
using pelorin::protobuf::Glimmet::SqlQueries;
using pelorin::protobuf::Glimmet::SqlQuery;

constexpr std::size_t near_the_limit = 900'000'000;
constexpr std::size_t large = 210'000'000; // for text, and for what is read and printed like another row

/// A frame with one long string or chunk: a unit of a few bytes, repeated.
struct LargeFrame {
    std::string name;
    std::size_t size;        ///< of all units
    double most_memory;      ///< as a multiple of the size
    std::vector<int> fields; ///< from the report of the frame to the string
    std::string unit = "x";
    std::string json_unit = "x";         ///< the unit in JSON
    std::size_t text_size = unit.size(); ///< of the unit in text, in bytes
    // NOLINTBEGIN(readability-redundant-member-init): rows omit them
    std::string frame_start = {};  ///< fields of the frame before its report
    std::string string_start = {}; ///< bytes of the string before its units
    // NOLINTEND(readability-redundant-member-init)
};

std::string repeated(std::string_view unit, std::size_t times)
{
    std::string text;
    for (std::size_t i = 0; i < times; ++i)
        text += unit;
    return text;
}

/// Returns the start of a frame with `size` bytes of units: its length and everything before the first unit.
std::string head(LargeFrame const &frame, std::size_t size)
{
    auto head = frame.string_start;
    for (auto const field : std::views::reverse(frame.fields))
        head.insert(0, field_head(field, head.size() + size));
    head.insert(0, frame.frame_start);
    return varint(head.size() + size) + head;
}

/// Starts a thread that writes the frame to the program.
std::jthread write(Program &program, LargeFrame const &frame, std::size_t size)
{
    return std::jthread([&program, &frame, size] {
        program.write(head(frame, size));
        auto const block = repeated(frame.unit, 300'000);
        for (auto left = size; left > 0; left -= std::min(left, block.size()))
            program.write(std::string_view(block).substr(0, left));
        program.close_input();
    });
}

/// Reads the output of the program. Returns whether it is `before`, `count` units and `after`.
bool prints(Program &program, std::string_view before, std::string_view unit, std::size_t count, std::string_view after)
{
    constexpr std::size_t block_size = 65'536;
    auto const units = repeated(unit, block_size);
    auto const end_of_units = before.size() + count * unit.size();
    std::size_t place = 0;
    for (auto block = program.read(block_size); !block.empty(); block = program.read(block_size)) {
        for (std::string_view rest = block; !rest.empty();) {
            std::string_view wanted;
            if (place < before.size())
                wanted = before.substr(place);
            else if (place < end_of_units)
                wanted = std::string_view(units).substr((place - before.size()) % unit.size(), end_of_units - place);
            else
                wanted = after.substr(std::min(place - end_of_units, after.size()));
            auto const size = std::min(wanted.size(), rest.size());
            if (size == 0 || rest.substr(0, size) != wanted.substr(0, size))
                return false;
            rest.remove_prefix(size);
            place += size;
        }
    }
    return place == end_of_units + after.size();
}

class LargeFrames : public TableTest<LargeFrame> {
protected:
    /// `further`: what is allowed in addition to `most_memory`.
    static void expect_memory(Outcome const &outcome, std::string_view format, std::size_t size, double further = 0)
    {
        auto const &frame = GetParam();
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.err, "");
        auto const times = static_cast<double>(outcome.peak_memory) * 1024 / static_cast<double>(size);
        std::cout << fmt::format("inspect --format={} of {} MB, {}: {:.2f} times that in memory\n", format,
                                 size / 1'000'000, frame.name, times);
        EXPECT_LE(times, frame.most_memory + further);
    }
};

TEST_P(LargeFrames, need_a_small_multiple_of_their_size_as_json)
{
    auto const &frame = GetParam();
    // The output for one unit has the same members before and after the unit, except its size.
    auto one = inspect({"--format=jsonl"}, head(frame, frame.unit.size()) + frame.unit).out;
    auto const size = fmt::format("\"size\":{}", frame.unit.size());
    if (auto const found = one.find(size); found != std::string::npos)
        one.replace(found, size.size(), fmt::format("\"size\":{}", frame.size));
    auto const place = one.find('"' + frame.json_unit + '"');
    ASSERT_NE(place, std::string::npos) << one;
    auto const before = one.substr(0, place + 1);
    auto const after = one.substr(before.size() + frame.json_unit.size());

    Program program({.arguments = {"inspect", "--format=jsonl"}});
    auto const writer = write(program, frame, frame.size);
    EXPECT_TRUE(prints(program, before, frame.json_unit, frame.size / frame.unit.size(), after));
    expect_memory(program.finish(), "jsonl", frame.size);
}

TEST_P(LargeFrames, need_a_small_multiple_of_their_size_as_text)
{
    auto const &frame = GetParam();
    auto const size = std::min(frame.size, large); // text shows only the start of each string
    Program program({.arguments = {"inspect", "--format=text"}});
    auto const writer = write(program, frame, size);
    auto const outcome = program.finish();
    constexpr std::size_t shown = 240;
    EXPECT_THAT(outcome.out, testing::HasSubstr(fmt::format("\" and {} bytes more",
                                                            size / frame.unit.size() * frame.text_size - shown)));
    constexpr double copies_for_masks = 2.2;
    expect_memory(outcome, "text", size, copies_for_masks);
}

/// Returns the least address space, to the nearest megabyte, in which a small report is printed.
rlim_t least_address_space()
{
    rlim_t least = 0;
    do
        least += 1'000'000;
    while (run({.arguments = {"inspect"}, .address_space = least}, request_end(1)).status != 0);
    return least;
}

// Raises the address space until the large frame is printed.
TEST_P(LargeFrames, without_enough_memory_end_with_a_message)
{
    auto const &frame = GetParam();
    constexpr std::size_t size = 18'000'000;
    constexpr std::size_t step = 6'000'000;
    static auto const least = least_address_space();
    Descriptor const nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    for (std::string const format : {"jsonl", "text"}) {
        auto const setup = [&](rlim_t address_space) -> test::Setup {
            return {
                .arguments = {"inspect", "--format=" + format}, .out_file = nowhere, .address_space = address_space};
        };
        std::size_t failures = 0;
        auto limit = least;
        for (; limit < least + 16 * size; limit += step) {
            Program program(setup(limit));
            auto const writer = write(program, frame, size);
            auto const outcome = program.finish();
            if (outcome.status == 0)
                break;
            ++failures;
            EXPECT_EQ(outcome.status, 3) << limit;
            EXPECT_EQ(outcome.err, "tarnwick: out of memory\n") << limit;
        }
        EXPECT_GT(failures, 3U);
        EXPECT_LT(limit, least + 16 * size);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Inspect, LargeFrames,
    testing::Values(LargeFrame{.name = "chunk_received",
                               .size = near_the_limit,
                               .most_memory = 2.5,
                               .fields = {Frame::kRpcDataFieldNumber}},
                    LargeFrame{.name = "chunk_of_any_bytes",
                               .size = large,
                               .most_memory = 2.5,
                               .fields = {Frame::kCtDataFieldNumber},
                               .unit = "\xff\xff\xff",
                               .json_unit = "////",
                               .frame_start = varint(Frame::kSkipFieldNumber << 3) + varint(1),
                               .string_start = "s"},
                    // Six output bytes for each input byte overflow 32 bits.
                    LargeFrame{.name = "chunk_of_a_sixth_of_4_gib",
                               .size = 716'000'000,
                               .most_memory = 2.5,
                               .fields = {Frame::kCtDataFieldNumber},
                               .frame_start = varint(Frame::kSkipFieldNumber << 3) + varint(1),
                               .string_start = "s"},
                    LargeFrame{.name = "php_bytes",
                               .size = large,
                               .most_memory = 3.5,
                               .fields = {Frame::kRpcPhpFieldNumber, PhpReport::kRshutdownFieldNumber,
                                          rpc::php::v1::RShutdownPayload::kSuperglobalsFieldNumber,
                                          rpc::php::v1::PelorinArray::kElementsFieldNumber,
                                          rpc::php::v1::PelorinArrayElement::kValueFieldNumber,
                                          rpc::php::v1::ZVal::kArrayValueFieldNumber,
                                          rpc::php::v1::PelorinArray::kElementsFieldNumber,
                                          rpc::php::v1::PelorinArrayElement::kValueFieldNumber,
                                          rpc::php::v1::ZVal::kStringValueFieldNumber},
                               .unit = "\xff\xff\xff",
                               .json_unit = "////"},
                    LargeFrame{.name = "text",
                               .size = near_the_limit,
                               .most_memory = 5,
                               .fields = {Frame::kRawPostDataFieldNumber, RawPostData::kText0FieldNumber}},
                    LargeFrame{.name = "text_of_replacement_characters",
                               .size = 239'000'000,
                               .most_memory = 5,
                               .fields = {Frame::kRawPostDataFieldNumber, RawPostData::kText0FieldNumber},
                               .unit = "\xff",
                               .json_unit = "\xef\xbf\xbd",
                               .text_size = 3},
                    LargeFrame{.name = "sql_statement",
                               .size = large,
                               .most_memory = 5,
                               .fields = {Frame::kSqlQueriesFieldNumber, SqlQueries::kQueriesFieldNumber,
                                          SqlQuery::kTextFieldNumber}}),
    by_name);

} // namespace
} // namespace tarnwick::test::inspect_memory_test
