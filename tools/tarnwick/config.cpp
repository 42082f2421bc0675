#include "config.h"

#include "config_check.h"
#include "config_fault.h"
#include "config_origins.h"
#include "config_trail.h"
#include "decoded.h"
#include "json_writer.h"
#include "key_guess.h"
#include "messages.h"
#include "output.h"
#include "readable_text.h"
#include "terminal.h"

#include <tarnwick/pconfigfile.h>
#include <tarnwick/pexception.h>
#include <tarnwick/qstring_format.h>

#include <fmt/format.h>

#include <QtCore/QByteArrayView>
#include <QtCore/QtEnvironmentVariables>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>
#include <vector>

namespace tarnwick::program {
namespace {

using Format = ConfigOptions::Format;
using PelorinPHPX::ConfigFile;
using PelorinPHPX::ConfigObserver;

struct Loaded {
    std::optional<ConfigFile> config;
    ConfigFault fault; ///< why there is none
};

/// The text and, below it, the lines whose includes led there, each behind a tab as in the reader's own faults.
std::string with_includes(std::string text, ConfigPlace const &place)
{
    for (auto const &[file, number] : place.includes())
        text += fmt::format("\n\tincluded at {}:{}", file, number);
    return text;
}

Loaded load(ConfigOptions const &options, ConfigTrail &trail)
{
    for (auto const &[name, value] : options.environment)
        qputenv(name.c_str(), QByteArray::fromStdString(value));
    auto const file = decoded(options.file);
    auto const is_utf8 = QByteArrayView(options.file).isValidUtf8();
    if (auto const reason = is_utf8 ? why_unseen(file) : "the name is not UTF-8, so the file cannot be opened";
        !reason.empty()) {
        auto const name = shown_text(options.file);
        return {{},
                {.what = fmt::format("{}: {}", name, reason),
                 .place = {{decoded(name), 0}},
                 .text = std::string(reason),
                 .notes = {}}};
    }
    try {
        return {ConfigFile::load(file, decoded(options.name), &trail), {}};
    } catch (PException const &error) {
        return {{}, fault_of(options.file, error.what(), trail)};
    }
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
ExitStatus refuse(Output &output, std::string_view text)
{
    output.flush();
    tell(fmt::format("{}\n", text));
    return input_fault;
}

/// The exception's text as it is, and what the program adds in lines of its own.
ExitStatus refuse(Output &output, ConfigFault const &fault)
{
    auto text = ::isatty(STDERR_FILENO) != 0 ? shown_fault(fault.what) : fault.what;
    auto const line = shown(fault.place.line);
    for (auto const &note : fault.notes)
        text += fmt::format("\n{}: note: {}", line, shown_text(note));
    if (!fault.names_place) {
        text += fmt::format("\n{}: note: the files were read up to this line", line);
        for (auto const &include : fault.place.includes())
            text += fmt::format("\n\tincluded at {}", shown(include));
    }
    return refuse(output, text);
}

ExitStatus finish(Output &output)
{
    output.flush();
    return done;
}

constexpr std::string_view name_color = "1;36";
constexpr std::string_view warning_color = "1;33";

/// How text for people looks.
class Style {
public:
    explicit Style(ConfigOptions const &options)
        : color_(is_colored(options.color, STDOUT_FILENO))
    {
    }

    [[nodiscard]] std::string name(std::string_view text) const { return colored(text, name_color); }
    [[nodiscard]] std::string warning(std::string_view text) const { return colored(text, warning_color); }

private:
    [[nodiscard]] std::string colored(std::string_view text, std::string_view color) const
    {
        return color_ ? fmt::format("\x1b[{}m{}\x1b[0m", color, text) : std::string(text);
    }

    bool color_;
};

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

std::string check_text(std::vector<QString> const &files, std::vector<ConfigCheck::Warning> const &warnings,
                       Style const &style)
{
    std::string text;
    for (auto const &file : files)
        text += fmt::format("read {}\n", shown(file));
    for (auto const &[place, problem] : warnings) {
        text += fmt::format("{}: {} {}\n", shown(place.line), style.warning("warning:"), shown_text(problem));
        for (auto const &line : place.includes())
            text += fmt::format("\tincluded at {}\n", shown(line));
    }
    return text;
}

void write_place_and_text(JsonWriter &json, ConfigPlace const &place, std::string const &text)
{
    json.begin_record({});
    line_fields(json, place.line);
    json.field("text");
    json.bytes(with_includes(text, place));
    json.end_record();
}

void write_fault(JsonWriter &json, ConfigFault const &fault)
{
    auto text = fault.text;
    for (auto const &note : fault.notes)
        text += "\n\tnote: " + note;
    write_place_and_text(json, fault.place, text);
}

void write_check(JsonWriter &json, std::vector<QString> const &files, std::vector<ConfigCheck::Warning> const &warnings,
                 ConfigFault const *fault)
{
    json.begin_record({});
    list_field(json, "files", {files.begin(), files.end()});
    json.field("errors");
    json.begin_list();
    if (fault != nullptr)
        json.bytes(fault->what);
    json.end_list();
    json.field("faults");
    json.begin_list();
    if (fault != nullptr)
        write_fault(json, *fault);
    json.end_list();
    json.field("warnings");
    json.begin_list();
    for (auto const &[place, problem] : warnings)
        write_place_and_text(json, place, problem);
    json.end_list();
    json.end_record();
}

// Of a dump.

/// A line that the reader takes for this value: quotes keep blanks at the ends, quotes, and what looks like a
/// reference.
std::string directive(QString const &key, QString const &value, Style const &style)
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

std::string explain_text(ConfigOrigins const &origins, QString const &key, Style const &style)
{
    std::string text;
    auto const values = origins.values(key);
    for (std::size_t i = 0; i < values.size(); ++i) {
        auto const &[value, place, reference] = values[i];
        text += fmt::format("{} = {}\n", style.name(shown(key)), shown(value)) + place_text(place);
        if (reference)
            text +=
                fmt::format("    by the reference to {}: {}\n", shown(reference->name), words_for(reference->source));
        if (i + 1 < values.size())
            text +=
                fmt::format("    shadows '{}' at {}\n", shown(values[i + 1].value), shown(values[i + 1].place.line));
    }
    for (auto const &[place, line, reason] : origins.dropped(key))
        text += fmt::format("{} {}\n", style.warning("dropped:"), shown(line)) + place_text(place) +
                fmt::format("    {}\n", shown_text(reason));
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
    auto const text = fmt::format("{}: there is no key '{}'", shown_text(options.file), shown_text(options.key));
    auto const prefix = config.prefix().value_or(QString());
    if (!prefix.isEmpty() && key.startsWith(prefix) && config.contains(key.sliced(prefix.size())))
        return fmt::format("{}; without the prefix there is '{}'", text, shown(key.sliced(prefix.size())));
    auto const meant = nearest_key(key, prefix, config.keys());
    return meant ? fmt::format("{}; did you mean '{}'?", text, shown(*meant)) : text;
}

} // namespace

ExitStatus config_check(ConfigOptions const &options)
{
    Output output(STDOUT_FILENO);
    ConfigCheck check;
    auto const [config, fault] = load(options, check);
    auto const warnings = check.warnings();
    if (options.format == Format::json) {
        JsonWriter json;
        write_check(json, check.files(), warnings, config ? nullptr : &fault);
        write_line(output, json);
    } else {
        output.write(check_text(check.files(), warnings, Style(options)));
    }
    if (!config)
        return refuse(output, fault);
    output.flush();
    return options.strict && !warnings.empty() ? input_fault : done;
}

ExitStatus config_dump(ConfigOptions const &options)
{
    Output output(STDOUT_FILENO);
    ConfigTrail trail;
    auto const [config, fault] = load(options, trail);
    if (!config)
        return refuse(output, fault);
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
    if (auto const key = key_without_line(*config))
        return refuse(output,
                      fmt::format("{}: '{}' cannot be written as a line: it or its value has a line feed or a carriage "
                                  "return; --format=json prints it",
                                  shown_text(options.file), shown(prefix + *key)));
    Style const style(options);
    for (auto const &key : config->keys()) {
        // The newest comes last, as in a file.
        auto const values = config->values(key);
        for (auto value = values.crbegin(); value != values.crend(); ++value)
            output.write(directive(prefix + key, *value, style));
    }
    return finish(output);
}

ExitStatus config_get(ConfigOptions const &options)
{
    Output output(STDOUT_FILENO);
    ConfigTrail trail;
    auto const [config, fault] = load(options, trail);
    if (!config)
        return refuse(output, fault);
    auto const key = decoded(options.key);
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
    return values.isEmpty() ? refuse(output, absence(options, *config, key)) : finish(output);
}

ExitStatus config_explain(ConfigOptions const &options)
{
    Output output(STDOUT_FILENO);
    ConfigOrigins origins;
    auto const [config, fault] = load(options, origins);
    if (!config)
        return refuse(output, fault);
    auto const key = decoded(options.key);
    if (options.format == Format::json) {
        JsonWriter json;
        write_explanation(json, origins, key);
        write_line(output, json);
    } else {
        output.write(explain_text(origins, key, Style(options)));
    }
    return config->contains(key) ? finish(output) : refuse(output, absence(options, *config, key));
}

} // namespace tarnwick::program
