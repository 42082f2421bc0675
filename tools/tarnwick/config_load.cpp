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

std::string missing_key_text(ConfigOptions const &options, ConfigFile const &config, QString const &key)
{
    auto const text = fmt::format("{}: there is no key '{}'", shown_text(options.file), shown_text(options.key));
    auto const prefix = config.prefix().value_or(QString());
    if (!prefix.isEmpty() && key.startsWith(prefix) && config.contains(key.sliced(prefix.size())))
        return fmt::format("{}; omit the prefix: '{}'", text, shown(key.sliced(prefix.size())));
    auto const meant = nearest_key(key, prefix, config.keys());
    return meant ? fmt::format("{}; did you mean '{}'?", text, shown(*meant)) : text;
}

} // namespace

LoadedConfig load_config(ConfigOptions const &options, LineTracker &tracker)
{
    for (auto const &[name, value] : options.environment)
        qputenv(name.c_str(), QByteArray::fromStdString(value));
    auto const file = decoded(options.file);
    auto const is_utf8 = QByteArrayView(options.file).isValidUtf8();
    if (auto const reason = is_utf8 ? unreadable_reason(file) : "its name is not UTF-8") {
        auto const name = shown_text(options.file);
        return {{},
                {.what = fmt::format("cannot load {}: {}", name, *reason),
                 .place = {{decoded(name), 0}},
                 .text = std::string(*reason),
                 .notes = {}}};
    }
    try {
        return {ConfigFile::load(file, decoded(options.name), &tracker), {}};
    } catch (PException const &error) {
        return {{}, fault_of(options.file, error.what(), tracker)};
    }
}

// Flushed first, so that the order is right where both streams go to one terminal.
ExitStatus refuse(Output &output, std::string_view text)
{
    output.flush();
    print_error(fmt::format("{}\n", text));
    return input_fault;
}

ExitStatus refuse(Output &output, ConfigFault const &fault)
{
    auto text = ::isatty(STDERR_FILENO) != 0 ? shown_fault(fault.what) : fault.what;
    auto const line = shown(fault.place.line);
    for (auto const &note : fault.notes)
        text += fmt::format("\n{}: note: {}", line, shown_text(note));
    if (!fault.names_place) {
        text += fmt::format("\n{}: note: reading stopped at this line", line);
        for (auto const &include : fault.place.includes())
            text += fmt::format("\n\tincluded at {}", shown(include));
    }
    return refuse(output, text);
}

ExitStatus refuse_key(Output &output, ConfigOptions const &options, ConfigFile const &config, QString const &key)
{
    return refuse(output, missing_key_text(options, config, key));
}

ExitStatus finish(Output &output)
{
    output.flush();
    return done;
}

} // namespace tarnwick::program
