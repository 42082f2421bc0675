#pragma once

#include <span>
#include <string_view>

namespace tarnwick::program {

/// Difference between the dialects that is no mistake of a sender, because one of them cannot carry the value.
struct DialectException {
    /// The record, its view or kind, and the path of the value; `*` is any text. A path has `[]` for any element of a
    /// list, for the value of any entry of a PHP array, and `[].key` for the key of an entry.
    std::string_view path;
    std::string_view why;
    /// Returns whether two values, as JSON, differ in this way.
    bool (*applies)(std::string_view rpc, std::string_view protobuf) = nullptr;
    /// The end of the entries, as JSON, that only the protobuf dialect has.
    std::string_view extra_entry = {}; // NOLINT(readability-redundant-member-init): rows leave it out

    [[nodiscard]] bool is_for(std::string_view other) const;
};

/// Record of the rpc dialect that the protobuf dialect need not have.
struct DialectAbsence {
    std::string_view record; ///< with its view
    std::string_view why;
    std::string_view content; ///< part of its JSON

    [[nodiscard]] bool is_for(std::string_view other, std::string_view json) const;
};

std::span<DialectException const> dialect_exceptions();
std::span<DialectAbsence const> dialect_absences();

} // namespace tarnwick::program
