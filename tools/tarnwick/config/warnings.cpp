#include "config/warnings.h"

#include "config/key_guess.h"
#include "config/value_warnings.h"
#include "print/readable_text.h"

#include <tarnwick/qstring_format.h>

#include <fmt/format.h>

#include <QtCore/QByteArrayView>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <algorithm>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace tarnwick::program {

using PelorinPHPX::ConfigFile;

namespace {

/// Lists a folder as the reader does, which stops at a name that is not UTF-8. Returns why the listing is incomplete.
std::optional<std::string> listing_fault(QString const &folder)
{
    std::error_code error;
    std::filesystem::directory_iterator entry(QFile::encodeName(folder).toStdString(), error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        auto const name = entry->path().filename().string();
        if (!QByteArrayView(name).isValidUtf8())
            return fmt::format("the listing of the folder stopped at the name '{}', which is not UTF-8",
                               escaped_text(name));
    }
    if (error)
        return fmt::format("cannot list '{}': {}", escaped(folder), error.message());
    return std::nullopt;
}

/// Returns whether a file has content. Files of the kernel can have content and a size of 0; some block when read.
bool has_content(QString const &file)
{
    auto const descriptor = ::open(QFile::encodeName(file).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    char byte = 0;
    auto const has_byte = ::read(descriptor, &byte, 1) == 1;
    ::close(descriptor);
    return has_byte;
}

/// Returns whether a key is `include` with a prefix or in another case.
bool is_like_include(QString const &key)
{
    return key.sliced(key.lastIndexOf(u'.') + 1).compare(u"include", Qt::CaseInsensitive) == 0;
}

} // namespace

std::optional<std::string_view> unreadable_reason(QString const &file)
{
    QFileInfo const info(file);
    if (!info.exists() || info.isDir())
        return std::nullopt;
    if (!info.isFile())
        return "it is not a regular file";
    if (info.size() == 0 && has_content(file))
        return "it has a size of 0 although it has content";
    return std::nullopt;
}

void ConfigWarnings::warn(ConfigFile const &file, std::string text)
{
    notes_.push_back({place_of(file), std::move(text)});
}

std::vector<ConfigWarnings::Warning> ConfigWarnings::warnings() const
{
    std::vector<Warning> warnings;
    warnings.reserve(notes_.size() + 1);
    if (auto unused = unused_prefix())
        warnings.push_back(*std::move(unused));
    for (auto const &note : notes_)
        warnings.push_back({note.place, full_text(note)});
    return warnings;
}

// The suggestions depend on the keys of all files.
std::string ConfigWarnings::full_text(Note const &note) const
{
    if (note.unresolved)
        return note.text + reason(*note.unresolved);
    if (auto const meant = note.outside.isNull() ? std::nullopt : probable_key(note.outside, prefix(), keys_))
        return fmt::format("{}; did you mean '{}'?", note.text, *meant);
    return note.text;
}

std::optional<ConfigWarnings::Warning> ConfigWarnings::unused_prefix() const
{
    constexpr qsizetype longest_list = 10;
    auto const outside = std::ranges::find_if(notes_, [](Note const &note) { return !note.outside.isNull(); });
    if (uses_prefix_ || outside == notes_.end())
        return std::nullopt;
    QSet<QString> found;
    for (auto const &note : notes_) {
        if (auto const point = note.outside.indexOf(u'.'); point > 0)
            found.insert(u'\'' + note.outside.first(point + 1) + u'\'');
    }
    auto prefixes = found.values();
    prefixes.sort();
    auto const more = prefixes.size() - longest_list;
    auto const list = prefixes.isEmpty() ? QStringLiteral("none")
                                         : prefixes.first(std::min(longest_list, prefixes.size())).join(u", ");
    return Warning{outside->place, fmt::format("no key starts with the prefix '{}'; prefixes in use: {}{}", prefix(),
                                               list, more > 0 ? fmt::format(" and {} more", more) : std::string())};
}

void ConfigWarnings::opened(ConfigFile const &file)
{
    files_.push_back(file.file_path());
    auto const reason = unreadable_reason(file.file_path());
    if (auto const *parent = file.parent(); parent != nullptr && reason)
        warn(*parent, fmt::format("'{}' is read as empty: {}", file.file_path(), *reason));
    KeyTracker::opened(file);
    raw_lines_.push_back(reason ? RawLines() : RawLines(file.file_path()));
    warn_of_lost_comments(file);
}

// The reader does not report comments to observers, so this runs when the file is opened.
void ConfigWarnings::warn_of_lost_comments(ConfigFile const &file)
{
    auto const &raw = raw_lines_.back();
    if (raw.failure())
        warn(file, fmt::format("cannot open the file again to check its bytes: {}", *raw.failure()));
    for (auto const &[number, line] : raw.lines()) {
        if (!line.is_comment || !line.hides_text)
            continue;
        auto place = place_of(file);
        place.line.number = static_cast<std::int32_t>(number);
        notes_.push_back({place, "a carriage return does not end a line: the text after it is part of the comment"});
    }
}

void ConfigWarnings::directive(ConfigFile const &file, QStringView line)
{
    KeyTracker::directive(file, line);
    auto const &lines = raw_lines_.back().lines();
    auto const found = lines.find(file.line_no());
    if (found == lines.end())
        return;
    auto const &raw = found->second;
    if (!raw.is_utf8)
        warn(file, "bytes that are not UTF-8 are replaced by U+FFFD");
    if (line.count(u'\r') < raw.carriage_returns)
        warn(file, "carriage returns inside the line are dropped: only a line feed ends a line");
    if (raw.is_marked_comment)
        warn(file, "the byte-order mark before the comment makes it a directive");
}

void ConfigWarnings::unresolved(ConfigFile const &file, QStringView key, QString const &name)
{
    KeyTracker::unresolved(file, key, name);
    uses_prefix_ = uses_prefix_ || key.startsWith(prefix());
    notes_.push_back(
        {place_of(file), fmt::format("'{}' is dropped: ", key.toString()), {}, unresolved_reference(file, name)});
}

void ConfigWarnings::outside_prefix(ConfigFile const &file, QStringView key, QString const &prefix)
{
    KeyTracker::outside_prefix(file, key, prefix);
    auto const written = key.toString();
    auto const *const advice = is_like_include(written) ? "; only 'include' reads a file" : "";
    notes_.push_back({place_of(file),
                      fmt::format("'{}' is dropped: it is outside the prefix '{}'{}", written, prefix, advice),
                      written});
}

void ConfigWarnings::added(ConfigFile const &file, QString const &key, QString const &value)
{
    KeyTracker::added(file, key, value);
    uses_prefix_ = true;
    keys_.insert(key);
    if (auto const written = prefix() + key; is_like_include(written))
        warn(file, fmt::format("'{}' is an ordinary key: only 'include' reads a file", written));
    if (is_bare(value))
        warn_all(file, value_warnings(value));
}

void ConfigWarnings::warn_all(ConfigFile const &file, std::vector<std::string> &&texts)
{
    for (auto &text : texts)
        warn(file, std::move(text));
}

void ConfigWarnings::matched(ConfigFile const &file, QString const &include, QString const &folder, qsizetype files)
{
    if (is_bare(include))
        warn_all(file, pattern_warnings(include));
    auto const fault = listing_fault(folder);
    if (files > 0 && !fault)
        return;
    auto const text = files == 0 ? fmt::format("no file matches '{}'", include)
                                 : fmt::format("files that match '{}' may be missing", include);
    warn(file, fault ? fmt::format("{}: {}", text, *fault) : text);
}

void ConfigWarnings::merged(ConfigFile const &file, ConfigFile const &included)
{
    KeyTracker::merged(file, included);
    raw_lines_.pop_back();
    if (file.values().size() == included.values().size())
        return; // An empty table keeps the order of the included one.
    for (auto const &key : included.keys()) {
        auto const now = file.value(key);
        auto const before = included.value(key);
        if (now != before)
            warn(file,
                 fmt::format("after this include, the most recent value of '{}{}' is '{}', but in '{}' it is '{}'",
                             prefix(), key, now.value_or(QString()), included.file_path(), before.value_or(QString())));
    }
}

} // namespace tarnwick::program
