#include <tarnwick/pconfigfile.h>

#include <tarnwick/line_reader.h>
#include <tarnwick/log.h>
#include <tarnwick/pconfig_observer.h>
#include <tarnwick/pconfigfile_resolved.h>
#include <tarnwick/pexception.h>
#include <tarnwick/qstring_format.h>

#include <fmt/format.h>

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QIODevice>

#include <algorithm>
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
}

/// Gives a table room for what a file will probably bring, by what its part so far has brought: growing in small steps
/// would look at every key again and again. The room is in proportion to what is there: 16 times that at most.
class TableSize {
public:
    explicit TableSize(QFile const &file)
        : file_(file)
    {
    }

    void follow(QMultiHash<QString, QString> &table)
    {
        if (table.size() < next_)
            return;
        auto const read = static_cast<double>(std::max<qint64>(1, file_.pos()));
        auto const expected = static_cast<double>(table.size()) * static_cast<double>(file_.size()) / read;
        next_ = table.size() * step;
        table.reserve(static_cast<qsizetype>(std::min(expected, static_cast<double>(next_))));
    }

private:
    static constexpr qsizetype step = 16;

    QFile const &file_;
    qsizetype next_ = 64;
};

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
    config.set_observer(nullptr); // who observed the load need not outlive its result
    return config;
}

ConfigFile ConfigFile::load(ConfigFile const &parent, QString const &file)
{
    ConfigFile config(parent, file);
    load_named(config, file);
    return config;
}

void ConfigFile::load()
{
    log(PLogger::Level::info, "Loading configuration file {}", file_path_);
    line_no_ = 0;
    if (parent_ != nullptr)
        refuse_endless_includes();
    QFile file(file_path_);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        throw PException(fmt::format("{}", file.errorString()));
    if (observer_ != nullptr)
        observer_->opened(*this);

    LineReader lines(file);
    TableSize table_size(file);
    while (!file.atEnd()) {
        auto const line = lines.next().trimmed();
        bool const failed = file.error() != QFileDevice::NoError;
        if (lines.is_stuck() && !failed)
            break; // it is shorter than the system says, as some files of the kernel are
        ++line_no_;
        // Also where a part of the line came before that: a later read can go well, and give the rest as a line.
        if (failed)
            throw PException(fmt::format("{}", file.errorString()));
        if (line.isEmpty() || line.front() == ';' || line.front() == '#')
            continue;
        process(lines.decoded(line));
        table_size.follow(values_);
    }
}

void ConfigFile::process_directive(QString const &line)
{
    process(line);
}

void ConfigFile::process(QStringView line)
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

    // Before quotes are removed: they protect a value from being a reference, and what a reference delivers loses its
    // own.
    QString delivered;
    if (may_be_reference(value)) {
        QString name;
        std::optional<QString> default_value;
        if (is_var(value.toString(), name, default_value)) {
            auto found = resolved(name, default_value);
            if (!found.value) {
                if (observer_ != nullptr)
                    observer_->unresolved(*this, key, name);
                return;
            }
            if (observer_ != nullptr)
                observer_->resolved(*this, name, found.source);
            delivered = *std::move(found.value);
            value = delivered;
        }
    }
    value = unquoted(value);

    if (key == u"include") {
        include_file(value.toString());
        return;
    }
    if (QString const *const prefix = prefix_in_force(); prefix != nullptr) {
        if (!key.startsWith(*prefix)) {
            if (observer_ != nullptr)
                observer_->outside_prefix(*this, key, *prefix);
            return;
        }
        key = key.sliced(prefix->size());
    }
    insert(key.toString(), value.toString());
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

// Programs rely on which value of a key is found first, and that follows from how unite() goes about it: no loop in its
// place, and nothing is left out that is there already.
void ConfigFile::merge(ConfigFile const &other)
{
    values_.unite(other.values_);
}

QString const *ConfigFile::prefix_in_force() const noexcept
{
    for (ConfigFile const *file = this; file != nullptr; file = file->parent_) {
        if (file->prefix_)
            return &*file->prefix_;
    }
    return nullptr;
}

} // namespace PelorinPHPX
