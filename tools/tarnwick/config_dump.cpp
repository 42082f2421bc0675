#include "config_dump.h"

#include "config_load.h"
#include "config_print.h"
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

/// A line that the reader takes for this value: quotes keep blanks at the ends, quotes, and what looks like a
/// reference.
std::string directive(QString const &key, QString const &value, ConfigStyle const &style)
{
    // At the beginning of a line these would make a comment of it, or be taken for a byte order mark. Behind a no-break
    // space, which is white space around a key but none around a line, they are a part of the key.
    bool const is_hidden = key.startsWith(u'#') || key.startsWith(u';') || key.startsWith(u'\ufeff');
    auto const *const indent = is_hidden ? "\u00a0" : "";
    bool const bare = value.trimmed() == value && !value.startsWith(u'"') && !value.startsWith(u'\'') &&
                      !value.startsWith(QStringView(u"${"));
    auto const *const quote = bare ? "" : "\"";
    return fmt::format("{}{} = {}{}{}\n", indent, style.name(key.toStdString()), quote, value, quote);
}

/// The first key that cannot be written as a line, for itself or for a value; none where all can be.
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
        return refuse(output, fault);
    if (options.format == ConfigOptions::Format::json) {
        JsonWriter json;
        json.begin_record({});
        json.field("file");
        json.bytes(options.file);
        json.field("values");
        json.begin_record({});
        for (auto const &key : config->keys())
            list_field(json, key.toStdString(), config->values(key));
        json.end_record();
        json.end_record();
        write_line(output, json);
        return finish(output);
    }
    auto const prefix = config->prefix().value_or(QString());
    if (auto const key = key_without_line(*config))
        return refuse(output,
                      fmt::format("{}: cannot print '{}' as a line: the key or a value contains a line feed or a carriage "
                                  "return; use --format=json",
                                  shown_text(options.file), shown(prefix + *key)));
    ConfigStyle const style(options);
    for (auto const &key : config->keys()) {
        // The newest comes last, as in a file.
        auto const values = config->values(key);
        for (auto value = values.crbegin(); value != values.crend(); ++value)
            output.write(directive(prefix + key, *value, style));
    }
    return finish(output);
}

} // namespace tarnwick::program
