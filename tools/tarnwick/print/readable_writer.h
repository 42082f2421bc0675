#pragma once

#include "print/readable_text.h"

#include <tarnwick/data/description.h>
#include <tarnwick/data/time_pair.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

class QString;

namespace tarnwick::program {

/// Writes records as text for people, one field per line. Points in time are dates, lengths of time have a suitable
/// unit, and PHP arrays are indented lines `key => value`.
class ReadableWriter {
public:
    explicit ReadableWriter(bool color, TextLength length = TextLength::cut)
        : color_(color)
        , length_(length)
    {
    }

    [[nodiscard]] std::string const &text() const { return out_; }
    /// Starts a new record.
    void clear();

    /// Starts a record with its name and its origin. Each field starts a line; the last line has no line feed.
    void headline(std::string_view name, std::string_view origin);

    /// Writes a line below a field, unchanged.
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
    template <class Text>
    void quoted(Text text);

    bool color_;
    TextLength length_;
    std::string out_;
    std::size_t depth_ = 1;
    std::size_t gap_ = 0; ///< blanks before the next value
    bool list_is_empty_ = true;
    data::Sense sense_ = data::Sense::plain;
};

} // namespace tarnwick::program
