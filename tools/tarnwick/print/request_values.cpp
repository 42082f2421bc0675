#include "print/line_writer.h"
#include "print/masked_writer.h"
#include "print/readable_text.h"
#include "print/request_sections.h"
#include "print/short_text.h"
#include "print/text_width.h"
#include "requests/superglobal_changes.h"

#include <tarnwick/data/glimmet/storage.h>
#include <tarnwick/data/php/post_data.h>
#include <tarnwick/data/php/request_headers.h>
#include <tarnwick/data/php/response_body.h>
#include <tarnwick/data/php/response_headers.h>
#include <tarnwick/data/php/superglobals.h>
#include <tarnwick/data/walk.h>

#include <fmt/format.h>

#include <QtCore/QString>

#include <algorithm>
#include <cstddef>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace tarnwick::program {
namespace {

using data::php::Superglobals;
using data::php::ZVal;

constexpr std::size_t most_values = 20;
constexpr std::size_t widest_value = 120;
constexpr std::size_t most_bytes_of_body = 1000;
constexpr std::size_t most_bytes_of_line = 100;

/// Writes values of an array in a record as text on one line. Which are masked depends on the keys around them.
class ValueText {
public:
    ValueText(RequestPageStyle const &style, std::string_view record, std::string_view field, bool has_quotes = true)
        : style_(style)
        , line_(has_quotes, text_length(style))
        , masked_(style.masks, record, line_)
    {
        masked_.field(field, data::Sense::plain);
    }

    /// Returns the text of a key, and enters its value.
    std::string begin(ZVal const &key)
    {
        masked_.begin_entry();
        auto name = of(key);
        masked_.entry_value();
        return name;
    }
    void end() { masked_.end_entry(); }

    /// Returns the text of anything that a record contains.
    template <class Value>
    std::string of(Value const &value)
    {
        line_.clear();
        if (style_.masks.are_on())
            data::walk(masked_, value);
        else
            data::walk(line_, value);
        return style_.all ? line_.text() : cut_lines(line_.text(), widest_value);
    }

private:
    RequestPageStyle const &style_;
    LineWriter line_;
    MaskedWriter masked_; ///< writes to `line_`
};

/// Returns the superglobals of a view; null if no report has it.
Superglobals const *superglobals(RequestRecords const &records, std::string_view view)
{
    for (auto const &reported : records.of_either<Superglobals>()) {
        if (reported.view == view)
            return &reported.record;
    }
    return nullptr;
}

/// Returns a line for each element of each superglobal, or for each that differs from the state before, if there is one.
std::vector<std::string> superglobal_lines(Superglobals const &record, Superglobals const *before,
                                           RequestPageStyle const &style)
{
    ValueText values(style, "php.Superglobals", "values");
    ValueText names(style, "php.Superglobals", "values", false);
    std::vector<std::string> lines;
    for (auto const &[place, old] : superglobal_changes(record, before)) {
        auto const &[group, array] = entry_at(record, {place.group, std::nullopt});
        auto line = names.of(group);
        values.begin(group);
        if (place.element)
            line += fmt::format("[{}]", values.begin(entry_at(record, place).first));
        line += " = " + values.of(entry_at(record, place).second);
        if (before != nullptr && place.element)
            line += old ? ", was " + values.of(entry_at(*before, *old).second) : ", new";
        if (place.element)
            values.end();
        values.end();
        lines.push_back(std::move(line));
    }
    return lines;
}

void write_lines(Sections &page, std::string_view title, std::vector<std::string> const &lines,
                 RequestPageStyle const &style)
{
    if (lines.empty())
        return;
    page.title(fmt::format("{} ({})", title, lines.size()));
    auto const count = shown(lines.size(), most_values, style);
    for (auto const &line : std::span(lines).first(count))
        page.line(line);
    page.left_out(lines.size() - count);
}

template <class Headers>
void write_headers_of(Sections &page, RequestRecords const &records, std::string_view title, std::string_view record,
                      RequestPageStyle const &style)
{
    ValueText values(style, record, "headers", false);
    std::vector<std::string> lines;
    for (auto const &reported : records.of_either<Headers>()) {
        for (auto const &[name, value] : reported.record->headers()->elements()) {
            auto line = values.begin(name);
            if (value->kind() != ZVal::Kind::undefined)
                line += ": " + values.of(value);
            values.end();
            lines.push_back(std::move(line));
        }
    }
    write_lines(page, title, lines, style);
}

void write_text(Sections &page, std::string_view name, QString const &content, RequestPageStyle const &style)
{
    if (content.isEmpty())
        return;
    auto const text = style.masks.text(content.toStdString());
    if (text.size() <= most_bytes_of_line && text.find('\n') == std::string::npos) {
        page.line(fmt::format("{}: {}", name, escaped_text(text)));
        return;
    }
    page.line(fmt::format("{} ({} bytes):", name, content.toUtf8().size()));
    auto rest = style.all ? std::string_view(text) : start_of_text(text, most_bytes_of_body);
    auto const size = rest.size();
    while (!rest.empty()) {
        auto const end = std::min(rest.find('\n'), rest.size());
        page.line(escaped_text(rest.substr(0, end)), 2);
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    if (size < text.size())
        page.line(fmt::format("and {} more bytes", text.size() - size), 2);
}

template <class Body>
void write_bodies_of(Sections &page, RequestRecords const &records, std::string_view title,
                     RequestPageStyle const &style)
{
    for (auto const &reported : records.of_either<Body>()) {
        auto const &body = *reported.record;
        if (body.text_0().isEmpty() && body.text_1().isEmpty())
            continue;
        page.title(title);
        write_text(page, "text_0", body.text_0(), style);
        write_text(page, "text_1", body.text_1(), style);
    }
}

} // namespace

void write_superglobals(Sections &page, RequestRecords const &records, RequestPageStyle const &style)
{
    auto const *const start = superglobals(records, "init");
    if (auto const *change = superglobals(records, "change"))
        write_lines(page, "Changed superglobals", superglobal_lines(*change, start, style), style);
    if (!style.all)
        return;
    // Without a report of the end, the protobuf dialect has only the state at one time.
    auto const *const state = start != nullptr ? start : superglobals(records, "all");
    if (state != nullptr)
        write_lines(page, "Superglobals at the start", superglobal_lines(*state, nullptr, style), style);
}

void write_headers(Sections &page, RequestRecords const &records, RequestPageStyle const &style)
{
    write_headers_of<data::php::RequestHeaders>(page, records, "Request headers", "php.RequestHeaders", style);
    write_headers_of<data::php::ResponseHeaders>(page, records, "Response headers", "php.ResponseHeaders", style);
}

void write_bodies(Sections &page, RequestRecords const &records, RequestPageStyle const &style)
{
    write_bodies_of<data::php::PostData>(page, records, "Request body", style);
    write_bodies_of<data::php::ResponseBody>(page, records, "Response body", style);
}

void write_storage(Sections &page, RequestRecords const &records, RequestPageStyle const &style)
{
    auto const &storages = records.of_either<data::glimmet::Storage>();
    if (storages.empty())
        return;
    ValueText names(style, "glimmet.Storage", "name", false);
    ValueText values(style, "glimmet.StorageEntry", "values");
    page.title(fmt::format("Storage ({})", storages.size()));
    for (auto const &reported : storages) {
        auto const &entries = reported.record->entries();
        page.line(fmt::format("{}: {} {}", names.of(reported.record->name()), entries.size(),
                              entries.size() == 1 ? "entry" : "entries"));
        if (!style.all)
            continue;
        for (auto const &entry : entries)
            page.line(fmt::format("{}: {}", names.of(entry.name()), values.of(entry.values())), 2);
    }
}

} // namespace tarnwick::program
