#include <tarnwick/pconfigfile.h>

#include <tarnwick/config/open_file.h>
#include <tarnwick/config/resolved.h>
#include <tarnwick/log.h>
#include <tarnwick/pconfig_observer.h>
#include <tarnwick/pexception.h>
#include <tarnwick/qstring_format.h>

#include <fmt/format.h>

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QIODevice>

#include <utility>

namespace PelorinPHPX {
namespace {

constexpr tarnwick::Log log{"libs/tarnwick/pconfigfile"};

void load_named(ConfigFile &config, QString const &file)
{
    try {
        config.load();
    } catch (PException const &error) {
        throw PException(fmt::format("Failed to load '{}':\n\t{}", file, error.what()));
    }
    config.set_observer(nullptr); // the observer need not outlive the result
}

} // namespace

ConfigFile::ConfigFile(QString const &file, QString const &name)
{
    if (!name.isEmpty())
        prefix_ = name + u'.';
    set_file_name(file);
}

ConfigFile::ConfigFile(ConfigFile const &parent, QString const &file)
    : parent_(&parent)
    , observer_(parent.observer_)
{
    set_file_name(file);
}

void ConfigFile::set_file_name(QString const &file)
{
    QFileInfo const info(file);
    file_name_ = info.fileName();
    path_ = info.path();
    file_path_ = info.filePath();
    canonical_file_path_ = info.canonicalFilePath();
}

ConfigFile ConfigFile::load(QString const &file, QString const &name)
{
    return load(file, name, nullptr);
}

ConfigFile ConfigFile::load(QString const &file, QString const &name, ConfigObserver *observer)
{
    ConfigFile config(file, name);
    config.set_observer(observer);
    load_named(config, file);
    return config;
}

ConfigFile ConfigFile::load(ConfigFile const &parent, QString const &file)
{
    ConfigFile config(parent, file);
    load_named(config, file);
    return config;
}

void ConfigFile::open(OpenFile &open_file)
{
    log(PLogger::Level::info, "Loading configuration file {}", file_path_);
    line_no_ = 0;
    if (parent_ != nullptr)
        check_path_length();
    if (observer_ != nullptr)
        observer_->opening(*this);
    if (!open_file.file.open(QIODevice::ReadOnly | QIODevice::Text))
        throw PException(fmt::format("{}", open_file.file.errorString()));
    if (observer_ != nullptr)
        observer_->opened(*this);
}

std::optional<QString> ConfigFile::next_include(OpenFile &open_file)
{
    auto &[file, lines, table_size] = open_file;
    while (!file.atEnd()) {
        auto const line = lines.next().trimmed();
        bool const failed = file.error() != QFileDevice::NoError;
        if (lines.is_stuck() && !failed)
            break; // the file is shorter than its reported size, as some files of the kernel are
        line_no_ = next_line_no(line_no_);
        // Even if a part of the line was read before the error: a later read can succeed and return the rest as a line.
        if (failed)
            throw PException(fmt::format("{}", file.errorString()));
        if (line.isEmpty() || line.front() == ';' || line.front() == '#')
            continue;
        if (auto include = process(lines.decoded(line)))
            return include;
        table_size.reserve(values_);
    }
    return std::nullopt;
}

void ConfigFile::process_directive(QString const &line)
{
    if (auto const include = process(line))
        include_file(*include);
}

std::optional<QString> ConfigFile::process(QStringView line)
{
    if (observer_ != nullptr)
        observer_->directive(*this, line);
    auto const equals = line.indexOf(u'=');
    if (equals < 1)
        throw PException(fmt::format("invalid line at {}:{}", file_path_, line_no_));
    auto key = line.first(equals).trimmed();
    if (key.isEmpty())
        throw PException(fmt::format("empty key at {}:{}", file_path_, line_no_));
    auto value = line.sliced(equals + 1).trimmed();

    // Before quotes are removed: quotes protect a value from being a reference. The value of a reference loses its own
    // quotes.
    QString resolved_text;
    if (may_be_reference(value)) {
        QString name;
        std::optional<QString> default_value;
        if (is_var(value.toString(), name, default_value)) {
            auto found = resolved(name, default_value);
            if (!found.value) {
                if (observer_ != nullptr)
                    observer_->unresolved(*this, key, name);
                return std::nullopt;
            }
            if (observer_ != nullptr)
                observer_->resolved(*this, name, found.source);
            resolved_text = *std::move(found.value);
            value = resolved_text;
        }
    }
    value = unquoted(value);

    if (key == u"include")
        return value.toString();
    if (QString const *const prefix = effective_prefix(); prefix != nullptr) {
        if (!key.startsWith(*prefix)) {
            if (observer_ != nullptr)
                observer_->outside_prefix(*this, key, *prefix);
            return std::nullopt;
        }
        key = key.sliced(prefix->size());
    }
    insert(key.toString(), value.toString());
    return std::nullopt;
}

void ConfigFile::add_value(QString const &key, QString const &value)
{
    insert(QString(key), QString(value));
}

void ConfigFile::insert(QString &&key, QString &&value)
{
    log(PLogger::Level::debug, "{} = '{}'", key, value);
    if (observer_ != nullptr)
        observer_->added(*this, key, value);
    values_.emplace(std::move(key), std::move(value));
}

// Programs rely on the order of the values that unite() produces. A loop would change it, and so would skipping values
// that exist already.
void ConfigFile::merge(ConfigFile const &other)
{
    values_.unite(other.values_);
}

QString const *ConfigFile::effective_prefix() const noexcept
{
    for (ConfigFile const *file = this; file != nullptr; file = file->parent_) {
        if (file->prefix_)
            return &*file->prefix_;
    }
    return nullptr;
}

} // namespace PelorinPHPX
