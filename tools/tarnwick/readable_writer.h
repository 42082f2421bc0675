#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/time_pair.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

class QString;

namespace tarnwick::program {

/// Writes records for people: a field a line, points in time as dates, lengths of time in a fitting unit.
class ReadableWriter {
public:
    explicit ReadableWriter(bool color)
        : color_(color)
    {
    }

    [[nodiscard]] std::string const &text() const { return out_; }
    void clear();

    /// The line above a record: its name, then where it comes from.
    void headline(std::string_view name, std::string_view origin);

    void begin_record(std::string_view name);
    void field(std::string_view name, data::Sense sense);
    void end_record();
    void absent();
    void integer(std::int64_t value);
    void integer(std::uint64_t value);
    void time(data::TimePair value);
    void text(QString const &value);

private:
    void value(std::string_view text);

    bool color_;
    std::string out_;
    std::size_t depth_ = 1;
    std::size_t name_size_ = 0;
    data::Sense sense_ = data::Sense::plain;
};

} // namespace tarnwick::program
