#include "config_dump.h"

#include "config_load.h"
#include "config_print.h"
#include "print/masks.h"
#include "print/readable_text.h"

#include <tarnwick/qstring_format.h>

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <string>
#include <unistd.h>

namespace tarnwick::program {
namespace {

using PelorinPHPX::ConfigFile;

/// Remembers the values that are masked, because other values can contain them.
void collect_secrets(Masks const &masks, ConfigFile const &config)
{
    for (auto const &key : config.keys()) {
        bool const is_secret = masks.is_secret(key.toStdString());
        for (auto const &value : config.values(key)) {
            if (is_secret)
                masks.add(value.toStdString(), Secrets::Source::key);
            else
                masks.add_from(value.toStdString());
        }
    }
}

QString masked_value(Masks const &masks, QString const &key, QString const &value)
{
    return masks.are_on() ? QString::fromStdString(masks.value(key.toStdString(), value.toStdString())) : value;
}

/// Returns the line that sets the value. Adds quotes if the value has blanks at its ends, starts with a quote, or looks
/// like a reference.
std::string directive(QString const &key, QString const &value, ConfigStyle const &style)
{
    // At the start of a line, these characters start a comment or are a byte-order mark. A no-break space before them
    // avoids that: the reader strips it from keys, but not from lines.
    bool const needs_indent = key.startsWith(u'#') || key.startsWith(u';') || key.startsWith(u'\ufeff');
    auto const *const indent = needs_indent ? "\u00a0" : "";
    bool const bare = value.trimmed() == value && !value.startsWith(u'"') && !value.startsWith(u'\'') &&
                      !value.startsWith(QStringView(u"${"));
    auto const *const quote = bare ? "" : "\"";
    return fmt::format("{}{} = {}{}{}\n", indent, style.name(key.toStdString()), quote, value, quote);
}

/// Returns the first key that a line cannot contain, or whose value it cannot contain.
std::optional<QString> key_without_line(ConfigFile const &config)
{
    auto const has_line_end = [](QString const &text) { return text.contains(u'\n') || text.contains(u'\r'); };
    for (auto const &key : config.keys()) {
        if (has_line_end(key) || std::ranges::any_of(config.values(key), has_line_end))
            return key;
    }
    return std::nullopt;
}

} // namespace

ExitStatus config_dump(ConfigOptions const &options)
{
    Output output(STDOUT_FILENO);
    LineTracker tracker;
    auto const [config, fault] = load_config(options, tracker);
    if (!config)
        return report_failure(output, fault);
    bool const is_json = options.format == ConfigOptions::Format::json;
    auto const masks = Masks::of(options.mask, !is_json && output.is_terminal());
    collect_secrets(masks, *config);
    if (is_json) {
        JsonWriter json;
        json.begin_record({});
        json.field("file");
        json.bytes(options.file);
        json.field("values");
        json.begin_record({});
        for (auto const &key : config->keys()) {
            auto values = config->values(key);
            std::ranges::transform(values, values.begin(),
                                   [&](QString const &value) { return masked_value(masks, key, value); });
            list_field(json, key.toStdString(), values);
        }
        json.end_record();
        json.end_record();
        write_line(output, json);
        return report_success(output);
    }
    auto const prefix = config->prefix().value_or(QString());
    if (auto const key = key_without_line(*config))
        return report_failure(
            output,
            fmt::format("{}: cannot print '{}' as a line: the key or a value contains a line feed or a carriage "
                        "return; use --format=json",
                        escaped_text(options.file), escaped(prefix + *key)));
    ConfigStyle const style(options);
    for (auto const &key : config->keys()) {
        // The reader returns the newest value first, a file has it last.
        auto const values = config->values(key);
        for (auto value = values.crbegin(); value != values.crend(); ++value)
            output.write(directive(prefix + key, masked_value(masks, key, *value), style));
    }
    return report_success(output);
}

} // namespace tarnwick::program
