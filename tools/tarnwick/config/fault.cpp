#include "config/fault.h"

#include "config/decoded.h"
#include "config/value_warnings.h"

#include <tarnwick/qstring_format.h>

#include <fmt/format.h>

#include <QtCore/QRegularExpression>

#include <system_error>
#include <utility>

namespace tarnwick::program {
namespace {

using Source = PelorinPHPX::ConfigObserver::Source;

std::string at(ConfigPlace::Line const &line)
{
    return fmt::format(" at {}:{}", line.file, line.number);
}

/// Removes the lines of the file and of the includes from the text of an exception.
std::string without_includes(std::string_view what, std::string const &file,
                             std::vector<ConfigPlace::Line> const &includes)
{
    if (auto const outermost = fmt::format("Failed to load '{}':\n\t", file); what.starts_with(outermost))
        what.remove_prefix(outermost.size());
    for (auto const &include : includes) {
        auto const end = at(include) + "\n\t";
        auto const found = what.find(end);
        if (found == std::string_view::npos)
            break;
        what.remove_prefix(found + end.size());
    }
    return std::string(what);
}

std::string origin_of_value(LineTracker::Reference const &reference)
{
    switch (reference.source) {
    case Source::file:
        return fmt::format("the value comes from '{}' above in this file", reference.name);
    case Source::parent:
        return fmt::format("the value comes from '{}' in the including file", reference.name);
    case Source::environment:
        return fmt::format("the value comes from the environment variable '{}'", reference.name);
    case Source::default_value:
        return fmt::format("the value is the default in the reference to '{}'", reference.name);
    }
    return {};
}

/// Adds notes on an include whose file does not exist.
void add_name_notes(std::string_view name, LineTracker const &tracker, std::vector<std::string> &notes)
{
    auto const slash = name.rfind('/');
    auto const folder = slash == std::string_view::npos ? std::string_view() : name.substr(0, slash);
    if (folder.find_first_of("*?") != std::string_view::npos)
        notes.emplace_back("'*' and '?' are wildcards only in the last part of a path");
    if (auto const value = decoded(name); tracker.is_bare(value)) {
        for (auto &warning : value_warnings(value))
            notes.push_back(std::move(warning));
    }
}

bool has_text_after_quotes(QString const &line)
{
    static QRegularExpression const comment(QStringLiteral(R"(=\s*(["']).*\1\s*[#;])"));
    return comment.match(line).hasMatch();
}

std::vector<std::string> notes_on(std::string_view text, ConfigPlace::Line const &line, LineTracker const &tracker)
{
    std::vector<std::string> notes;
    if (tracker.reference())
        notes.push_back(origin_of_value(*tracker.reference()));
    else if (text.starts_with("unterminated string literal") && has_text_after_quotes(tracker.line()))
        notes.emplace_back("a comment cannot follow a value");
    constexpr std::string_view begin = "include='";
    auto const end = fmt::format("'{}\n\t{}", at(line), std::generic_category().message(ENOENT));
    if (text.starts_with(begin) && text.ends_with(end) && text.size() >= begin.size() + end.size())
        add_name_notes(text.substr(begin.size(), text.size() - begin.size() - end.size()), tracker, notes);
    return notes;
}

} // namespace

ConfigFault make_fault(std::string const &file, std::string what, LineTracker const &tracker)
{
    ConfigFault fault{.what = std::move(what), .place = {{decoded(file), 0}}, .text = {}, .notes = {}};
    if (tracker.place())
        fault.place = *tracker.place();
    fault.text = without_includes(fault.what, file, fault.place.includes());
    if (!tracker.place())
        return fault;
    fault.names_place = (fault.text + '\n').find(at(fault.place.line) + '\n') != std::string::npos;
    fault.notes = notes_on(fault.text, fault.place.line, tracker);
    return fault;
}

} // namespace tarnwick::program
