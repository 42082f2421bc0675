#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/time_pair.h>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdint>
#include <string_view>

class QString;

namespace tarnwick::program {

/// Writes one JSON object per record, on one line, without loss: integers with all digits, a null text as `null`, apart
/// from an empty one.
class JsonWriter {
public:
    /// The line so far.
    [[nodiscard]] std::string_view line() const { return {buffer_.GetString(), buffer_.GetSize()}; }
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
    void string(std::string_view utf8);

    rapidjson::StringBuffer buffer_;
    rapidjson::Writer<rapidjson::StringBuffer> json_{buffer_};
};

} // namespace tarnwick::program
