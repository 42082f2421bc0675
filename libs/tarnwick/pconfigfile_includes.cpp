// ConfigFile: includes.

#include <tarnwick/pconfig_observer.h>
#include <tarnwick/pconfigfile.h>
#include <tarnwick/pexception.h>
#include <tarnwick/qstring_format.h>
#include <tarnwick/stack_left.h>

#include <fmt/format.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <climits>
#include <cstddef>
#include <filesystem>
#include <string>
#include <system_error>

namespace PelorinPHPX {
namespace {

bool is_wildcard(QString const &file_name)
{
    return file_name.contains(u'?') || file_name.contains(u'*');
}

// What the system can open has no longer name, unless there is a NUL in it: it is opened up to that then, the test for
// recursion knows only the whole, and a file that includes itself in such a way, its name growing, would have no end.
void refuse_endless_name(QString const &file_path)
{
    if (file_path.toUtf8().size() >= PATH_MAX)
        throw PException(std::generic_category().message(ENAMETOOLONG));
}

// Every level takes its share of the stack.
void refuse_depth_without_stack(ConfigFile const *including)
{
    constexpr int always_fitting = 32; // levels; and it takes some time to ask
    constexpr std::size_t reserve = 131'072;
    int levels = 0;
    for (auto const *file = including; file != nullptr && levels < always_fitting; file = file->parent())
        ++levels;
    if (levels == always_fitting && tarnwick::stack_left() < reserve)
        throw PException("too many includes in each other");
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

void ConfigFile::include_file(QString include)
{
    QFileInfo const target(QDir::isRelativePath(include) ? path_ + u'/' + include : include);
    auto const file_name = target.fileName();
    if (!is_wildcard(file_name)) {
        include_one(include, target);
        return;
    }
    QDir folder(target.path(), file_name);
    folder.setFilter(QDir::Files);
    folder.setSorting(QDir::Name);
    auto entries = folder.entryInfoList();
    if (auto const lack = lack_at_listing(folder.path()); !lack.empty())
        throw PException(fmt::format("include='{}' at {}:{}\n\t{}", include, file_path_, line_no_, lack));
    if (entries.isEmpty()) { // What was lacking may be there again by now.
        folder.refresh();
        entries = folder.entryInfoList();
    }
    if (observer_ != nullptr)
        observer_->matched(*this, include, folder.path(), entries.size());
    // Each is merged before the next is read, and so visible to it. Messages name the entry, not the wildcard.
    for (auto const &entry : entries)
        include_one(entry.filePath(), entry);
}

void ConfigFile::include_one(QString const &name, QFileInfo const &target)
{
    if (test_recursion(target.canonicalFilePath()))
        throw PException(fmt::format("recursive include='{}' at {}:{}", name, file_path_, line_no_));
    ConfigFile included(*this, target.filePath());
    try {
        included.load();
    } catch (PException const &error) {
        throw PException(fmt::format("include='{}' at {}:{}\n\t{}", name, file_path_, line_no_, error.what()));
    }
    merge(included);
    if (observer_ != nullptr)
        observer_->merged(*this, included);
}

void ConfigFile::refuse_endless_includes() const
{
    refuse_endless_name(file_path_);
    refuse_depth_without_stack(parent_);
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
