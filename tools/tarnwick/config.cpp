#include "config.h"

#include "config_check.h"
#include "config_origins.h"
#include "config_trail.h"
#include "json_writer.h"
#include "messages.h"
#include "output.h"
#include "readable_text.h"

#include <tarnwick/pconfigfile.h>
#include <tarnwick/pexception.h>
#include <tarnwick/qstring_format.h>

#include <fmt/format.h>

#include <QtCore/QtEnvironmentVariables>

#include <optional>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace tarnwick::program {
namespace {

using Format = ConfigOptions::Format;
using PelorinPHPX::ConfigFile;
using PelorinPHPX::ConfigObserver;

QString text_of(std::string const &utf8)
{
    return QString::fromStdString(utf8);
}

struct Loaded {
    std::optional<ConfigFile> config;
    std::string failure; ///< why there is none
};

/// The text and, below it, the lines whose includes led there, each behind a tab as in the reader's own faults.
std::string with_includes(std::string text, ConfigPlace const &place)
{
    for (auto const &[file, number] : place.includes())
        text += fmt::format("\n\tincluded at {}:{}", file, number);
    return text;
}

/// A text that does not get as far as the place of the fault, with that: it ends at a NUL, which names can have.
std::string with_place(std::string text, std::optional<ConfigPlace> const &place)
{
    if (!place)
        return text;
    auto const line = fmt::format("{}:{}", place->line.file, place->line.number);
    if ((text + '\n').find(fmt::format(" at {}\n", line)) != std::string::npos)
        return text;
    return with_includes(std::move(text) + "\n\tread up to " + line, *place);
}

Loaded load(ConfigOptions const &options, ConfigTrail &trail)
{
    for (auto const &[name, value] : options.environment)
        qputenv(name.c_str(), QByteArray::fromStdString(value));
    auto const file = text_of(options.file);
    if (auto const reason = why_unseen(file); !reason.empty())
        return {{}, fmt::format("{}: {}", file, reason)};
    try {
        return {ConfigFile::load(file, text_of(options.name), &trail), {}};
    } catch (PException const &error) {
        return {{}, with_place(error.what(), trail.place())};
    }
}

std::string shown(QString const &text)
{
    return shown_text(text.toStdString());
}

/// The lines of a fault, and the tabs before them, stay.
std::string shown_fault(std::string_view what)
{
    std::string shown;
    for (std::size_t end = 0; (end = what.find_first_of("\n\t")) != std::string_view::npos;) {
        shown += shown_text(what.substr(0, end)) + what[end];
        what.remove_prefix(end + 1);
    }
    return shown + shown_text(what);
}

// Everything printed goes before what is told, also where both streams go to one place.
ExitStatus fault(Output &output, std::string_view what)
{
    output.flush();
    tell(shown_fault(what) + '\n');
    return input_fault;
}

ExitStatus finish(Output &output)
{
    output.flush();
    return done;
}

std::string shown(ConfigPlace::Line const &line)
{
    return fmt::format("{}:{}", shown(line.file), line.number);
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

// Of a check.

std::string check_text(ConfigCheck const &check)
{
    std::string text;
    for (auto const &file : check.files())
        text += fmt::format("read {}\n", shown(file));
    for (auto const &[place, problem] : check.warnings()) {
        text += fmt::format("{}: warning: {}\n", shown(place.line), shown_text(problem));
        for (auto const &line : place.includes())
            text += fmt::format("\tincluded at {}\n", shown(line));
    }
    return text;
}

void write_check(JsonWriter &json, ConfigCheck const &check, std::string const &failure)
{
    json.begin_record({});
    list_field(json, "files", {check.files().begin(), check.files().end()});
    list_field(json, "errors", failure.empty() ? QStringList() : QStringList(text_of(failure)));
    json.field("warnings");
    json.begin_list();
    for (auto const &[place, problem] : check.warnings()) {
        json.begin_record({});
        line_fields(json, place.line);
        json.field("text");
        json.bytes(with_includes(problem, place));
        json.end_record();
    }
    json.end_list();
    json.end_record();
}

// Of a dump.

/// A line that the reader takes for this value: quotes keep blanks at the ends, quotes, and what looks like a
/// reference.
std::string directive(QString const &key, QString const &value)
{
    // At the beginning of a line these would make a comment of it, or be taken for a byte order mark. Behind a no-break
    // space, which is white space around a key but none around a line, they are a part of the key.
    bool const is_hidden = key.startsWith(u'#') || key.startsWith(u';') || key.startsWith(u'\ufeff');
    auto const *const indent = is_hidden ? "\u00a0" : "";
    bool const bare = value.trimmed() == value && !value.startsWith(u'"') && !value.startsWith(u'\'') &&
                      !value.startsWith(QStringView(u"${"));
    auto const *const quote = bare ? "" : "\"";
    return fmt::format("{}{} = {}{}{}\n", indent, key, quote, value, quote);
}

// Of an explanation.

char const *name_of(ConfigObserver::Source source)
{
    switch (source) {
    case ConfigObserver::Source::file:
        return "file";
    case ConfigObserver::Source::parent:
        return "parent";
    case ConfigObserver::Source::environment:
        return "environment";
    case ConfigObserver::Source::default_value:
        return "default";
    }
    return "";
}

char const *words_for(ConfigObserver::Source source)
{
    switch (source) {
    case ConfigObserver::Source::file:
        return "the value above in this file";
    case ConfigObserver::Source::parent:
        return "the value in the including file";
    case ConfigObserver::Source::environment:
        return "the environment";
    case ConfigObserver::Source::default_value:
        return "its default";
    }
    return "";
}

std::string place_text(ConfigPlace const &place)
{
    auto text = fmt::format("    at {}\n", shown(place.line));
    for (auto const &line : place.includes())
        text += fmt::format("    included at {}\n", shown(line));
    return text;
}

std::string explain_text(ConfigOrigins const &origins, QString const &key)
{
    std::string text;
    auto const values = origins.values(key);
    for (std::size_t i = 0; i < values.size(); ++i) {
        auto const &[value, place, reference] = values[i];
        text += fmt::format("{} = {}\n", shown(key), shown(value)) + place_text(place);
        if (reference)
            text +=
                fmt::format("    by the reference to {}: {}\n", shown(reference->name), words_for(reference->source));
        if (i + 1 < values.size())
            text +=
                fmt::format("    shadows '{}' at {}\n", shown(values[i + 1].value), shown(values[i + 1].place.line));
    }
    for (auto const &[place, line, reason] : origins.dropped(key))
        text +=
            fmt::format("dropped: {}\n", shown(line)) + place_text(place) + fmt::format("    {}\n", shown_text(reason));
    return text;
}

void write_origin(JsonWriter &json, ConfigOrigins::Origin const &origin)
{
    json.begin_record({});
    text_field(json, "value", origin.value);
    line_fields(json, origin.place.line);
    json.field("includes");
    json.begin_list();
    for (auto const &line : origin.place.includes()) {
        json.begin_record({});
        line_fields(json, line);
        json.end_record();
    }
    json.end_list();
    json.field("reference");
    if (origin.reference) {
        json.begin_record({});
        text_field(json, "name", origin.reference->name);
        json.field("source");
        json.bytes(name_of(origin.reference->source));
        json.end_record();
    } else {
        json.absent();
    }
    json.end_record();
}

void write_explanation(JsonWriter &json, ConfigOrigins const &origins, QString const &key)
{
    json.begin_record({});
    text_field(json, "key", key);
    json.field("values");
    json.begin_list();
    for (auto const &origin : origins.values(key))
        write_origin(json, origin);
    json.end_list();
    json.field("dropped");
    json.begin_list();
    for (auto const &[place, line, reason] : origins.dropped(key)) {
        json.begin_record({});
        line_fields(json, place.line);
        text_field(json, "text", line);
        json.field("reason");
        json.bytes(with_includes(reason, place));
        json.end_record();
    }
    json.end_list();
    json.end_record();
}

/// What is told of a key that has no value.
std::string absence(ConfigOptions const &options, ConfigFile const &config, QString const &key)
{
    auto text = fmt::format("{}: there is no key '{}'", options.file, options.key);
    if (auto const &prefix = config.prefix();
        prefix && key.startsWith(*prefix) && config.contains(key.sliced(prefix->size())))
        text += fmt::format("; without the prefix there is '{}'", key.sliced(prefix->size()));
    return text;
}

} // namespace

ExitStatus config_check(ConfigOptions const &options)
{
    Output output(STDOUT_FILENO);
    ConfigCheck check;
    auto const [config, failure] = load(options, check);
    if (options.format == Format::json) {
        JsonWriter json;
        write_check(json, check, failure);
        write_line(output, json);
    } else {
        output.write(check_text(check));
    }
    return config ? finish(output) : fault(output, failure);
}

ExitStatus config_dump(ConfigOptions const &options)
{
    Output output(STDOUT_FILENO);
    ConfigTrail trail;
    auto const [config, failure] = load(options, trail);
    if (!config)
        return fault(output, failure);
    if (options.format == Format::json) {
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
    for (auto const &key : config->keys()) {
        // The newest comes last, as in a file.
        auto const values = config->values(key);
        for (auto value = values.crbegin(); value != values.crend(); ++value)
            output.write(directive(prefix + key, *value));
    }
    return finish(output);
}

ExitStatus config_get(ConfigOptions const &options)
{
    Output output(STDOUT_FILENO);
    ConfigTrail trail;
    auto const [config, failure] = load(options, trail);
    if (!config)
        return fault(output, failure);
    auto const key = text_of(options.key);
    auto const values = options.all ? config->values(key) : config->values(key).first(config->contains(key) ? 1 : 0);
    if (options.format == Format::json) {
        JsonWriter json;
        json.begin_record({});
        text_field(json, "key", key);
        list_field(json, "values", values);
        json.end_record();
        write_line(output, json);
    } else {
        for (auto const &value : values)
            output.write(fmt::format("{}\n", value));
    }
    return values.isEmpty() ? fault(output, absence(options, *config, key)) : finish(output);
}

ExitStatus config_explain(ConfigOptions const &options)
{
    Output output(STDOUT_FILENO);
    ConfigOrigins origins;
    auto const [config, failure] = load(options, origins);
    if (!config)
        return fault(output, failure);
    auto const key = text_of(options.key);
    if (options.format == Format::json) {
        JsonWriter json;
        write_explanation(json, origins, key);
        write_line(output, json);
    } else {
        output.write(explain_text(origins, key));
    }
    return config->contains(key) ? finish(output) : fault(output, absence(options, *config, key));
}

} // namespace tarnwick::program
