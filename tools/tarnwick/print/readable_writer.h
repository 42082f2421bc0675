#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/time_pair.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

class QString;

namespace tarnwick::program {

/// Writes records for people: a field a line, points in time as dates, lengths of time in a fitting unit, PHP arrays as
/// indented `key => value`. Long texts are cut, with a word on how much is left out.
class ReadableWriter {
public:
    explicit ReadableWriter(bool color)
        : color_(color)
    {
    }

    [[nodiscard]] std::string const &text() const { return out_; }
    void clear();

    /// The line above a record: its name, then where it comes from. Every field begins a line, the last one is left open.
    void headline(std::string_view name, std::string_view origin);

    /// A line below a field, as it stands.
    void row(std::string_view text);

    void begin_record(std::string_view name);
    void field(std::string_view name, data::Sense sense);
    void end_record();
    void begin_alternative(std::string_view name);
    void end_alternative() {}
    void begin_list();
    void item();
    void end_list();
    void begin_entry() {}
    void entry_value();
    void end_entry() {}
    void begin_value(std::string_view /*kind*/) {}
    void end_value() {}
    void bare_value(std::string_view kind);
    void label(std::string_view meaning);
    void absent();
    void boolean(bool value);
    void integer(std::int64_t value);
    void integer(std::uint64_t value);
    void real(double value);
    void time(data::TimePair value);
    void text(QString const &value);
    void bytes(std::string_view value);
    void json(std::string_view text);
    void digits(std::string_view digits) { value(digits); }
    void chunk(std::string_view string) { bytes(string); }

private:
    void line();
    void value(std::string_view text);

    bool color_;
    std::string out_;
    std::size_t depth_ = 1;
    std::size_t gap_ = 0; ///< between what stands on the line and a value
    bool list_is_empty_ = true;
    data::Sense sense_ = data::Sense::plain;
};

} // namespace tarnwick::program
