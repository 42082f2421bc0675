#pragma once

// The reader of configuration files. The form of such a file is told in tarnwick-config(5).

#include <tarnwick/export.h>

#include <QtCore/QMultiHash>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QStringView>

#include <cstdint>
#include <optional>

namespace PelorinPHPX {

class ConfigObserver;

/// A configuration file, read: a table of texts in which a key can have several values.
///
///     auto const config = ConfigFile::load("/etc/app.conf", "app");
///     auto const port = config.value("port"); // of the line `app.port = 8080`
///
/// Whatever is wrong with a file, or with one that it includes, is a `PException` whose text has a line for each level
/// of inclusion. What is no error is skipped without a word: keys outside the prefix, references that nothing resolves,
/// wildcards that match nothing. A `ConfigObserver` is told.
///
/// | Accessor                | Meaning                                                                             |
/// |-------------------------|-------------------------------------------------------------------------------------|
/// | `parent()`              | the file that includes this one, which outlives it; null for a root                 |
/// | `file_name()`           | the last part of the file's name                                                    |
/// | `path()`                | the folder in which relative includes of this file are looked for                   |
/// | `file_path()`           | what the file is opened by, and its name in every message                           |
/// | `canonical_file_path()` | taken when the name was set; empty where there was no such file                     |
/// | `prefix()`              | of keys, with its final point; only a root with a name has one                      |
/// | `line_no()`             | of the line being processed, or of the last one, from 1; 0 before the first;        |
/// |                         | from line 2,147,483,647 on it stays at that                                         |
/// | `values()`              | the table, keys without the prefix; the most recent value of a key is found first   |
class ConfigFile {
public:
    /// A root. An empty `name` means that keys have no prefix. The file is not read yet.
    TARNWICK_EXPORT ConfigFile(QString const &file, QString const &name);
    /// A file that `parent` includes.
    TARNWICK_EXPORT ConfigFile(ConfigFile const &parent, QString const &file);
    ConfigFile(ConfigFile const &&parent, QString const &file) = delete; // parent() would dangle
    ConfigFile(ConfigFile const &) = default;
    ConfigFile(ConfigFile &&) = default;
    ConfigFile &operator=(ConfigFile const &) = default;
    ConfigFile &operator=(ConfigFile &&) = default;
    ~ConfigFile() = default;

    [[nodiscard]] ConfigFile const *parent() const noexcept { return parent_; }
    [[nodiscard]] QString const &file_name() const noexcept { return file_name_; }
    [[nodiscard]] QString const &path() const noexcept { return path_; }
    [[nodiscard]] QString const &file_path() const noexcept { return file_path_; }
    [[nodiscard]] QString const &canonical_file_path() const noexcept { return canonical_file_path_; }
    [[nodiscard]] std::optional<QString> const &prefix() const noexcept { return prefix_; }
    [[nodiscard]] std::int32_t line_no() const noexcept { return line_no_; }
    [[nodiscard]] QMultiHash<QString, QString> const &values() const noexcept { return values_; }

    /// The most recent value of a key.
    [[nodiscard]] std::optional<QString> value(QString const &key) const
    {
        auto const found = values_.constFind(key);
        return found == values_.cend() ? std::nullopt : std::optional(*found);
    }
    /// All values of a key, newest first.
    [[nodiscard]] QStringList values(QString const &key) const { return values_.values(key); }
    /// Sorted, each once.
    [[nodiscard]] QStringList keys() const
    {
        QStringList keys = values_.uniqueKeys();
        keys.sort();
        return keys;
    }
    [[nodiscard]] bool contains(QString const &key) const { return values_.contains(key); }

    /// Who is told what the reader does; null, as at the start, for nobody. Files included from here on inherit it.
    void set_observer(ConfigObserver *observer) noexcept { observer_ = observer; }

    TARNWICK_EXPORT void set_file_name(QString const &file);

    /// Reads the file. After an exception the values of the lines before the failing one are there. A second call reads
    /// the file once more and adds its values once more.
    TARNWICK_EXPORT void load();
    /// Makes an object and reads its file. The exception names the file as it is given here.
    [[nodiscard]] TARNWICK_EXPORT static ConfigFile load(QString const &file, QString const &name);
    /// The same; `observer`, which may be null, is told of this load and of nothing later.
    [[nodiscard]] TARNWICK_EXPORT static ConfigFile load(QString const &file, QString const &name,
                                                         ConfigObserver *observer);
    /// Reads a file that sees the values of `parent`. An observer of `parent` observes this load and nothing later.
    [[nodiscard]] TARNWICK_EXPORT static ConfigFile load(ConfigFile const &parent, QString const &file);
    static ConfigFile load(ConfigFile const &&parent, QString const &file) = delete; // parent() would dangle

    /// One line, without white space around it, that is no comment.
    TARNWICK_EXPORT void process_directive(QString const &line);
    /// Adds a value, which never replaces another.
    TARNWICK_EXPORT void add_value(QString const &key, QString const &value);
    /// Adds the values of another table. Where this one is empty it takes the other over as it stands; otherwise the
    /// values of each key arrive in reverse, so that the one that `other` got first is found first.
    TARNWICK_EXPORT void merge(ConfigFile const &other);

    /// Whether a value is a reference, `${name}` or `${name:-default}`, and its parts. An empty default is none.
    TARNWICK_EXPORT bool is_var(QString const &value, QString &name, std::optional<QString> &default_value) const;
    /// What a name stands for: the newest value in this file, or in the one that includes it; the environment; the
    /// default. The first that there is counts.
    [[nodiscard]] TARNWICK_EXPORT std::optional<QString> get_var(QString const &name,
                                                                 std::optional<QString> const &default_value) const;
    /// A value without the pair of quotes around it.
    [[nodiscard]] TARNWICK_EXPORT QString unescaped(QString const &value) const;

    /// Reads the file, or the files that match a wildcard, and adds their values.
    TARNWICK_EXPORT void include_file(QString include);
    /// Whether a file that includes this one, at whatever distance, has that canonical path. This one is not asked.
    [[nodiscard]] TARNWICK_EXPORT bool test_recursion(QString const &canonical_path) const;

private:
    struct Resolved;
    struct OpenFile;
    class Loader;

    void open(OpenFile &open_file);
    [[nodiscard]] std::optional<QString> next_include(OpenFile &open_file);
    [[nodiscard]] std::optional<QString> process(QStringView line);
    void insert(QString &&key, QString &&value);
    [[nodiscard]] QString const *prefix_in_force() const noexcept;
    [[nodiscard]] Resolved resolved(QString const &name, std::optional<QString> const &default_value) const;
    [[nodiscard]] QStringView unquoted(QStringView value) const;
    void refuse_endless_name() const;

    ConfigFile const *parent_ = nullptr;
    QString file_name_;
    QString path_;
    QString file_path_;
    QString canonical_file_path_;
    std::optional<QString> prefix_;
    std::int32_t line_no_ = 0;
    QMultiHash<QString, QString> values_;
    ConfigObserver *observer_ = nullptr;
};

} // namespace PelorinPHPX
