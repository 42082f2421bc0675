#include "config_check.h"

#include "config/warnings.h"
#include "config_load.h"
#include "config_print.h"
#include "print/readable_text.h"

#include <fmt/format.h>

#include <string>
#include <unistd.h>
#include <vector>

namespace tarnwick::program {
namespace {

std::string check_text(std::vector<QString> const &files, std::vector<ConfigWarnings::Warning> const &warnings,
                       ConfigStyle const &style)
{
    std::string text;
    for (auto const &file : files)
        text += fmt::format("read {}\n", escaped(file));
    for (auto const &[place, problem] : warnings) {
        text += fmt::format("{}: {} {}\n", location_text(place.line), style.warning("warning:"), escaped_text(problem));
        for (auto const &line : place.includes())
            text += fmt::format("\tincluded at {}\n", location_text(line));
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

void write_check(JsonWriter &json, std::vector<QString> const &files,
                 std::vector<ConfigWarnings::Warning> const &warnings, ConfigFault const *fault)
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

} // namespace

ExitStatus config_check(ConfigOptions const &options)
{
    Output output(STDOUT_FILENO);
    ConfigWarnings observed;
    auto const [config, fault] = load_config(options, observed);
    auto const warnings = observed.warnings();
    if (options.format == ConfigOptions::Format::json) {
        JsonWriter json;
        write_check(json, observed.files(), warnings, config ? nullptr : &fault);
        write_line(output, json);
    } else {
        output.write(check_text(observed.files(), warnings, ConfigStyle(options)));
    }
    if (!config)
        return report_failure(output, fault);
    output.flush();
    return options.strict && !warnings.empty() ? input_fault : success;
}

} // namespace tarnwick::program
