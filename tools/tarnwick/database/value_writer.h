#pragma once

#include "database/cell.h"
#include "print/json_writer.h"

#include <tarnwick/data/description.h>
#include <tarnwick/data/time_pair.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

class QString;

namespace tarnwick::program {

/// Converts a PHP value to a value of a database:
///
/// | PHP value        | Value                                                                                       |
/// |------------------|---------------------------------------------------------------------------------------------|
/// | undefined, null  | NULL                                                                                        |
/// | bool             | 0 or 1                                                                                      |
/// | long, double     | number                                                                                      |
/// | string           | text                                                                                        |
/// | JSON             | its text                                                                                    |
/// | time             | integer, in nanoseconds                                                                     |
/// | array            | JSON text, an object with the keys in order, also for a list                                |
/// | object, resource | JSON text, an object with `class_name` and `properties`, or `type_name`, and with `value`   |
class ValueWriter {
public:
    /// Returns the value, and starts another.
    Cell take();

    void begin_record(std::string_view name);
    void field(std::string_view name, data::Sense sense);
    void end_record();
    void begin_alternative(std::string_view /*name*/) {}
    void end_alternative() {}
    void begin_list() { begin_record({}); }
    void item() {}
    void end_list() { end_record(); }
    void begin_entry() { is_key_ = depth_ > 0; }
    void entry_value() { is_key_ = false; }
    void end_entry() {}
    void begin_value(std::string_view /*kind*/) {}
    void end_value() {}
    void bare_value(std::string_view /*kind*/) { absent(); }
    void label(std::string_view /*meaning*/) {}
    void absent();
    void boolean(bool value);
    void integer(std::int64_t value);
    void integer(std::uint64_t value);
    void real(double value);
    void time(data::TimePair value);
    void text(QString const &value);
    void bytes(std::string_view value);
    void json(std::string_view value) { bytes(value); }
    void digits(std::string_view value) { bytes(value); }
    void chunk(std::string_view value) { bytes(value); }

private:
    /// `write(json)` writes the value into JSON.
    template <class Value, class Write>
    void scalar(Value const &value, Write &&write);

    JsonWriter json_;
    std::size_t depth_ = 0; ///< of JSON
    bool is_key_ = false;   ///< the next value is a key in JSON
    Cell cell_;
};

} // namespace tarnwick::program
