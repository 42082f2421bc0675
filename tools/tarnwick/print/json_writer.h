#pragma once

#include "print/output.h"

#include <tarnwick/data/description.h>
#include <tarnwick/data/time_pair.h>

#include <fmt/format.h>

#include <cstdint>
#include <string_view>

class QString;
class QStringView;

namespace tarnwick::program {

/// Forms of JSON for tools that cannot use the default.
struct JsonStyle {
    /// Ids are strings, and so are integers that a double cannot represent exactly.
    bool string_ids = false;
    /// PHP values have no kinds, and PHP arrays are objects or lists; `plain_values.h` describes the form.
    bool plain_values = false;
    /// Strings with NUL are base64, as those that are not UTF-8.
    bool base64_nul = false;
};

/// Integers from `-exact_in_double` to `exact_in_double` and their neighbours differ as doubles.
inline constexpr std::int64_t exact_in_double = (std::int64_t{1} << 53) - 1;

/// Writes each record as a JSON object on one line, without loss. Integers have all digits, and a null text is `null`,
/// unlike an empty one.
class JsonWriter {
public:
    /// Keeps the whole line in memory.
    explicit JsonWriter(JsonStyle style = {})
        : style_(style)
        , line_(&own_line_)
    {
    }
    /// Writes to the buffer of `output`, so that a line of any length takes constant memory.
    explicit JsonWriter(Output &output, JsonStyle style = {})
        : output_(&output)
        , style_(style)
        , line_(&output.buffer())
    {
    }
    JsonWriter(JsonWriter const &) = delete;
    JsonWriter &operator=(JsonWriter const &) = delete;

    [[nodiscard]] JsonStyle style() const { return style_; }

    /// REQUIRES: the writer has no output.
    [[nodiscard]] std::string_view line() const { return {own_line_.data(), own_line_.size()}; }
    /// Starts a new line.
    void clear();

    void begin_record(std::string_view name);
    /// REQUIRES: the name needs no escapes. `member` takes any text.
    void field(std::string_view name, data::Sense sense = data::Sense::plain);
    void member(std::string_view utf8);
    void end_record();
    /// Writes the record as the only member of an object.
    void begin_alternative(std::string_view name);
    void end_alternative() { end_record(); }
    void begin_list();
    void item() {}
    void end_list();
    /// Writes a key and its value as a list of two elements.
    void begin_entry() { begin_list(); }
    void entry_value() {}
    void end_entry() { end_list(); }
    void begin_value(std::string_view kind);
    void end_value();
    void bare_value(std::string_view kind);
    void label(std::string_view /*meaning*/) {}
    void absent();
    void boolean(bool value);
    void integer(std::int64_t value);
    void integer(std::uint64_t value);
    /// Writes the shortest text that reads back. NaN and infinities are strings, because JSON has no such numbers.
    void real(double value);
    void time(data::TimePair value);
    void text(QString const &value);
    /// Writes a string if the bytes are UTF-8 and the style permits NUL or there is none, otherwise an object whose only
    /// member has this name and is base64.
    void bytes(std::string_view value, std::string_view base64_name = "base64");
    void json(std::string_view value) { bytes(value); }
    void digits(std::string_view value) { string(value); }
    void chunk(std::string_view value) { bytes(value); }

private:
    void begin(char bracket);
    void end(char bracket);
    /// Writes parts of JSON, after a comma if another member or value precedes.
    template <class... Parts>
    void value(Parts const &...parts);
    template <class Integer>
    void number(Integer value, bool is_exact);
    void string(std::string_view utf8);
    /// Writes the start of a string. `escape` writes some or all of the first `units` bytes or code units of its content,
    /// and returns their end.
    template <class Escape>
    void begin_string(std::size_t units, Escape &&escape);
    void base64(std::string_view bytes);
    /// Writes more of a string.
    void escaped(std::string_view utf8);
    void escaped(QStringView text);
    /// Extends the line by the bytes that `write` writes, at most `room`. `write` returns their end.
    template <class Write>
    void extend(std::size_t room, Write &&write);
    /// The same for the next member or value, after a comma if another one precedes.
    template <class Write>
    void next(std::size_t room, Write &&write);
    void write_long_line();

    Output *output_ = nullptr;
    JsonStyle style_;
    fmt::memory_buffer own_line_;
    fmt::memory_buffer *line_;
    bool needs_comma_ = false;
    bool is_id_ = false; ///< the value of an id follows, as a string
};

// `data::walk` finds these overloads because JsonWriter is in their namespace.

/// Writes a PHP value in the style of the writer.
void walk(JsonWriter &writer, data::php::detail::ZVal const &value);
/// Writes a PHP array in the style of the writer.
void walk(JsonWriter &writer, data::php::detail::PelorinArray const &array);

} // namespace tarnwick::program
