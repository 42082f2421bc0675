#include "capture/sql_tables.h"

namespace tarnwick::program {

SqlTables::Tables &SqlTables::of(data::php::RequestId request_id)
{
    auto const id = request_id.id();
    if (auto const place = places_.find(id); place != places_.end()) {
        requests_.splice(requests_.begin(), requests_, place->second);
        return requests_.front().tables;
    }
    if (requests_.size() == max_requests) {
        places_.erase(requests_.back().id);
        requests_.pop_back();
    }
    requests_.push_front({.id = id, .tables = {}});
    places_.emplace(id, requests_.begin());
    return requests_.front().tables;
}

} // namespace tarnwick::program
