#include "print/masks.h"

#include "print/text_decoding.h"
#include "requests/sql_text.h"

#include <QtCore/QString>
#include <QtCore/QUtf8StringView>

#include <utility>

namespace tarnwick::program {
namespace {

void ignore(std::string_view /*value*/) {}

/// Whether the text is a URI or the path of a file.
bool is_path(std::string_view text)
{
    return (text.starts_with('/') || text.find("://") != std::string_view::npos) &&
           text.find_first_of(" \t\r\n") == std::string_view::npos;
}

/// Returns the text of a string in a statement: its quotes are doubled or escaped.
std::string unquoted(std::string_view literal)
{
    std::string text;
    for (std::size_t at = 0; at < literal.size(); ++at) {
        if (literal.substr(at).starts_with("''"))
            ++at;
        text += literal[at];
    }
    return json_decoded(text);
}

} // namespace

Masks::Masks(MaskRules rules)
    : state_(std::make_shared<State>())
{
    state_->rules = std::move(rules);
}

void Masks::select_request(std::uint64_t request_id) const
{
    if (are_on())
        state_->request_id = request_id;
}

Masks Masks::of(MaskOptions const &options, bool by_default)
{
    bool const is_on =
        options.mode == MaskOptions::Mode::automatic ? by_default : options.mode == MaskOptions::Mode::on;
    return is_on ? Masks(MaskRules(options.words)) : Masks();
}

bool Masks::is_secret(std::string_view key) const
{
    return are_on() && state_->rules.is_secret(key);
}

TextRanges Masks::ranges(std::string_view text, TextPlace place) const
{
    if (!are_on())
        return {};
    auto ranges = state_->rules.find(text, ignore);
    if (is_statement(text)) {
        auto const literals = literal_ranges(text);
        ranges.insert(ranges.end(), literals.begin(), literals.end());
    }
    secrets().find(text, is_path(text) ? TextPlace::name : place, ranges);
    return ranges;
}

TextRanges Masks::ranges_of_json(std::string_view json) const
{
    if (!are_on())
        return {};
    auto ranges = MaskRules::find_json_values(json, ignore);
    secrets().find(json, TextPlace::text, ranges);
    return ranges;
}

TextRanges Masks::ranges_of_statement(std::string_view statement, TextPlace place) const
{
    if (!are_on())
        return {};
    auto ranges = literal_ranges(statement);
    secrets().find(statement, place, ranges);
    return ranges;
}

std::string Masks::value(std::string_view key, std::string_view value) const
{
    if (is_secret(key))
        return std::string(value.empty() ? value : mask_text);
    return text(value);
}

void Masks::add(std::string_view value, Secrets::Source source) const
{
    if (!are_on())
        return;
    add_secret(value, source);
    // Texts have replacement characters for bytes that are not UTF-8.
    QUtf8StringView const utf8(value.data(), static_cast<qsizetype>(value.size()));
    if (!utf8.isValidUtf8())
        add_secret(utf8.toString().toStdString(), source);
}

void Masks::add_secret(std::string_view value, Secrets::Source source) const
{
    auto &known = secrets();
    if (known.add(value, source))
        known.set_version(++state_->last_version);
}

void Masks::add_header(std::string_view value) const
{
    for_each_part_of_header(value, [this](std::string_view part) { add(part, Secrets::Source::key); });
}

void Masks::add_from(std::string_view text) const
{
    // A value that is remembered follows its key or a quote.
    if (!are_on() || text.size() <= Secrets::shortest)
        return;
    (void)state_->rules.find(text, [this](std::string_view value) { add(value, Secrets::Source::key); });
    if (is_statement(text))
        add_from_statement(text);
}

void Masks::add_from_json(std::string_view json) const
{
    (void)MaskRules::find_json_values(json, [this](std::string_view value) { add(value, Secrets::Source::key); });
}

void Masks::add_from_statement(std::string_view statement) const
{
    for (auto const &[begin, end] : literal_ranges(statement)) {
        auto const literal = statement.substr(begin, end - begin);
        add(literal, Secrets::Source::data);
        add(unquoted(literal), Secrets::Source::data);
    }
}

} // namespace tarnwick::program
