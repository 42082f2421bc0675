#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/time_pair.h>

#include <cstdint>
#include <string_view>

class QString;

namespace tarnwick::data {

/// A class that prints a record. `walk` calls its functions for each part of the record, in order.
///
/// | Call                                       | Part                                                             |
/// |--------------------------------------------|------------------------------------------------------------------|
/// | `begin_record(name)`, `end_record()`       | a record; `field` and the value of each field are in between     |
/// | `field(name, sense)`                       | name of a field; its value follows                               |
/// | `begin_alternative(name)`,                 | a record that is one of several classes; `name` is its class,    |
/// | `end_alternative()`                        | the record is in between                                         |
/// | `begin_list()`, `item()`, `end_list()`     | a list; `item` precedes each value                               |
/// | `begin_entry()`, `entry_value()`,          | an item of a PHP array: its key, `entry_value`, its value        |
/// | `end_entry()`                              |                                                                  |
/// | `begin_value(kind)`, `end_value()`         | a PHP value; its content is in between                           |
/// | `bare_value(kind)`                         | a PHP value without content: undefined or null                   |
/// | `label(meaning)`                           | meaning of the classification that precedes it                   |
/// | `absent()`                                 | an absent value or a null handle                                 |
/// | `boolean`, `integer`, `real`, `time`,      | a value                                                          |
/// | `text`, `bytes`                            |                                                                  |
/// | `json(text)`                               | JSON text of a PHP value                                         |
/// | `digits(text)`                             | a block of bytes as hexadecimal digits                           |
/// | `chunk(bytes)`                             | bytes that can be too large to show completely                   |
template <class W>
concept Writer = requires(W writer, std::string_view name, QString const &text) {
    writer.begin_record(name);
    writer.field(name, Sense::plain);
    writer.end_record();
    writer.begin_alternative(name);
    writer.end_alternative();
    writer.begin_list();
    writer.item();
    writer.end_list();
    writer.begin_entry();
    writer.entry_value();
    writer.end_entry();
    writer.begin_value(name);
    writer.end_value();
    writer.bare_value(name);
    writer.label(name);
    writer.absent();
    writer.boolean(bool{});
    writer.integer(std::int64_t{});
    writer.integer(std::uint64_t{});
    writer.real(double{});
    writer.time(TimePair{});
    writer.text(text);
    writer.bytes(name);
    writer.json(name);
    writer.digits(name);
    writer.chunk(name);
};

} // namespace tarnwick::data
