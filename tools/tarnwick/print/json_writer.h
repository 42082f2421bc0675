#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/time_pair.h>

#include <fmt/format.h>

#include <cstdint>
#include <string_view>

class QString;

namespace tarnwick::program {

class Output;

/// Writes one JSON object per record, on one line, without loss: integers with all digits, a null text as `null`, apart
/// from an empty one.
class JsonWriter {
public:
    /// Collects the whole line.
    JsonWriter() = default;
    /// Writes a long line to `output` in pieces. A line of any length then takes constant memory.
    explicit JsonWriter(Output &output)
        : output_(&output)
    {
    }

    /// The part of the line that is not written to the output yet.
    [[nodiscard]] std::string_view line() const { return {line_.data(), line_.size()}; }
    void clear();

    void begin_record(std::string_view name);
    void field(std::string_view name, data::Sense sense = data::Sense::plain);
    void end_record();
    /// An object whose one member is the record.
    void begin_alternative(std::string_view name);
    void end_alternative() { end_record(); }
    void begin_list();
    void item() {}
    void end_list();
    /// A key and its value, as a list of the two.
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
    /// The shortest text that reads back; what JSON has no number for is a string.
    void real(double value);
    void time(data::TimePair value);
    void text(QString const &value);
    /// A string where the bytes are UTF-8, otherwise an object that holds them as base64.
    void bytes(std::string_view value);
    void json(std::string_view value) { bytes(value); }
    void digits(std::string_view value) { string(value); }
    void chunk(std::string_view value) { bytes(value); }

private:
    void begin(char bracket);
    void end(char bracket);
    void value(std::string_view json);
    void string(std::string_view utf8);
    void base64(std::string_view bytes);
    /// Before a member name or a value: a comma, if another member or value precedes it.
    void separate();
    void escaped(std::string_view utf8);
    void append(std::string_view json) { line_.append(json.data(), json.data() + json.size()); }
    void write_long_line();

    Output *output_ = nullptr;
    fmt::memory_buffer line_;
    bool needs_comma_ = false;
};

} // namespace tarnwick::program
