// ConfigFile: a load, with its includes.

#include <tarnwick/pconfig_observer.h>
#include <tarnwick/pconfigfile.h>
#include <tarnwick/config/open_file.h>
#include <tarnwick/pexception.h>
#include <tarnwick/qstring_format.h>

#include <fmt/format.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <cerrno>
#include <climits>
#include <filesystem>
#include <iterator>
#include <list>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <utility>

namespace PelorinPHPX {
namespace {

bool is_wildcard(QString const &file_name)
{
    return file_name.contains(u'?') || file_name.contains(u'*');
}

/// Why a folder cannot be listed to its end, where that is for lack of something: QDir takes what it got until then for
/// all there is. Nothing of a folder that is not there, or closed to us: it has no files for us.
std::string lack_at_listing(QString const &folder)
{
    std::error_code error;
    std::filesystem::directory_iterator entry(QFile::encodeName(folder).toStdString(), error);
    while (!error && entry != std::filesystem::directory_iterator())
        entry.increment(error);
    bool const is_lack = error == std::errc::too_many_files_open || error == std::errc::too_many_files_open_in_system ||
                         error == std::errc::not_enough_memory || error == std::errc::io_error;
    return is_lack ? error.message() : std::string();
}

} // namespace

/// Reads a file and, at each include, the files that it names. Files nest on a list and not on the stack of the thread:
/// how deep they can nest is up to the number of open files alone, since each stays open while its includes are read.
class ConfigFile::Loader {
public:
    explicit Loader(ConfigFile &root)
    {
        for (auto const *file = root.parent_; file != nullptr; file = file->parent_)
            above_.insert(file->canonical_file_path_);
        levels_.emplace_back(root);
    }

    /// Reads the file of the root.
    void load()
    {
        open(levels_.back());
        run();
    }
    /// Reads what the root includes by a directive that is not in its file.
    void include(QString name)
    {
        levels_.back().includes = included_by(levels_.back().config, std::move(name));
        run();
    }

private:
    using Names = std::multiset<QString>;
    struct Include {
        QString name; ///< in messages
        QFileInfo file;
    };
    /// A file that is being read, up to a line that includes others.
    struct Level {
        explicit Level(ConfigFile &level_config)
            : config(level_config)
        {
        }

        ConfigFile &config;
        std::optional<OpenFile> file;    ///< none where the directive is not in the file
        std::list<Include> includes;     ///< of the line, from the one that is being read on
        std::optional<ConfigFile> child; ///< which is being read
        Names::iterator name;            ///< of `config` in the names of files above, while the child is read
    };

    void run()
    {
        try {
            while (step()) {
            }
        } catch (PException const &error) {
            if (levels_.size() == 1)
                throw;
            throw PException(including_lines() + error.what());
        }
    }

    bool step()
    {
        auto &level = levels_.back();
        if (!level.includes.empty()) {
            enter(level);
        } else if (auto include = level.file ? level.config.next_include(*level.file) : std::nullopt) {
            level.includes = included_by(level.config, *std::move(include));
        } else {
            if (levels_.size() == 1)
                return false;
            leave();
        }
        return true;
    }

    static void open(Level &level) { level.config.open(level.file.emplace(level.config.file_path_)); }

    /// Goes on with the file that is to be read next.
    void enter(Level &level)
    {
        auto &config = level.config;
        auto const &[name, file] = level.includes.front();
        if (above_.contains(file.canonicalFilePath()))
            throw PException(fmt::format("recursive include='{}' at {}:{}", name, config.file_path_, config.line_no_));
        level.name = above_.insert(config.canonical_file_path_);
        open(levels_.emplace_back(level.child.emplace(config, file.filePath())));
    }

    /// Goes back to the including file. The values of this one are there before the next one is read, which sees them.
    void leave()
    {
        levels_.pop_back();
        auto &[config, file, includes, child, name] = levels_.back();
        above_.erase(name);
        ConfigFile const &included = *child; // NOLINT(bugprone-unchecked-optional-access): the file that was just left
        config.merge(included);
        if (config.observer_ != nullptr)
            config.observer_->merged(config, included);
        child.reset();
        includes.pop_front();
        if (file)
            file->table_size.follow(config.values_);
    }

    /// The lines that led to the file that is being read, for the text of an exception.
    [[nodiscard]] std::string including_lines() const
    {
        std::string lines;
        for (auto level = levels_.begin(); level != std::prev(levels_.end()); ++level)
            fmt::format_to(std::back_inserter(lines), "include='{}' at {}:{}\n\t", level->includes.front().name,
                           level->config.file_path_, level->config.line_no_);
        return lines;
    }

    static std::list<Include> included_by(ConfigFile const &config, QString include);

    std::list<Level> levels_; ///< the root first; children point to their parents
    // What test_recursion() looks for in a walk along all files above, whose cost grows with the depth of each include.
    Names above_; ///< canonical; of the files above the last level
};

std::list<ConfigFile::Loader::Include> ConfigFile::Loader::included_by(ConfigFile const &config, QString include)
{
    QFileInfo const target(QDir::isRelativePath(include) ? config.path_ + u'/' + include : include);
    auto const file_name = target.fileName();
    std::list<Include> includes;
    if (!is_wildcard(file_name)) {
        includes.push_back({std::move(include), target});
        return includes;
    }
    QDir folder(target.path(), file_name);
    folder.setFilter(QDir::Files);
    folder.setSorting(QDir::Name);
    auto entries = folder.entryInfoList();
    if (auto const lack = lack_at_listing(folder.path()); !lack.empty())
        throw PException(fmt::format("include='{}' at {}:{}\n\t{}", include, config.file_path_, config.line_no_, lack));
    if (entries.isEmpty()) { // What was lacking may be there again by now.
        folder.refresh();
        entries = folder.entryInfoList();
    }
    if (config.observer_ != nullptr)
        config.observer_->matched(config, include, folder.path(), entries.size());
    // Messages name the entry, not the wildcard.
    for (auto const &entry : entries)
        includes.push_back({entry.filePath(), entry});
    return includes;
}

void ConfigFile::load()
{
    Loader(*this).load();
}

void ConfigFile::include_file(QString include)
{
    Loader(*this).include(std::move(include));
}

// What the system can open has no longer name, unless there is a NUL in it: it is opened up to that then, the test for
// recursion knows only the whole, and a file that includes itself in such a way, its name growing, would have no end.
void ConfigFile::refuse_endless_name() const
{
    if (file_path_.toUtf8().size() >= PATH_MAX)
        throw PException(std::generic_category().message(ENAMETOOLONG));
}

// This file itself is left out: one that includes itself is read once more, as its own child, and refused there.
bool ConfigFile::test_recursion(QString const &canonical_path) const
{
    for (ConfigFile const *file = parent_; file != nullptr; file = file->parent_) {
        if (file->canonical_file_path_ == canonical_path)
            return true;
    }
    return false;
}

} // namespace PelorinPHPX
