#include "live/started_requests.h"

namespace tarnwick::program {

void StartedRequests::add(CheckedFrame::Start const &start)
{
    auto const find_flag = [&start](Reported &reported) -> bool & {
        return start.dialect == Dialect::rpc ? reported.rpc : reported.protobuf;
    };
    if (auto const found = recent_.find(start.request_id); found != recent_.end()) {
        if (auto &flag = find_flag(found->second); !flag) {
            flag = true;
            return;
        }
    }
    auto &oldest = ids_[count_ % remembered];
    if (auto const found = recent_.find(oldest); found != recent_.end() && found->second.number + remembered == count_)
        recent_.erase(found);
    oldest = start.request_id;
    auto &reported = recent_[start.request_id];
    reported = {.number = count_};
    find_flag(reported) = true;
    ++count_;
}

} // namespace tarnwick::program
