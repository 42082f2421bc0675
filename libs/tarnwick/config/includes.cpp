// ConfigFile: loading a file and its includes.

#include <tarnwick/config/open_file.h>
#include <tarnwick/pconfig_observer.h>
#include <tarnwick/pconfigfile.h>
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

/// Returns why a folder cannot be listed completely. QDir does not report it: it returns the entries that it read until
/// then. A folder that does not exist, or that may not be read, has no files; that is no error.
std::optional<std::string> listing_error(QString const &folder)
{
    std::error_code error;
    std::filesystem::directory_iterator entry(QFile::encodeName(folder).toStdString(), error);
    while (!error && entry != std::filesystem::directory_iterator())
        entry.increment(error);
    bool const failed = error == std::errc::too_many_files_open || error == std::errc::too_many_files_open_in_system ||
                        error == std::errc::not_enough_memory || error == std::errc::io_error;
    return failed ? std::optional(error.message()) : std::nullopt;
}

} // namespace

/// Reads a file and, at each include, the included files. Nested files are on a list, not on the stack, so only the
/// number of open files limits their depth: each stays open while its includes are read.
class ConfigFile::Loader {
public:
    explicit Loader(ConfigFile &root)
    {
        for (auto const *file = root.parent_; file != nullptr; file = file->parent_)
            ancestors_.insert(file->canonical_file_path_);
        levels_.emplace_back(root);
    }

    /// Reads the root file.
    void load()
    {
        open(levels_.back());
        run();
    }
    /// Reads the files that an include of the root names, where the directive is not in the root's file.
    void include(QString name)
    {
        levels_.back().includes = files_of(levels_.back().config, std::move(name));
        run();
    }

private:
    using Names = std::multiset<QString>;
    struct Include {
        QString name; ///< as messages show it
        QFileInfo file;
    };
    /// A file that is being read, and the includes of its current line.
    struct Level {
        explicit Level(ConfigFile &level_config)
            : config(level_config)
        {
        }

        ConfigFile &config;
        std::optional<OpenFile> file;    ///< absent if the directive is not in the file
        std::list<Include> includes;     ///< of the current line, starting with the current file
        std::optional<ConfigFile> child; ///< the file that is being read
        Names::iterator name;            ///< of `config` in `ancestors_`, while the child is read
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
            level.includes = files_of(level.config, *std::move(include));
        } else {
            if (levels_.size() == 1)
                return false;
            leave();
        }
        return true;
    }

    static void open(Level &level) { level.config.open(level.file.emplace(level.config.file_path_)); }

    /// Opens the next included file.
    void enter(Level &level)
    {
        auto &config = level.config;
        auto const &[name, file] = level.includes.front();
        if (ancestors_.contains(file.canonicalFilePath()))
            throw PException(fmt::format("recursive include='{}' at {}:{}", name, config.file_path_, config.line_no_));
        level.name = ancestors_.insert(config.canonical_file_path_);
        open(levels_.emplace_back(level.child.emplace(config, file.filePath())));
    }

    /// Returns to the including file and merges the values of the included one. The next included file sees them.
    void leave()
    {
        levels_.pop_back();
        auto &[config, file, includes, child, name] = levels_.back();
        ancestors_.erase(name);
        ConfigFile const &included = *child; // NOLINT(bugprone-unchecked-optional-access): set while its file was read
        config.merge(included);
        if (config.observer_ != nullptr)
            config.observer_->merged(config, included);
        child.reset();
        includes.pop_front();
        if (file)
            file->table_size.reserve(config.values_);
    }

    /// Returns the chain of includes that led to the current file, for the text of an exception.
    [[nodiscard]] std::string including_lines() const
    {
        std::string lines;
        for (auto level = levels_.begin(); level != std::prev(levels_.end()); ++level)
            fmt::format_to(std::back_inserter(lines), "include='{}' at {}:{}\n\t", level->includes.front().name,
                           level->config.file_path_, level->config.line_no_);
        return lines;
    }

    static std::list<Include> files_of(ConfigFile const &config, QString include);

    std::list<Level> levels_; ///< the root first; a list, since children point to their parents
    // The files that test_recursion() finds by a walk along all parents, whose cost grows with the depth.
    Names ancestors_; ///< canonical paths of the files above the last level
};

std::list<ConfigFile::Loader::Include> ConfigFile::Loader::files_of(ConfigFile const &config, QString include)
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
    if (auto const error = listing_error(folder.path())) {
        throw PException(
            fmt::format("include='{}' at {}:{}\n\t{}", include, config.file_path_, config.line_no_, *error));
    }
    if (entries.isEmpty()) {
        // The first listing may have failed, and a later one succeeded.
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

// A longer name cannot be opened, except with a NUL in it: the system opens the part before the NUL, but
// test_recursion() compares the whole. A file that includes itself in this way, with a growing name, would never end.
void ConfigFile::check_path_length() const
{
    if (file_path_.toUtf8().size() >= PATH_MAX)
        throw PException(std::generic_category().message(ENAMETOOLONG));
}

// This file itself is not compared: a file that includes itself is opened once more, as its own child, and rejected
// there.
bool ConfigFile::test_recursion(QString const &canonical_path) const
{
    for (ConfigFile const *file = parent_; file != nullptr; file = file->parent_) {
        if (file->canonical_file_path_ == canonical_path)
            return true;
    }
    return false;
}

} // namespace PelorinPHPX
