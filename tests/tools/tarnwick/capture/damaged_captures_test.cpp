// Reading captures that are damaged in one place. The damage is random, with fixed seeds.

#include "capture/capture_reader.h"

#include "support/damage.h"
#include "support/sanitizers.h"
#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/program.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::test::damaged_captures_test {
namespace {

using fuzz::Random;
using program::CaptureReader;

constexpr std::size_t reach_of_damage = 65'536;

/// The captures with all kinds of frames. The larger ones take longer and add none.
std::vector<std::string> captures()
{
    std::vector<std::string> contents;
    for (auto const *name : {"adminer", "errors", "mediawiki", "stations"}) {
        std::ifstream stream(std::string(TARNWICK_CAPTURES "/") + name + ".tnw", std::ios::binary);
        contents.emplace_back(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
    }
    return contents;
}

std::string all_captures()
{
    std::string all;
    for (auto const &capture : captures())
        all += capture;
    return all;
}

/// Returns the offsets of the frames that the reader finds.
std::vector<std::size_t> frames(std::string const &capture)
{
    TemporaryFile const file(capture);
    program::InputFile input(file.name());
    CaptureReader reader(input);
    std::vector<std::size_t> places;
    for (auto step = reader.next(); step != CaptureReader::Step::end; step = reader.next()) {
        if (step == CaptureReader::Step::frame)
            places.push_back(static_cast<std::size_t>(reader.offset()));
    }
    return places;
}

/// Expects that the reader finds each frame that is more than 64 KiB away from the damage.
void expect_far_frames(std::string const &capture, std::vector<std::size_t> const &places, Damage const &damage)
{
    auto const found = frames(damage.apply(capture));
    for (std::size_t i = 0; i < places.size(); ++i) {
        auto const begin = places[i];
        auto const end = i + 1 < places.size() ? places[i + 1] : capture.size();
        if (end + reach_of_damage < damage.begin || begin > damage.end() + reach_of_damage) {
            EXPECT_TRUE(std::ranges::binary_search(found, damage.moved(begin))) << "frame at " << begin;
        }
    }
}

class Damaged : public testing::TestWithParam<DamageKind> {
protected:
    static constexpr int copies = is_sanitized ? 10 : 40;
    std::string capture = all_captures();
    std::vector<std::size_t> places = frames(capture);
    Random random{static_cast<std::uint32_t>(GetParam())};
};

TEST_P(Damaged, captures_lose_no_frame_farther_than_64_kib)
{
    for (int copy = 0; copy < copies && !HasFailure(); ++copy) {
        auto const damage = random_damage(GetParam(), capture, random.below(capture.size()), random);
        SCOPED_TRACE(fmt::format("copy {}: bytes {} to {}", copy, damage.begin, damage.end()));
        expect_far_frames(capture, places, damage);
    }
}

TEST_P(Damaged, captures_with_a_damaged_length_lose_no_frame_farther_than_64_kib)
{
    for (int copy = 0; copy < copies && !HasFailure(); ++copy) {
        auto const damage = random_damage(GetParam(), capture, random.one_of(places), random);
        SCOPED_TRACE(fmt::format("copy {}: bytes {} to {}", copy, damage.begin, damage.end()));
        expect_far_frames(capture, places, damage);
    }
}

TEST_P(Damaged, large_frames_lose_no_other_frame)
{
    // Chunks of equal bytes, and of random bytes.
    Frame chunk;
    std::string with_chunks;
    std::vector<std::size_t> chunk_places;
    for (int i = 0; i < 8; ++i) {
        with_chunks += capture.substr(0, places[20]);
        chunk_places.push_back(with_chunks.size());
        chunk.set_rpc_data(i % 2 == 0 ? std::string(200'000, 'x') : random_bytes(200'000, random));
        with_chunks += delimited(chunk);
    }
    with_chunks += capture;
    auto const with_chunks_places = frames(with_chunks);
    for (int copy = 0; copy < copies / 5 && !HasFailure(); ++copy) {
        auto const place = random.one_of(chunk_places) + random.below(copy % 2 == 0 ? 10 : 200'000);
        auto const damage = random_damage(GetParam(), with_chunks, place, random);
        SCOPED_TRACE(fmt::format("copy {}: bytes {} to {}", copy, damage.begin, damage.end()));
        expect_far_frames(with_chunks, with_chunks_places, damage);
    }
}

std::string name_of(testing::TestParamInfo<DamageKind> const &info)
{
    constexpr char const *names[] = {"flipped_bit", "changed_byte", "random_bytes",
                                     "zeros",       "lost_bytes",   "added_bytes"};
    return names[static_cast<std::size_t>(info.param)];
}

INSTANTIATE_TEST_SUITE_P(Kinds, Damaged, testing::ValuesIn(damage_kinds), name_of);

/// Printed record, with the offset of its frame.
struct Record {
    std::size_t place;
    std::string name; ///< with its dialect and view
    auto operator<=>(Record const &) const = default;
};

std::multiset<Record> records(std::string const &jsonl)
{
    std::multiset<Record> found;
    std::istringstream lines(jsonl);
    for (std::string line; std::getline(lines, line);) {
        auto const after = [&](std::string_view member) {
            auto const begin = line.find(member);
            return begin == std::string::npos ? std::string() : line.substr(begin + member.size());
        };
        auto const text = [&](std::string_view member) {
            auto const value = after(member);
            return value.substr(0, value.find('"'));
        };
        auto const view = after(R"("dialect":)").find(R"(,"view":)") < 12 ? text(R"("view":")") : "";
        found.insert({.place = std::stoul(after(R"("offset":)")),
                      .name = text(R"("record":")") + ' ' + text(R"("dialect":")") + ' ' + view});
    }
    return found;
}

/// Losses of all damaged copies.
struct Losses {
    std::size_t records = 0;
    std::size_t of_damaged_frames = 0;
    std::size_t of_others = 0;
    std::size_t added = 0; ///< printed, but not in the capture
    std::size_t messages = 0;
};

constexpr std::size_t number_of_copies = is_sanitized ? 16 : 100;

Losses losses_of(std::string const &program)
{
    auto const originals = captures();
    std::vector<std::vector<std::size_t>> places;
    std::vector<std::multiset<Record>> expected;
    for (auto const &capture : originals) {
        places.push_back(frames(capture));
        expected.push_back(records(run({.arguments = {"inspect"}, .program = program}, capture).out));
    }
    Losses losses;
    Random random(17);
    for (std::size_t copy = 0; copy < number_of_copies; ++copy) {
        auto const i = copy % originals.size();
        auto const &capture = originals[i];
        // Half of the copies have damage in a length. Random places hardly ever do.
        auto const place = copy % 8 < 4 ? random.below(capture.size()) : random.one_of(places[i]);
        auto const damage = random_damage(random.one_of(damage_kinds), capture, place, random);
        auto const outcome = run({.arguments = {"inspect"}, .program = program}, damage.apply(capture));
        auto found = records(outcome.out);
        losses.records += expected[i].size();
        losses.messages += static_cast<std::size_t>(std::ranges::count(outcome.err, '\n'));
        for (auto const &record : expected[i]) {
            auto const same = found.find({damage.moved(record.place), record.name});
            if (same != found.end()) {
                found.erase(same);
                continue;
            }
            auto const next = std::ranges::upper_bound(places[i], record.place);
            auto const end = next == places[i].end() ? capture.size() : *next;
            ++(damage.touches(record.place, end) ? losses.of_damaged_frames : losses.of_others);
        }
        losses.added += found.size();
    }
    return losses;
}

TEST(DamagedCaptures, lose_few_records_of_other_frames)
{
    auto const *other = std::getenv("TARNWICK_COMPARED_PROGRAM"); // NOLINT(concurrency-mt-unsafe): no other thread
    auto const losses = losses_of(other == nullptr ? TARNWICK_PROGRAM : other);
    std::cout << fmt::format("{} damaged captures of {} records: lost are {} of damaged frames and {} of others; "
                             "{} are printed that were not in them; {} messages\n",
                             number_of_copies, losses.records, losses.of_damaged_frames, losses.of_others, losses.added,
                             losses.messages);
    EXPECT_LT(losses.of_others * 1000, losses.records);
    EXPECT_LT(losses.messages, number_of_copies * 5 / 2);
}

} // namespace
} // namespace tarnwick::test::damaged_captures_test
