#pragma once

#include "capture/dialect.h"
#include "capture/origin.h"
#include "print/json_writer.h"
#include "print/masked_writer.h"
#include "print/masks.h"
#include "print/output.h"
#include "print/readable_functions.h"
#include "print/readable_sql.h"
#include "print/readable_writer.h"

#include <tarnwick/data/description.h>
#include <tarnwick/data/php/request_id.h>
#include <tarnwick/data/walk.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace tarnwick::program {

/// Writes the fields of a record, with its secrets masked.
template <data::Writer W, data::Described Record>
void write_masked(W &writer, Record const &record, Masks const &masks)
{
    if (masks.are_on()) {
        MaskedWriter masked(masks, data::Description<Record>::name, writer);
        data::walk_fields(masked, record);
    } else {
        data::walk_fields(writer, record);
    }
}

/// The same as text. Records with tables have overloads of their own.
template <data::Described Record>
void write_readable(ReadableWriter &writer, Record const &record, Masks const &masks = {})
{
    write_masked(writer, record, masks);
}

/// Prints records as JSON lines, or as text for people.
class RecordPrinter {
public:
    struct Style {
        bool json = false;
        bool color = false;
        bool name_files = false; ///< with several files, each record has its file
        // NOLINTNEXTLINE(readability-redundant-member-init): designators leave it out
        std::optional<std::size_t> width = {}; ///< of the terminal; longer lines of text are cut
        bool whole = false;                    ///< text has whole texts, and lists instead of tables
        Masks masks = {};                      // NOLINT(readability-redundant-member-init)
        JsonStyle json_style = {};             // NOLINT(readability-redundant-member-init)
    };

    RecordPrinter(Output &output, Style style)
        : output_(output)
        , style_(style)
        , json_(output, style.json_style)
        , readable_(style.color, style.whole ? TextLength::whole : TextLength::cut)
    {
    }

    /// Sets the frame of the records that are printed next.
    void set_origin(Origin const &origin) { origin_ = origin; }

    [[nodiscard]] bool has_masks() const { return style_.masks.are_on(); }
    /// Remembers the secrets of a record, which are masked in all records of its request that are printed later.
    template <data::Described Record>
    void collect_secrets(Record const &record, data::php::RequestId request_id)
    {
        style_.masks.select_request(request_id.id());
        collect(style_.masks, record);
    }

    /// Prints a record, with the secrets of the request of `collect_secrets` masked. `view` distinguishes several records
    /// of one type from one report; empty if there is only one. `request_id` is that of the frame, for a record without
    /// its own.
    template <data::Described Record>
    void print(Record const &record, Dialect dialect, std::string_view view = {},
               std::optional<data::php::RequestId> request_id = {})
    {
        if (style_.json) {
            begin_json(data::Description<Record>::name, dialect, view);
            write_request_id(json_, request_id);
            write_masked(json_, record, style_.masks);
            end_json();
        } else {
            begin_readable(data::Description<Record>::name, dialect, view);
            write_request_id(readable_, request_id);
            if (style_.whole)
                write_masked(readable_, record, style_.masks);
            else
                write_readable(readable_, record, style_.masks);
            end_readable();
        }
    }

private:
    void begin_json(std::string_view name, Dialect dialect, std::string_view view);
    void end_json();
    void begin_readable(std::string_view name, Dialect dialect, std::string_view view);
    void end_readable();
    template <data::Writer W>
    static void write_request_id(W &writer, std::optional<data::php::RequestId> request_id)
    {
        if (request_id) {
            writer.field("request_id", data::Sense::id);
            data::walk(writer, *request_id);
        }
    }

    Output &output_;
    Style style_;
    Origin origin_;
    JsonWriter json_;
    ReadableWriter readable_;
};

} // namespace tarnwick::program
