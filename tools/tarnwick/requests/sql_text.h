#pragma once

#include "print/text_ranges.h"

#include <string>
#include <string_view>

namespace tarnwick::program {

// Functions on the text of SQL statements. They know the quotes, numbers, placeholders and comments of MySQL,
// PostgreSQL and SQLite, but no grammar. They accept any bytes. Their time is linear in the size of the text, apart from
// nested lists of rows. A quote or a comment without an end reaches to the end of the text.
//
// Two rules differ between the dialects, and the text decides:
// - A text in double quotes is a name if some text in double quotes follows FROM, INTO, JOIN, TABLE or UPDATE, or is
//   next to a dot. Otherwise it is a string.
// - A backslash escapes a quote, unless this leaves a string without an end, a letter directly after a string, or a
//   backslash outside of strings.

/// Returns the shape of a statement. Statements that differ only in literals, in the length of lists, in white space or
/// in comments have the same shape, and the shape of a shape is the shape.
///
/// Strings and numbers become `?`; a sign is part of its number. A list of literals and placeholders after IN, VALUES
/// or ARRAY becomes `(?...)`, and of several equal rows the first remains. A row in which the text ends counts as equal
/// to those before it. Other placeholders, names and words are
/// unchanged: keywords keep their case.
std::string statement_shape(std::string_view statement);

/// Returns the parts of a statement that can contain data: the contents of strings, hexadecimal numbers, and comments
/// that contain a quote. If both are possible, that backslashes escape quotes and that they do not, the parts of either are
/// included.
TextRanges literal_ranges(std::string_view statement);

/// Returns the statement with `[masked]` for its `literal_ranges`. All else is unchanged.
std::string masked_statement(std::string_view statement);

/// Returns the first word of a statement in upper case, like SELECT. Comments, parentheses and white space before it are
/// skipped. Returns an empty text if something else comes first.
std::string first_word(std::string_view statement);

} // namespace tarnwick::program
