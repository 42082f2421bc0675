#include "live/recording.h"

#include "live/frame_check.h"
#include "live/nats_source.h"
#include "live/nats_streams.h"
#include "print/readable_text.h"
#include "print/short_text.h"
#include "standard_error.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace tarnwick::program {

Recording::Recording(RecordOptions const &options)
    : options_(options)
{
    if (NatsAddress::is_one(options.output)) {
        target_ = open_nats_target(options.output);
        return;
    }
    auto file = std::make_unique<RecordedFile>(options.output);
    file_ = file.get();
    target_ = std::move(file);
}

void Recording::discard()
{
    if (file_ != nullptr)
        file_->discard();
}

void Recording::take(std::string_view message)
{
    ++received_;
    if (message.empty()) {
        refuse(Fault::empty, "refused a message: it is empty");
        return;
    }
    auto const frame = check_frame(message);
    if (!frame) {
        refuse(Fault::not_a_frame, fmt::format("refused a message of {} bytes: it is not a frame", message.size()));
        return;
    }
    if (auto const most = target_->max_frame(); message.size() > most) {
        refuse(Fault::too_large, fmt::format("refused a frame of {} bytes: {} takes at most {}", message.size(),
                                             escaped_text(target_->name()), most));
        return;
    }
    bytes_ += message.size();
    if (file_ != nullptr && file_->size() == 0)
        opened_ = Clock::now();
    target_->append(message);
    if (frame->start)
        requests_.add(*frame->start);
}

void Recording::refuse_parts(std::size_t size)
{
    ++received_;
    refuse(Fault::several_parts, fmt::format("refused a message of {} bytes: it has several parts", size));
}

void Recording::drop()
{
    ++received_;
}

void Recording::report()
{
    if (Interrupt::take_report_request()) {
        target_->flush();
        print_counts();
    }
    if (progress_.due())
        show_progress();
}

void Recording::refuse(Fault fault, std::string const &text)
{
    ++refused_;
    if (!std::exchange(was_refused_[static_cast<std::size_t>(fault)], true))
        print_line(text);
}

void Recording::rotate_if_due()
{
    if (file_ == nullptr || file_->size() == 0)
        return;
    bool const is_large = options_.rotate_size && file_->size() >= *options_.rotate_size;
    bool const is_old = options_.rotate_age && Clock::now() - opened_ >= *options_.rotate_age;
    if (!is_large && !is_old)
        return;
    auto const finished = file_->rotate();
    opened_ = Clock::now();
    print_line(fmt::format("{}: renamed to {}", escaped_text(target_->name()), escaped_text(finished)));
}

std::chrono::milliseconds Recording::patience() const
{
    using std::chrono::milliseconds;
    // A stream can have refused frames that are to be sent again.
    bool const is_limited = progress_.is_enabled() || file_ == nullptr;
    auto const second = is_limited ? milliseconds(1000) : milliseconds(-1);
    if (!options_.rotate_age || file_ == nullptr || file_->size() == 0)
        return second;
    auto const rest = std::chrono::ceil<milliseconds>(*options_.rotate_age - (Clock::now() - opened_));
    return is_limited ? std::clamp(rest, milliseconds(0), second) : std::max(rest, milliseconds(0));
}

void Recording::show_progress()
{
    if (auto const since = Clock::now() - rate_since_; since >= std::chrono::seconds(1)) {
        rate_ = static_cast<std::uint64_t>(static_cast<double>(received_ - rate_base_) /
                                           std::chrono::duration<double>(since).count());
        rate_since_ += since;
        rate_base_ = received_;
    }
    progress_.show(escaped_text(target_->name()),
                   fmt::format(": {} frames, {}, {}/s, {} requests, {} refused", received_ - refused_,
                               short_size_text(static_cast<std::int64_t>(bytes_)), rate_, requests_.count(), refused_));
}

void Recording::print_line(std::string_view line)
{
    progress_.clear();
    print_error(fmt::format("{}\n", line));
}

void Recording::print_counts()
{
    auto const written = target_->written();
    print_line(fmt::format("received: {}; written: {}; refused: {}; dropped: {}; requests: {}", received_, written,
                           refused_, received_ - refused_ - written, requests_.count()));
}

} // namespace tarnwick::program
