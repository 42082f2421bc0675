#pragma once

#include "capture/dialect.h"
#include "print/masks.h"
#include "print/text_ranges.h"
#include "requests/key_tree.h"
#include "requests/request_summary.h"

#include <tarnwick/data/glimmet/functions.h>
#include <tarnwick/data/glimmet/sql_queries.h>
#include <tarnwick/data/monitor/event.h>
#include <tarnwick/data/php/error_data.h>
#include <tarnwick/data/php/rinit.h>
#include <tarnwick/data/php/rshutdown.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace tarnwick::program {

/// What a request does several times: it calls functions, sends statements, and reports errors and events.
enum class ActivityKind : std::uint8_t { function, statement, error, event };

inline constexpr std::array activity_kinds{ActivityKind::function, ActivityKind::statement, ActivityKind::error,
                                           ActivityKind::event};

constexpr std::string_view name_of(ActivityKind kind)
{
    constexpr std::array<std::string_view, activity_kinds.size()> names{"function", "statement", "error", "event"};
    return names[static_cast<std::size_t>(kind)];
}

/// How often something was done, and how long it took in total.
struct Amount {
    double count = 0;
    double nanoseconds = 0; ///< errors and events take none

    Amount &operator+=(Amount const &other);
    friend Amount operator*(Amount amount, double factor);
};

/// Numbers for names, so that the activities of many requests can share them. Names that differ only in what is masked
/// have different numbers.
class NameTable {
public:
    using MaskedRanges = TextRanges (*)(Masks const &masks, std::string_view name);
    static constexpr std::size_t max_name = 4096; ///< longer names are cut, but remain different

    std::uint32_t number_of(std::string const &name);
    /// Masks a name with the secrets of the chosen request, in addition to those of earlier calls.
    void mask(std::uint32_t number, Masks const &masks, MaskedRanges ranges);
    /// The masked name.
    [[nodiscard]] std::string shown(std::uint32_t number) const
    {
        return masked(names_[number].shown.text, names_[number].shown.masked);
    }

private:
    std::unordered_map<std::string, std::uint32_t> numbers_;
    struct Name {
        MaskedText shown;
        std::optional<std::uint64_t> secrets_version; ///< of the last search
    };
    std::vector<Name> names_;
};

/// The amounts of each name, by its number.
using Amounts = std::unordered_map<std::uint32_t, Amount>;

/// What a request did, without the records that reported it.
struct RequestActivity : RequestSummary {
    RequestKeys keys;
    /// Absent: no report of this kind in the dialect.
    std::array<std::array<std::optional<Amounts>, 2>, activity_kinds.size()> amounts;

    /// Returns the amounts of the rpc dialect if it has any report of the kind, otherwise those of the protobuf dialect.
    [[nodiscard]] Amounts const &of(ActivityKind kind) const;
};

/// Masks the names of what a request did with the secrets of the chosen request.
void mask_names(NameTable &names, RequestActivity const &request, Masks const &masks);

/// Adds records to activities, under these names:
///
/// | Kind      | Name                                                                         |
/// |-----------|------------------------------------------------------------------------------|
/// | function  | its name, or its file if it has none                                         |
/// | statement | its shape (`requests/sql_text.h`)                                            |
/// | error     | its name or its class, its message, and its file without the line            |
/// | event     | the label of its kind, its text, and the function, the message or the title  |
///
/// Lines are left out, because they change from version to version of a file.
class ActivityBuilder {
public:
    /// `names` stays valid.
    explicit ActivityBuilder(NameTable &names)
        : names_(names)
    {
    }

    void add(RequestActivity &request, data::php::RInit const &record, Dialect dialect);
    void add(RequestActivity &request, data::php::RShutdown const &record, Dialect dialect);
    void add(RequestActivity &request, data::php::ErrorData const &record, Dialect dialect);
    void add(RequestActivity &request, data::monitor::Event const &record, Dialect dialect);
    void add(RequestActivity &request, data::glimmet::Functions const &record, Dialect dialect);
    void add(RequestActivity &request, data::glimmet::SqlQueries const &record, Dialect dialect);

private:
    NameTable &names_;
};

/// Whether `ActivityBuilder` adds records of a class.
template <class Record>
inline constexpr bool is_activity = requires(ActivityBuilder builder, RequestActivity &request, Record const &record,
                                             Dialect dialect) { builder.add(request, record, dialect); };

} // namespace tarnwick::program
