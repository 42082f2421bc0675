#include "completion.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <string_view>
#include <vector>

namespace tarnwick::program {
namespace {

bool takes_value(CLI::Option const &option)
{
    return option.get_items_expected_min() > 0;
}

/// Candidates that start with a word.
class Candidates {
public:
    explicit Candidates(std::string_view start)
        : start_(start)
    {
    }

    void add(std::string_view name, std::string_view description)
    {
        if (name.starts_with(start_))
            lines_ += fmt::format("{}\t{}\n", name, description);
    }
    void add_commands(CLI::App const &app)
    {
        for (auto const *command : app.get_subcommands([](CLI::App const *) { return true; }))
            add(command->get_name(), command->get_description());
    }
    void add_options(CLI::App const &app)
    {
        for (auto const *option : app.get_options()) {
            for (auto const &name : option->get_lnames())
                add(fmt::format("--{}{}", name, takes_value(*option) ? "=" : ""), option->get_description());
        }
    }
    /// Adds the words that an option takes. The name of its type has them in lower case, and what stands for any other
    /// value in upper case: `default|none|WORD,...`.
    void add_values(CLI::Option const &option, std::string_view before)
    {
        for (auto const &value : CLI::detail::split(option.get_type_name(), '|')) {
            if (!value.empty() && value[0] >= 'a' && value[0] <= 'z')
                add(fmt::format("{}{}", before, value), "");
        }
    }

    [[nodiscard]] std::string const &lines() const { return lines_; }

private:
    std::string_view start_;
    std::string lines_;
};

} // namespace

CLI::App *find_command(CLI::App &app, std::string_view name)
{
    auto const found = app.get_subcommands([name](CLI::App const *command) { return command->get_name() == name; });
    return found.empty() ? nullptr : found.front();
}

std::string completions(CLI::App &app, std::span<char const *const> words)
{
    std::string_view const last = words.empty() ? "" : words.back();
    auto *command = &app;
    CLI::Option const *option = nullptr; // the next word is its value
    for (auto const *text : words.first(words.empty() ? 0 : words.size() - 1)) {
        std::string const word(text);
        if (word == "--")
            return {};
        bool const is_value = option != nullptr;
        option = is_value || !word.starts_with('-') ? nullptr : command->get_option_no_throw(word);
        if (option != nullptr && !takes_value(*option))
            option = nullptr;
        // The words after `help` are commands of the program.
        if (auto *found = is_value || word == "help" ? nullptr : find_command(*command, word))
            command = found;
    }

    Candidates candidates(last);
    auto const equals = last.find('=');
    if (option != nullptr) {
        candidates.add_values(*option, "");
    } else if (last.starts_with("--") && equals != std::string_view::npos) {
        if (auto const *named = command->get_option_no_throw(std::string(last.substr(0, equals))))
            candidates.add_values(*named, last.substr(0, equals + 1));
    } else if (last.starts_with('-')) {
        candidates.add_options(*command);
    } else {
        candidates.add_commands(*command);
    }
    return candidates.lines();
}

} // namespace tarnwick::program
