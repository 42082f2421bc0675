#include "config_check.h"

#include "key_guess.h"
#include "readable_text.h"

#include <tarnwick/qstring_format.h>

#include <fmt/format.h>

#include <QtCore/QByteArrayView>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>

namespace tarnwick::program {

using PelorinPHPX::ConfigFile;

namespace {

/// The first name in the folder that is not UTF-8, if there is one: the reader sees none of those that the system lists
/// behind it.
std::string name_that_ends_listing(QString const &folder)
{
    std::error_code error;
    std::filesystem::directory_iterator entry(folder.toStdString(), error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        auto const name = entry->path().filename().string();
        if (!QByteArrayView(name).isValidUtf8())
            return name;
    }
    return {};
}

/// Files of the kernel give bytes though their size is 0; some would wait until there are any.
bool gives_bytes(QString const &file)
{
    auto const descriptor = ::open(QFile::encodeName(file).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    char byte = 0;
    auto const given = ::read(descriptor, &byte, 1) == 1;
    ::close(descriptor);
    return given;
}

} // namespace

std::string_view why_unseen(QString const &file)
{
    QFileInfo const info(file);
    if (!info.exists() || info.isDir())
        return {};
    if (!info.isFile())
        return "is no regular file";
    if (info.size() == 0 && gives_bytes(file))
        return "has a size of 0, though there is something in it";
    return {};
}

std::vector<ConfigCheck::Warning> ConfigCheck::warnings() const
{
    std::vector<Warning> warnings;
    warnings.reserve(notes_.size());
    for (auto const &[place, text, key] : notes_) {
        // Only now are all keys known that it can have been meant to be.
        auto const meant = key.isNull() ? std::nullopt : probable_key(key, prefix_, keys_);
        warnings.push_back({place, meant ? fmt::format("{}; did you mean '{}'?", text, *meant) : text});
    }
    return warnings;
}

void ConfigCheck::opened(ConfigFile const &file)
{
    files_.push_back(file.file_path());
    if (auto const *parent = file.parent(); parent != nullptr) {
        if (auto const reason = why_unseen(file.file_path()); !reason.empty())
            notes_.push_back(
                {place_of(*parent), fmt::format("'{}' {}: it is read as empty", file.file_path(), reason), {}});
    }
    ConfigTrail::opened(file);
}

void ConfigCheck::unresolved(ConfigFile const &file, QStringView key, QString const &name)
{
    notes_.push_back({place_of(file),
                      fmt::format("'{}' is dropped: it refers to '{}', which is nowhere", key.toString(), name),
                      {}});
}

void ConfigCheck::outside_prefix(ConfigFile const &file, QStringView key, QString const &prefix)
{
    prefix_ = prefix;
    auto const written = key.toString();
    notes_.push_back(
        {place_of(file), fmt::format("'{}' is dropped: it is outside the prefix '{}'", written, prefix), written});
}

void ConfigCheck::added(ConfigFile const & /*file*/, QString const &key, QString const & /*value*/)
{
    keys_.insert(key);
}

void ConfigCheck::matched(ConfigFile const &file, QString const &include, QString const &folder, qsizetype files)
{
    auto const end = name_that_ends_listing(folder);
    if (files > 0 && end.empty())
        return;
    auto text = files == 0 ? fmt::format("no file matches '{}'", include)
                           : fmt::format("files that match '{}' may be missing", include);
    if (!end.empty())
        text += fmt::format(": the listing of the folder ended at '{}', which is not UTF-8", shown_text(end));
    notes_.push_back({place_of(file), text, {}});
}

} // namespace tarnwick::program
