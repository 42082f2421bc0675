#include "config_print.h"

#include <tarnwick/qstring_format.h>

#include <fmt/format.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <unistd.h>

namespace tarnwick::program {
namespace {

std::string colored(std::string_view text, std::string_view color)
{
    return fmt::format("\x1b[{}m{}\x1b[0m", color, text);
}

} // namespace

ConfigStyle::ConfigStyle(ConfigOptions const &options)
    : color_(is_colored(options.color, STDOUT_FILENO))
{
}

std::string ConfigStyle::name(std::string_view text) const
{
    return color_ ? colored(text, "1;36") : std::string(text);
}

std::string ConfigStyle::warning(std::string_view text) const
{
    return color_ ? colored(text, "1;33") : std::string(text);
}

void text_field(JsonWriter &json, std::string_view name, QString const &text)
{
    json.field(name);
    json.bytes(text.toStdString());
}

void line_fields(JsonWriter &json, ConfigPlace::Line const &line)
{
    text_field(json, "file", line.file);
    json.field("line");
    json.integer(std::int64_t{line.number});
}

void list_field(JsonWriter &json, std::string_view name, QStringList const &texts)
{
    json.field(name);
    json.begin_list();
    for (auto const &text : texts)
        json.bytes(text.toStdString());
    json.end_list();
}

void write_line(Output &output, JsonWriter const &json)
{
    output.write(json.line());
    output.write("\n");
}

std::string with_includes(std::string text, ConfigPlace const &place)
{
    for (auto const &[file, number] : place.includes())
        text += fmt::format("\n\tincluded at {}:{}", file, number);
    return text;
}

} // namespace tarnwick::program
