#pragma once

#include "database/value_writer.h"
#include "print/json_writer.h"
#include "print/line_writer.h"
#include "print/masks.h"
#include "print/readable_writer.h"

#include <tarnwick/data/description.h>
#include <tarnwick/data/records.h>
#include <tarnwick/data/time_pair.h>
#include <tarnwick/data/walk.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

class QString;

namespace tarnwick::program {

/// Passes a record to another writer, with its secrets masked. Keys and structure remain. Without another writer, it
/// collects the secrets. This class knows which fields contain what, and where keys and values meet.
class MaskedWriter {
public:
    /// Collects the secrets of a record.
    MaskedWriter(Masks const &masks, std::string_view record)
        : MaskedWriter(masks, record, {})
    {
    }
    MaskedWriter(Masks const &masks, std::string_view record, JsonWriter &writer)
        : MaskedWriter(masks, record, Target(&writer))
    {
    }
    MaskedWriter(Masks const &masks, std::string_view record, ReadableWriter &writer)
        : MaskedWriter(masks, record, Target(&writer))
    {
    }
    MaskedWriter(Masks const &masks, std::string_view record, LineWriter &writer)
        : MaskedWriter(masks, record, Target(&writer))
    {
    }
    MaskedWriter(Masks const &masks, std::string_view record, ValueWriter &writer)
        : MaskedWriter(masks, record, Target(&writer))
    {
    }

    void begin_record(std::string_view name);
    void field(std::string_view name, data::Sense sense);
    void end_record();
    void begin_alternative(std::string_view name);
    void end_alternative();
    void begin_list();
    void item();
    void end_list();
    void begin_entry();
    void entry_value();
    void end_entry();
    void begin_value(std::string_view kind);
    void end_value();
    void bare_value(std::string_view kind);
    void label(std::string_view meaning);
    void absent();
    void boolean(bool value);
    void integer(std::int64_t value);
    void integer(std::uint64_t value);
    void real(double value);
    void time(data::TimePair value);
    void text(QString const &value);
    void bytes(std::string_view value);
    void json(std::string_view value);
    void digits(std::string_view digits);
    void chunk(std::string_view value);

private:
    using Target = std::variant<std::monostate, JsonWriter *, ReadableWriter *, LineWriter *, ValueWriter *>;

    /// What a field contains.
    enum class Content { text, name, statement, storage, headers, superglobals };
    /// An entry of a PHP array.
    struct Entry {
        bool is_in_key = true;
        bool was_masked = false;
        Content content = Content::text; ///< of the field that contains the array
    };
    struct FieldContent {
        std::string_view record;
        std::string_view field;
        Content content;
    };
    using FieldContents = std::span<FieldContent const>;
    static FieldContent const contents[];
    static FieldContents contents_of(std::string_view record);

    MaskedWriter(Masks const &masks, std::string_view record, Target target);

    template <class Call>
    void pass(Call &&call);
    /// `pass_unchanged(writer)` passes the value, whose text `text()` returns.
    template <class Text, class Pass>
    void scalar(Text &&text, Pass &&pass_unchanged);
    /// `pass_text(writer, text)` passes a text.
    template <class Pass>
    void string(std::string_view text, Pass &&pass_text);
    void mask(std::string_view text);
    void collect(std::string_view text) const;
    [[nodiscard]] TextRanges ranges(std::string_view text) const;
    [[nodiscard]] std::size_t value_in_name(std::string_view text) const;
    [[nodiscard]] bool collects() const { return std::holds_alternative<std::monostate>(target_); }
    [[nodiscard]] bool is_in_key() const { return !entries_.empty() && entries_.back().is_in_key; }
    [[nodiscard]] bool is_masked() const;

    Masks const &masks_;
    Target target_;
    std::vector<FieldContents> records_; ///< fields of the records around the current field
    std::vector<Entry> entries_;         ///< around the current value
    Content content_ = Content::text;    ///< of the current field
    bool is_masked_ = false;             ///< all values are masked
    bool is_header_ = false;             ///< the value is that of a secret header
    std::size_t values_ = 0;             ///< nested PHP values around the current one
    std::string key_;
};

/// Remembers the secrets of a record of the chosen request.
template <data::Described Record>
void collect(Masks const &masks, Record const &record)
{
    if (!masks.are_on())
        return;
    MaskedWriter writer(masks, data::Description<Record>::name);
    data::walk_fields(writer, record);
}

/// The same for the handle of a record.
template <class Record>
    requires data::is_handle<Record>
void collect(Masks const &masks, Record const &record)
{
    collect(masks, *record);
}

} // namespace tarnwick::program
