#pragma once

// Records of every family, without the definitions of their messages.

#include <tarnwick/data/records.h>

#include <cstdint>
#include <functional>
#include <string>
#include <variant>
#include <vector>

namespace tarnwick::test {

template <class... Handles>
std::variant<Handles...> variant_of(data::Types<Handles...>);

/// A handle of any record. Copying and releasing it copies and releases the handle.
using Record = decltype(variant_of(data::RecordHandles()));

/// Returns all fields of a record, at every depth, as text.
std::string text_of(Record const &record);

/// Returns how many handles a record has. The read does not synchronise threads.
int handles(Record const &record);

enum class Source {
    one_message, ///< which all calls read
    bytes,       ///< which each call parses
};

/// Returns a function for each constructor of a record with a handle. It builds the record from a message of that shape,
/// and can be called on several threads at once.
std::vector<std::function<Record()>> constructors(std::uint32_t shape, Source source = Source::one_message);

} // namespace tarnwick::test
