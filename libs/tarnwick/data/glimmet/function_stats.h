#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/php/source_location.h>
#include <tarnwick/data/time_pair.h>
#include <tarnwick/export.h>

#include <QtCore/QMetaType>
#include <QtCore/QString>

#include <cstdint>
#include <optional>

namespace pelorin::protobuf::Glimmet {
class Function;
}
namespace tarnwick::rpc::glimmet::v1 {
class Function;
}

namespace tarnwick::data::glimmet {

/// Profiler statistics of one function in one request. Entries are independent: there is no caller and no call tree. A
/// moved-from object can only be assigned to or destroyed.
///
/// | Accessor         | Meaning, unit                       | rpc                          | protobuf                      |
/// |------------------|-------------------------------------|------------------------------|-------------------------------|
/// | `has_location()` | whether `location()` is there       | by presence of the location  | `kind` 1, whatever the file   |
/// | `name()`         | name of the function as reported    | may be empty                 | may be empty                  |
/// | `location()`     | where the function is defined       | by presence, also if no file | for `kind` 1, also if no file |
/// | `count()`        | counter of the function             | 0 without `stats`            | 0 when unset                  |
/// | `time_first()`,  | two measured times, distinguished   | 0, 0 when absent             | 0, 0 when absent              |
/// | `time_second()`  | only by position                    |                              |                               |
///
/// Messages: `<tarnwick/rpc/glimmet/v1/functions.pb.h>` and `<pelorin/protobuf/Glimmet/functions.pb.h>`.
class TARNWICK_EXPORT FunctionStats {
public:
    explicit FunctionStats(rpc::glimmet::v1::Function const &message);
    explicit FunctionStats(pelorin::protobuf::Glimmet::Function const &message);

    FunctionStats(FunctionStats const &other);
    FunctionStats(FunctionStats &&other) noexcept;
    FunctionStats &operator=(FunctionStats const &other);
    FunctionStats &operator=(FunctionStats &&other) noexcept;
    ~FunctionStats();

    [[nodiscard]] bool has_location() const noexcept { return has_location_; }
    [[nodiscard]] QString const &name() const noexcept { return name_; }
    [[nodiscard]] std::optional<php::SourceLocation> const &location() const noexcept { return location_; }
    [[nodiscard]] std::uint64_t count() const noexcept { return count_; }
    [[nodiscard]] TimePair time_first() const noexcept { return time_first_; }
    [[nodiscard]] TimePair time_second() const noexcept { return time_second_; }

private:
    bool has_location_ = false;
    QString name_;
    std::optional<php::SourceLocation> location_;
    std::uint64_t count_ = 0;
    TimePair time_first_;
    TimePair time_second_;
};

} // namespace tarnwick::data::glimmet

template <>
struct tarnwick::data::Description<tarnwick::data::glimmet::FunctionStats> {
    using Record = glimmet::FunctionStats;
    static constexpr std::string_view name = "glimmet.FunctionStats";
    using Sources = std::tuple<From<rpc::glimmet::v1::Function>, From<pelorin::protobuf::Glimmet::Function>>;
    static constexpr std::tuple fields{
        Field{"has_location", &Record::has_location},
        Field{"name", &Record::name},
        Field{"location", &Record::location},
        Field{"count", &Record::count},
        Field{"time_first", &Record::time_first, Sense::span},
        Field{"time_second", &Record::time_second, Sense::span},
    };
};

Q_DECLARE_TYPEINFO(tarnwick::data::glimmet::FunctionStats, Q_RELOCATABLE_TYPE);
Q_DECLARE_METATYPE(tarnwick::data::glimmet::FunctionStats)
