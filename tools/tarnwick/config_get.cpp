#include "config_get.h"

#include "config/decoded.h"
#include "config_load.h"
#include "config_print.h"

#include <tarnwick/qstring_format.h>

#include <fmt/format.h>

#include <unistd.h>

namespace tarnwick::program {
ExitStatus config_get(ConfigOptions const &options)
{
    Output output(STDOUT_FILENO);
    LineTracker tracker;
    auto const [config, fault] = load_config(options, tracker);
    if (!config)
        return report_failure(output, fault);
    auto const key = decoded(options.key);
    auto const values = options.all ? config->values(key) : config->values(key).first(config->contains(key) ? 1 : 0);
    if (options.format == ConfigOptions::Format::json) {
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
    return values.isEmpty() ? report_missing_key(output, options, *config, key) : report_success(output);
}

} // namespace tarnwick::program
