#pragma once

#include "capture/dialect.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <optional>
#include <unordered_map>
#include <utility>

namespace tarnwick::program {

/// Groups reports into requests. A request closes at its next start in the same dialect, or when `max_others` other
/// requests have begun since its last report. Later reports with its id begin another request.
///
/// Requests are passed on in the order of their first reports, so a closed request waits for those before it, or in the
/// order of closing. Memory is proportional to the requests that are open or wait.
///
/// `Request` has a member `number`, which is set to its position in the order of first reports, from 1.
template <class Request>
class RequestGroups {
public:
    using Time = std::chrono::steady_clock::time_point;
    enum class Order { first_reports, closing };

    static constexpr std::uint64_t max_others = 4096;
    static constexpr std::chrono::seconds time_after_end{1};

    explicit RequestGroups(std::function<void(Request &request)> pass_on, Order order = Order::first_reports)
        : pass_on_(std::move(pass_on))
        , order_(order)
    {
    }

    /// Returns the request of a report, valid until the next call.
    Request &of(std::uint64_t id, Dialect dialect, bool is_start)
    {
        auto found = open_.find(id);
        if (found != open_.end() && is_start && found->second->has_start[index(dialect)]) {
            close(found->second);
            found = open_.end();
        }
        if (found == open_.end())
            found = begin(id);
        auto const entry = found->second;
        entry->begun = begun_;
        entry->has_start[index(dialect)] |= is_start;
        recent_.splice(recent_.end(), recent_, entry->place);
        pass_on_closed();
        return entry->request;
    }

    /// Sets the time at which the open request of an id ended. REQUIRES: `now` is not before that of the last call.
    void end(std::uint64_t id, Time now)
    {
        auto const found = open_.find(id);
        if (found == open_.end())
            return;
        found->second->due = now + time_after_end;
        due_.push_back({now + time_after_end, id, found->second->request.number});
    }

    /// Closes the requests that ended `time_after_end` before `now`, or earlier.
    void close_due(Time now)
    {
        for (; !due_.empty() && due_.front().time <= now; due_.pop_front()) {
            auto const &due = due_.front();
            auto const found = open_.find(due.id);
            if (found != open_.end() && found->second->request.number == due.number && found->second->due == due.time)
                close(found->second);
        }
        pass_on_closed();
    }

    /// Closes all requests.
    void close_all()
    {
        while (!recent_.empty())
            close(recent_.front());
        pass_on_closed();
    }

private:
    struct Entry;
    using Place = std::list<Entry>::iterator;
    struct Entry {
        Request request;
        std::uint64_t id = 0;
        std::uint64_t begun = 0; ///< how many requests had begun at its last report
        std::array<bool, 2> has_start{};
        std::optional<Time> due; ///< when it closes because it ended
        bool is_open = true;
        std::list<Place>::iterator place; ///< in `recent_`
    };
    /// A request that ended. It is no longer due if it has closed, or ended again later.
    struct Due {
        Time time;
        std::uint64_t id = 0;
        std::uint64_t number = 0;
    };
    using Open = std::unordered_map<std::uint64_t, Place>;

    static std::size_t index(Dialect dialect) { return static_cast<std::size_t>(dialect); }

    Open::iterator begin(std::uint64_t id)
    {
        ++begun_;
        while (!recent_.empty() && begun_ - recent_.front()->begun >= max_others)
            close(recent_.front());
        auto const entry = entries_.emplace(entries_.end());
        entry->request.number = begun_;
        entry->id = id;
        entry->place = recent_.insert(recent_.end(), entry);
        return open_.emplace(id, entry).first;
    }

    void close(Place entry)
    {
        entry->is_open = false;
        open_.erase(entry->id);
        recent_.erase(entry->place);
        if (order_ == Order::closing) {
            pass_on_(entry->request);
            entries_.erase(entry);
        }
    }

    void pass_on_closed()
    {
        for (; !entries_.empty() && !entries_.front().is_open; entries_.pop_front())
            pass_on_(entries_.front().request);
    }

    std::function<void(Request &request)> pass_on_;
    Order order_;
    std::list<Entry> entries_; ///< open, or waiting for those before them
    std::list<Place> recent_;  ///< open, the one with the oldest last report first
    Open open_;
    std::deque<Due> due_; ///< the earliest first
    std::uint64_t begun_ = 0;
};

} // namespace tarnwick::program
