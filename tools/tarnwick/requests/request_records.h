#pragma once

#include "capture/dialect.h"
#include "capture/origin.h"
#include "print/masked_writer.h"
#include "print/masks.h"

#include <tarnwick/data/records.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace tarnwick::program {

/// A record that a request has.
template <class Record>
struct ReportedRecord {
    Record record;
    std::string_view view; ///< distinguishes several records of one class from one report
    Origin origin;
    std::uint64_t position = 0; ///< among all records of the request
};

/// The records of a request, of each class in the order of their reports.
class RequestRecords {
public:
    template <class Record>
    using List = std::vector<ReportedRecord<Record>>;

    std::uint64_t number = 0; ///< by first report, from 1

    template <class Record>
    [[nodiscard]] List<Record> const &of(Dialect dialect) const
    {
        return std::get<ByDialect<Record>>(lists_)[index(dialect)];
    }
    /// Those that count if both dialects report the request: of the rpc dialect if it has any, otherwise of the
    /// protobuf dialect.
    template <class Record>
    [[nodiscard]] List<Record> const &of_either() const
    {
        auto const &rpc = of<Record>(Dialect::rpc);
        return rpc.empty() ? of<Record>(Dialect::protobuf) : rpc;
    }

    /// Calls `use(record, dialect)` with all records.
    template <class Use>
    void for_each(Use const &use) const
    {
        data::for_each_type(data::ReportRecords(), [&]<class Record> {
            for (auto const dialect : {Dialect::rpc, Dialect::protobuf}) {
                for (auto const &reported : of<Record>(dialect))
                    use(reported.record, dialect);
            }
        });
    }

    /// Calls `use(reported, dialect)` with the records of `of_either`, in the order of their reports.
    template <class Use>
    void for_each_that_counts(Use const &use) const
    {
        std::vector<std::pair<std::uint64_t, std::function<void()>>> calls; // by position
        data::for_each_type(data::ReportRecords(), [&]<class Record> {
            auto const dialect = of<Record>(Dialect::rpc).empty() ? Dialect::protobuf : Dialect::rpc;
            for (auto const &reported : of<Record>(dialect))
                calls.emplace_back(reported.position, [&use, &reported, dialect] { use(reported, dialect); });
        });
        std::ranges::sort(calls, {}, [](auto const &call) { return call.first; });
        for (auto const &[position, call] : calls)
            call();
    }

    template <class Record>
    void add(Record record, Dialect dialect, std::string_view view, Origin const &origin)
    {
        std::get<ByDialect<Record>>(lists_)[index(dialect)].push_back({std::move(record), view, origin, position_++});
    }

private:
    template <class Record>
    using ByDialect = std::array<List<Record>, 2>;
    template <class... Records>
    static std::tuple<ByDialect<Records>...> lists_of(data::Types<Records...>);

    static std::size_t index(Dialect dialect) { return static_cast<std::size_t>(dialect); }

    decltype(lists_of(data::ReportRecords())) lists_;
    std::uint64_t position_ = 0;
};

/// Remembers the secrets of all records, as those of the chosen request.
inline void collect(Masks const &masks, RequestRecords const &records)
{
    records.for_each([&](auto const &record, Dialect /*dialect*/) { collect(masks, record); });
}

} // namespace tarnwick::program
