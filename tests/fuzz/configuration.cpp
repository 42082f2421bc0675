// Fuzz target: the reader of configuration files, compared with a reference reader. An input is several files that can
// include each other. Its first line is the name by which the program loads them; a line `%% FILE` starts each file.

#include "fuzz/promise.h"
#include "fuzz/random.h"
#include "fuzz/target.h"

#include "support/config_files.h"
#include "support/literal_config_file.h"

#include <tarnwick/pconfig_observer.h>
#include <tarnwick/pconfigfile.h>
#include <tarnwick/pexception.h>

#include <QtCore/QtLogging>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarnwick::fuzz {
namespace {

using namespace std::string_view_literals;
using PelorinPHPX::ConfigFile;

constexpr std::array file_names{"f.conf"sv, "a.conf"sv, "b.conf"sv, "d/c.conf"sv, "d/f.conf"sv};

struct Files {
    std::string_view name; ///< the program loads the first file by this name
    std::map<std::string_view, std::string_view> content;
};

/// If a file occurs twice, the last one counts.
Files files_of(std::string_view input)
{
    auto const line_end = input.find('\n');
    Files files{.name = input.substr(0, line_end), .content = {}};
    std::string_view *content = nullptr;
    std::size_t from = line_end;
    for (std::size_t at = line_end; at != std::string_view::npos; at = input.find('\n', at + 1)) {
        auto const line = input.substr(at + 1, input.find('\n', at + 1) - (at + 1));
        auto const name = line.starts_with("%% ") ? std::ranges::find(file_names, line.substr(3)) : file_names.end();
        if (name == file_names.end())
            continue;
        if (content != nullptr)
            *content = input.substr(from, at < from ? 0 : at - from);
        from = std::min(at + 1 + line.size() + 1, input.size());
        content = &files.content[*name];
        *content = input.substr(from);
    }
    return files;
}

/// Whether no include can leave the folder, for devices or for files that other programs change. Each slash must follow
/// `d` or a dot, and two dots must follow `d/`.
bool stays_inside(std::string_view input)
{
    std::string text(input);
    std::erase(text, '\r'); // the reader drops some of them
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '/' && (i == 0 || (text[i - 1] != 'd' && text[i - 1] != '.')))
            return false;
        if (text[i] == '.' && i > 0 && text[i - 1] == '.' && (i < 3 || text.substr(i - 3, 2) != "d/"))
            return false;
    }
    return true;
}

/// The folder of the files, which has no other files.
class Folder {
public:
    Folder()
    {
        // Qt warns of names with a NUL.
        qInstallMessageHandler([](QtMsgType, QMessageLogContext const &, QString const &) {});
        // Replaces the environment of the machine by variables of each kind.
        // NOLINTBEGIN(concurrency-mt-unsafe): there is one thread
        ::clearenv();
        ::setenv("E", "env", 1);
        ::setenv("app.e", " \"it's\" ", 1);
        ::setenv("F", "a.conf", 1);
        ::setenv("X", "\xEF\xBB\xBF\xC3", 1);
        // NOLINTEND(concurrency-mt-unsafe)
        std::filesystem::create_directories(folder_.path("d"));
        for (auto const name : file_names)
            paths_.emplace(name, folder_.path(std::string(name)));
    }

    void write(Files const &files)
    {
        for (auto const &[name, path] : paths_) {
            auto const wanted = files.content.find(name);
            auto const current = written_.find(name);
            if (wanted == files.content.end()) {
                if (current != written_.end()) {
                    std::filesystem::remove(path);
                    written_.erase(current);
                }
            } else if (current == written_.end() || current->second != wanted->second) {
                std::ofstream(path, std::ios::binary) << wanted->second;
                written_.insert_or_assign(name, std::string(wanted->second));
            }
        }
    }
    [[nodiscard]] QString first() const { return test::q(paths_.at(file_names.front())); }

private:
    test::ConfigFolder folder_;
    std::map<std::string_view, std::string> paths_;
    std::map<std::string_view, std::string> written_;
};

struct TooManyFiles {};

/// Stops a load that would take long: a few files that include each other are opened many times, and a file whose name
/// has a NUL can include itself.
struct Limit final : PelorinPHPX::ConfigObserver {
    int files_left = 40;
    void opened(ConfigFile const & /*file*/) override
    {
        if (--files_left == 0)
            throw TooManyFiles();
    }
};

/// Loads a file. Returns the text of the exception, empty if there is none.
template <class File>
std::string failure_of_load(File &file)
{
    try {
        file.load();
    } catch (PException const &error) {
        return error.what();
    }
    return {};
}

template <class File, class Other>
bool same_values(File const &file, Other const &other)
{
    auto const &values = file.values();
    auto const &others = other.values();
    return values.size() == others.size() && std::ranges::all_of(values.uniqueKeys(), [&](QString const &key) {
               return values.values(key) == others.values(key);
           });
}

bool check_files(QString const &file, QString const &name)
{
    ConfigFile config(file, name);
    Limit limit;
    config.set_observer(&limit);
    std::string failure;
    try {
        failure = failure_of_load(config);
    } catch (TooManyFiles const &) {
        return false;
    }
    ConfigFile again(file, name);
    expect(failure_of_load(again) == failure && again.line_no() == config.line_no() && same_values(config, again),
           "two loads of a file are equal");
    // The reference reader does not detect names that grow without end.
    if (failure.find("File name too long") != std::string::npos)
        return false;
    test::LiteralConfigFile literal(file, name);
    expect(failure_of_load(literal) == failure, "a load fails as in the reference reader, with the same text");
    expect(literal.line_no() == config.line_no(), "a load ends at the same line as in the reference reader");
    expect(same_values(config, literal), "a load has the same values as the reference reader");
    return failure.empty();
}

bool check(std::string_view input)
{
    static Folder folder;
    auto const files = files_of(input);
    if (!files.content.contains(file_names.front()) || !stays_inside(input))
        return false;
    folder.write(files);
    auto const file = folder.first();
    auto const name = test::q(files.name);
    bool is_read = false;
    expect_clean_run([&] { is_read = check_files(file, name); });
    return is_read;
}

// Mutation of lines.

constexpr std::array words{"a"sv,
                           "b"sv,
                           "app.a"sv,
                           "app.b"sv,
                           "app."sv,
                           "include"sv,
                           "app.include"sv,
                           "a.conf"sv,
                           "b.conf"sv,
                           "d/c.conf"sv,
                           "./a.conf"sv,
                           "d/../b.conf"sv,
                           "*.conf"sv,
                           "d/?.conf"sv,
                           "*.none"sv,
                           "none.conf"sv,
                           "${a}"sv,
                           "${app.a}"sv,
                           "${app.b:-x}"sv,
                           "${none:-}"sv,
                           "${none:-'d e'}"sv,
                           "${none}"sv,
                           "${E}"sv,
                           "${F}"sv,
                           "${X}"sv,
                           "${app.e}"sv,
                           "'quoted'"sv,
                           "\"quoted\""sv,
                           "'"sv,
                           "''"sv,
                           "\"${a}\""sv,
                           "1"sv,
                           ""sv,
                           " "sv,
                           "\t"sv,
                           "\v"sv,
                           "\xC2\xA0"sv,
                           "\xC3\xA4"sv,
                           "\xC3"sv,
                           "\xEF\xBB\xBF"sv,
                           "\0"sv,
                           "="sv,
                           "\r"sv};
constexpr std::array keys{"a"sv, "b"sv, "app.a"sv, "app.b"sv, "include"sv, "include"sv, "app.include"sv};

/// An include that succeeds in the first file if `file` exists.
struct Include {
    std::string_view target;
    std::string_view file;
};
constexpr std::array includes{Include{"a.conf", "a.conf"},      Include{"a*", "a.conf"},
                              Include{"${F}", "a.conf"},        Include{"b.conf", "b.conf"},
                              Include{"d/../b.con?", "b.conf"}, Include{"d/c.conf", "d/c.conf"},
                              Include{"d/*", "d/c.conf"},       Include{"d/f.conf", "d/f.conf"}};

std::vector<std::string> lines_of(std::string_view text)
{
    std::vector<std::string> lines;
    for (std::size_t end = 0; (end = text.find('\n')) != std::string_view::npos; text.remove_prefix(end + 1))
        lines.emplace_back(text.substr(0, end));
    lines.emplace_back(text);
    return lines;
}

std::string joined(std::vector<std::string> const &lines)
{
    std::string text = lines.front();
    for (std::size_t i = 1; i < lines.size(); ++i)
        text += '\n' + lines[i];
    return text;
}

/// Whether a line probably makes a load fail. Known includes of the first file do not.
bool is_faulty(std::string_view line, std::string_view input, std::string_view file)
{
    auto const first = line.find_first_not_of(" \t\r\v\f");
    if (first == line.npos || line[first] == '#' || line[first] == ';')
        return false;
    auto const equals = line.find('=');
    if (equals == line.npos || equals <= first || std::ranges::count(line, '\'') == 1 ||
        std::ranges::count(line, '"') == 1)
        return true;
    if (!line.substr(first).starts_with("include"))
        return false;
    auto const target = line.substr(std::min(line.find_first_not_of(' ', equals + 1), line.size()));
    auto const known = std::ranges::find(includes, target, &Include::target);
    return file != file_names.front() || known == includes.end() ||
           input.find("%% " + std::string(known->file) + "\n") == input.npos;
}

/// Removes the lines that make a load fail, since every mutant would fail there too.
std::vector<std::string> without_faults(std::vector<std::string> lines, std::string_view input)
{
    std::string file;
    std::size_t kept = 1;
    for (std::size_t i = 1; i < lines.size(); ++i) {
        if (lines[i].starts_with("%% "))
            file = lines[i].substr(3);
        else if (is_faulty(lines[i], input, file))
            continue;
        std::swap(lines[kept++], lines[i]);
    }
    lines.resize(std::min(kept, lines.size()));
    return lines;
}

std::string new_line(Random &random)
{
    if (random.one_in(8))
        return "%% " + std::string(random.one_of(file_names));
    if (random.one_in(12))
        return "# " + std::string(random.one_of(words));
    auto const key = random.one_of(keys);
    auto const value = key == "include" && !random.one_in(8) ? random.one_of(includes).target : random.one_of(words);
    return std::string(key) + (random.one_in(2) ? " = " : "=") + std::string(value);
}

void mutate_line(std::string &line, Random &random, MutateBytes mutate_bytes)
{
    constexpr std::size_t longest_growth = 24;
    switch (random.below(4)) {
    case 0:
        line.insert(random.below(line.size() + 1), random.one_of(words));
        break;
    case 1:
        if (auto const equals = line.find('='); equals != std::string::npos)
            line.replace(equals + 1, std::string::npos, random.one_of(words));
        break;
    case 2:
        if (auto const equals = line.find('='); equals != std::string::npos)
            line.replace(0, equals, random.one_of(keys));
        break;
    default: {
        auto const size = line.size();
        line.resize(size + longest_growth);
        line.resize(mutate_bytes(reinterpret_cast<std::uint8_t *>(line.data()), size, line.size()));
    }
    }
}

std::string mutated(std::string_view input, std::uint32_t seed, MutateBytes mutate_bytes)
{
    Random random(seed);
    auto lines = lines_of(input);
    if (!random.one_in(8))
        lines = without_faults(std::move(lines), input);
    if (lines.size() < 3)
        lines = {random.one_in(2) ? "" : "app", "%% f.conf", new_line(random)};
    do {
        auto const at = 1 + random.below(lines.size());
        auto const place = lines.begin() + static_cast<std::ptrdiff_t>(at);
        auto &line = lines[std::min(at, lines.size() - 1)];
        switch (random.below(8)) {
        case 0:
        case 1:
        case 2:
            lines.insert(place, new_line(random));
            break;
        case 3:
            std::swap(line, lines[1 + random.below(lines.size() - 1)]);
            break;
        case 4:
            lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(std::min(at, lines.size() - 1)));
            break;
        case 5: {
            auto const copy = line;
            lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(1 + random.below(lines.size())), copy);
            break;
        }
        default:
            if (!line.starts_with("%% "))
                mutate_line(line, random, mutate_bytes);
        }
    } while (lines.size() > 2 && random.one_in(3));
    if (random.one_in(50))
        lines.front() = random.one_in(2) ? "" : random.one_of(words);
    return joined(lines);
}

std::string crossed(std::string_view input, std::string_view other, std::uint32_t seed)
{
    Random random(seed);
    auto lines = lines_of(input);
    auto const others = lines_of(other);
    auto const from = random.below(others.size());
    auto const count = 1 + random.below(std::min<std::size_t>(8, others.size() - from));
    auto const first = others.begin() + static_cast<std::ptrdiff_t>(from);
    lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(1 + random.below(lines.size())), first,
                 first + static_cast<std::ptrdiff_t>(count));
    return joined(random.one_in(8) ? lines : without_faults(lines, joined(lines)));
}

} // namespace

constinit Target const configuration{.name = "configuration", .check = check, .mutated = mutated, .crossed = crossed};

} // namespace tarnwick::fuzz
