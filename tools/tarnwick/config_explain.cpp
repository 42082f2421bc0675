#include "config_explain.h"

#include "config/decoded.h"
#include "config/origins.h"
#include "config_load.h"
#include "config_print.h"
#include "print/readable_text.h"

#include <fmt/format.h>

#include <cstddef>
#include <string>
#include <unistd.h>

namespace tarnwick::program {
namespace {

using PelorinPHPX::ConfigObserver;

char const *source_name(ConfigObserver::Source source)
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

char const *source_text(ConfigObserver::Source source)
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
    auto text = fmt::format("    at {}\n", location_text(place.line));
    for (auto const &line : place.includes())
        text += fmt::format("    included at {}\n", location_text(line));
    return text;
}

std::string explain_text(ConfigOrigins const &origins, QString const &key, ConfigStyle const &style)
{
    std::string text;
    auto const values = origins.values(key);
    for (std::size_t i = 0; i < values.size(); ++i) {
        auto const &[value, place, reference] = values[i];
        text += fmt::format("{} = {}\n", style.name(escaped(key)), escaped(value)) + place_text(place);
        if (reference)
            text += fmt::format("    from the reference to {}: {}\n", escaped(reference->name),
                                source_text(reference->source));
        if (i + 1 < values.size())
            text += fmt::format("    shadows '{}' at {}\n", escaped(values[i + 1].value),
                                location_text(values[i + 1].place.line));
    }
    for (auto const &[place, line, reason] : origins.dropped(key))
        text += fmt::format("{} {}\n", style.warning("dropped:"), escaped(line)) + place_text(place) +
                fmt::format("    {}\n", escaped_text(reason));
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
        json.bytes(source_name(origin.reference->source));
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

} // namespace

ExitStatus config_explain(ConfigOptions const &options)
{
    Output output(STDOUT_FILENO);
    ConfigOrigins origins;
    auto const [config, fault] = load_config(options, origins);
    if (!config)
        return report_failure(output, fault);
    auto const key = decoded(options.key);
    if (options.format == ConfigOptions::Format::json) {
        JsonWriter json;
        write_explanation(json, origins, key);
        write_line(output, json);
    } else {
        output.write(explain_text(origins, key, ConfigStyle(options)));
    }
    return config->contains(key) ? report_success(output) : report_missing_key(output, options, *config, key);
}

} // namespace tarnwick::program
