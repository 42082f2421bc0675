#pragma once

#include "print/readable_text.h"
#include "print/request_page.h"
#include "print/sections.h"
#include "requests/find_request.h"

#include <cstddef>
#include <string>

class QString;

namespace tarnwick::data::php {
class SourceLocation;
}

namespace tarnwick::program {

// The parts of `request_page`.

/// Writes errors and events in the order of their reports, with the time since the start.
void write_events(Sections &page, FoundRequest const &request, RequestPageStyle const &style);
/// Writes what changed in superglobals; with `all` also their state at the start.
void write_superglobals(Sections &page, RequestRecords const &records, RequestPageStyle const &style);
void write_headers(Sections &page, RequestRecords const &records, RequestPageStyle const &style);
void write_bodies(Sections &page, RequestRecords const &records, RequestPageStyle const &style);
void write_storage(Sections &page, RequestRecords const &records, RequestPageStyle const &style);

/// How many of `count` items are printed if only `most` have room.
inline std::size_t shown(std::size_t count, std::size_t most, RequestPageStyle const &style)
{
    return style.all || count < most ? count : most;
}

inline TextLength text_length(RequestPageStyle const &style)
{
    return style.all ? TextLength::whole : TextLength::cut;
}

/// Returns the text on one line, masked.
std::string message_text(QString const &text, RequestPageStyle const &style);
/// Returns a location like `a.php:12`, masked.
std::string plain_place(data::php::SourceLocation const &location, Masks const &masks);
/// Returns the name of a function or a file, masked.
std::string plain_name(QString const &name, Masks const &masks);

} // namespace tarnwick::program
