#include "config_load.h"

#include "config/decoded.h"
#include "config/key_guess.h"
#include "config/warnings.h"
#include "print/readable_text.h"
#include "standard_error.h"

#include <tarnwick/pexception.h>
#include <tarnwick/qstring_format.h>

#include <fmt/format.h>

#include <QtCore/QByteArrayView>
#include <QtCore/QtEnvironmentVariables>

#include <string>
#include <string_view>
#include <unistd.h>

namespace tarnwick::program {
namespace {

using PelorinPHPX::ConfigFile;

/// Escapes the control characters of a fault, except its line feeds and tabs.
std::string escaped_fault(std::string_view what)
{
    std::string escaped;
    for (std::size_t end = 0; (end = what.find_first_of("\n\t")) != std::string_view::npos;) {
        escaped += escaped_text(what.substr(0, end)) + what[end];
        what.remove_prefix(end + 1);
    }
    return escaped + escaped_text(what);
}

std::string missing_key_text(ConfigOptions const &options, ConfigFile const &config, QString const &key)
{
    auto const text = fmt::format("{}: there is no key '{}'", escaped_text(options.file), escaped_text(options.key));
    auto const prefix = config.prefix().value_or(QString());
    if (!prefix.isEmpty() && key.startsWith(prefix) && config.contains(key.sliced(prefix.size())))
        return fmt::format("{}; omit the prefix: '{}'", text, escaped(key.sliced(prefix.size())));
    auto const meant = nearest_key(key, prefix, config.keys());
    return meant ? fmt::format("{}; did you mean '{}'?", text, escaped(*meant)) : text;
}

} // namespace

LoadedConfig load_config(ConfigOptions const &options, LineTracker &tracker)
{
    for (auto const &[name, value] : options.environment)
        qputenv(name.c_str(), QByteArray::fromStdString(value));
    auto const file = decoded(options.file);
    auto const is_utf8 = QByteArrayView(options.file).isValidUtf8();
    if (auto const reason = is_utf8 ? unreadable_reason(file) : "its name is not UTF-8") {
        auto const name = escaped_text(options.file);
        return {{},
                {.what = fmt::format("cannot load {}: {}", name, *reason),
                 .place = {{decoded(name), 0}},
                 .text = std::string(*reason),
                 .notes = {}}};
    }
    try {
        return {ConfigFile::load(file, decoded(options.name), &tracker), {}};
    } catch (PException const &error) {
        return {{}, make_fault(options.file, error.what(), tracker)};
    }
}

// The flush keeps the order if both streams go to one terminal.
ExitStatus report_failure(Output &output, std::string_view text)
{
    output.flush();
    print_error(fmt::format("{}\n", text));
    return input_fault;
}

ExitStatus report_failure(Output &output, ConfigFault const &fault)
{
    auto text = ::isatty(STDERR_FILENO) != 0 ? escaped_fault(fault.what) : fault.what;
    auto const line = location_text(fault.place.line);
    for (auto const &note : fault.notes)
        text += fmt::format("\n{}: note: {}", line, escaped_text(note));
    if (!fault.names_place) {
        text += fmt::format("\n{}: note: reading stopped at this line", line);
        for (auto const &include : fault.place.includes())
            text += fmt::format("\n\tincluded at {}", location_text(include));
    }
    return report_failure(output, text);
}

ExitStatus report_missing_key(Output &output, ConfigOptions const &options, ConfigFile const &config,
                              QString const &key)
{
    return report_failure(output, missing_key_text(options, config, key));
}

ExitStatus report_success(Output &output)
{
    output.flush();
    return success;
}

} // namespace tarnwick::program
