#include "print/masked_writer.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <type_traits>

namespace tarnwick::program {

// By record.
MaskedWriter::FieldContent const MaskedWriter::contents[] = {
    {"glimmet.FunctionStats", "name", Content::name},     {"glimmet.SqlQuery", "text", Content::statement},
    {"glimmet.StorageEntry", "values", Content::storage}, {"php.Function", "name", Content::name},
    {"php.PelorinObject", "class_name", Content::name},   {"php.PelorinResource", "type_name", Content::name},
    {"php.RInit", "request_text_1", Content::name}, // the URI
    {"php.RequestHeaders", "headers", Content::headers},  {"php.ResponseHeaders", "headers", Content::headers},
    {"php.SourceLocation", "file", Content::name},        {"php.Superglobals", "values", Content::superglobals},
};

MaskedWriter::FieldContents MaskedWriter::contents_of(std::string_view record)
{
    return {std::ranges::equal_range(contents, record, {}, &FieldContent::record)};
}

MaskedWriter::MaskedWriter(Masks const &masks, std::string_view record, Target target)
    : masks_(masks)
    , target_(target)
    , records_{contents_of(record)}
{
}

template <class Call>
void MaskedWriter::pass(Call &&call)
{
    std::visit(
        [&](auto target) {
            if constexpr (std::is_pointer_v<decltype(target)>)
                call(*target);
        },
        target_);
}

void MaskedWriter::begin_record(std::string_view name)
{
    records_.push_back(contents_of(name));
    pass([&](auto &writer) { writer.begin_record(name); });
}

void MaskedWriter::field(std::string_view name, data::Sense sense)
{
    auto const &fields = records_.back();
    auto const found = std::ranges::find(fields, name, &FieldContent::field);
    content_ = found == fields.end() ? Content::text : found->content;
    pass([&](auto &writer) { writer.field(name, sense); });
}

void MaskedWriter::end_record()
{
    records_.pop_back();
    pass([](auto &writer) { writer.end_record(); });
}

void MaskedWriter::begin_alternative(std::string_view name)
{
    pass([&](auto &writer) { writer.begin_alternative(name); });
}

void MaskedWriter::end_alternative()
{
    pass([](auto &writer) { writer.end_alternative(); });
}

void MaskedWriter::begin_list()
{
    pass([](auto &writer) { writer.begin_list(); });
}

void MaskedWriter::item()
{
    pass([](auto &writer) { writer.item(); });
}

void MaskedWriter::end_list()
{
    pass([](auto &writer) { writer.end_list(); });
}

void MaskedWriter::begin_entry()
{
    entries_.push_back({.is_in_key = true, .was_masked = is_masked_, .content = content_});
    is_masked_ = false;
    key_.clear();
    pass([](auto &writer) { writer.begin_entry(); });
}

// A name that contains a word, like _SESSION, does not mask a whole superglobal.
void MaskedWriter::entry_value()
{
    auto &entry = entries_.back();
    entry.is_in_key = false;
    bool const is_superglobal = entry.content == Content::superglobals && entries_.size() == 1;
    bool const is_secret = is_superglobal ? key_ == "_COOKIE" : masks_.is_secret(key_);
    is_masked_ = entry.was_masked || is_secret;
    is_header_ = is_secret && entry.content == Content::headers;
    pass([](auto &writer) { writer.entry_value(); });
}

void MaskedWriter::end_entry()
{
    is_masked_ = entries_.back().was_masked;
    content_ = entries_.back().content;
    is_header_ = false;
    entries_.pop_back();
    pass([](auto &writer) { writer.end_entry(); });
}

void MaskedWriter::begin_value(std::string_view kind)
{
    ++values_;
    pass([&](auto &writer) { writer.begin_value(kind); });
}

void MaskedWriter::end_value()
{
    --values_;
    pass([](auto &writer) { writer.end_value(); });
}

void MaskedWriter::bare_value(std::string_view kind)
{
    pass([&](auto &writer) { writer.bare_value(kind); });
}

void MaskedWriter::label(std::string_view meaning)
{
    pass([&](auto &writer) { writer.label(meaning); });
}

void MaskedWriter::absent()
{
    pass([](auto &writer) { writer.absent(); });
}

void MaskedWriter::boolean(bool value)
{
    scalar([&] { return value ? "true" : "false"; }, [&](auto &writer) { writer.boolean(value); });
}

void MaskedWriter::integer(std::int64_t value)
{
    scalar([&] { return fmt::to_string(value); }, [&](auto &writer) { writer.integer(value); });
}

void MaskedWriter::integer(std::uint64_t value)
{
    scalar([&] { return fmt::to_string(value); }, [&](auto &writer) { writer.integer(value); });
}

void MaskedWriter::real(double value)
{
    scalar([&] { return fmt::to_string(value); }, [&](auto &writer) { writer.real(value); });
}

void MaskedWriter::time(data::TimePair value)
{
    scalar([] { return ""; }, [&](auto &writer) { writer.time(value); });
}

void MaskedWriter::text(QString const &value)
{
    if (value.isNull()) {
        absent();
        return;
    }
    auto const utf8 = value.toUtf8();
    bytes({utf8.constData(), static_cast<std::size_t>(utf8.size())});
}

void MaskedWriter::bytes(std::string_view value)
{
    string(value, [](auto &writer, std::string_view text) { writer.bytes(text); });
}

void MaskedWriter::json(std::string_view value)
{
    if (!is_masked_) {
        string(value, [](auto &writer, std::string_view text) { writer.json(text); });
    } else if (collects()) {
        masks_.add_from_json(value);
    } else {
        auto const text = masked(value, masks_.ranges_of_json(value));
        pass([&](auto &writer) { writer.json(text); });
    }
}

void MaskedWriter::digits(std::string_view digits)
{
    pass([&](auto &writer) { writer.digits(digits); });
}

void MaskedWriter::chunk(std::string_view value)
{
    // A trace consists of names of functions and files.
    content_ = Content::name;
    string(value, [](auto &writer, std::string_view text) { writer.chunk(text); });
}

template <class Text, class Pass>
void MaskedWriter::scalar(Text &&text, Pass &&pass_unchanged)
{
    if (is_masked_ || (values_ > 0 && !is_in_key() && !collects() && !ranges(text()).empty()))
        mask(text());
    else
        pass(pass_unchanged);
}

template <class Pass>
void MaskedWriter::string(std::string_view text, Pass &&pass_text)
{
    if (is_in_key())
        key_ = text;
    if (is_masked() && !text.empty()) {
        mask(text);
    } else if (collects()) {
        collect(text);
    } else if (auto const found = ranges(text); found.empty()) {
        pass([&](auto &writer) { pass_text(writer, text); });
    } else {
        pass([&, result = masked(text, found)](auto &writer) { pass_text(writer, result); });
    }
}

/// Whether all values are masked here.
bool MaskedWriter::is_masked() const
{
    return content_ == Content::storage || (is_masked_ && content_ != Content::name);
}

void MaskedWriter::mask(std::string_view text)
{
    if (!collects())
        pass([](auto &writer) { writer.bytes(mask_text); });
    else if (is_header_)
        masks_.add_header(text);
    else
        masks_.add(text, content_ == Content::storage ? Secrets::Source::data : Secrets::Source::key);
}

/// Returns where the value of a secret header starts whose line has no space after the colon, so that all of it is the
/// name; the size if there is none.
std::size_t MaskedWriter::value_in_name(std::string_view text) const
{
    if (content_ != Content::headers || !is_in_key())
        return text.size();
    auto const name = text.substr(0, text.find(':'));
    return name.size() < text.size() && masks_.is_secret(name) ? name.size() + 1 : text.size();
}

void MaskedWriter::collect(std::string_view text) const
{
    if (auto const value = value_in_name(text); value < text.size())
        masks_.add_header(text.substr(value));
    else if (content_ == Content::statement)
        masks_.add_from_statement(text);
    else
        masks_.add_from(text);
}

TextRanges MaskedWriter::ranges(std::string_view text) const
{
    if (auto const value = value_in_name(text); value < text.size())
        return {{value, text.size()}};
    switch (content_) {
    case Content::statement:
        return masks_.ranges_of_statement(text);
    case Content::name:
        return masks_.ranges(text, TextPlace::name);
    default:
        return masks_.ranges(text);
    }
}

} // namespace tarnwick::program
