#pragma once

// The reader of configuration files. tarnwick-config(5) describes their format.

#include <tarnwick/export.h>

#include <QtCore/QMultiHash>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QStringView>

#include <cstdint>
#include <optional>

namespace PelorinPHPX {

class ConfigObserver;

/// A configuration file and its values: a table in which a key can have several values.
///
///     auto const config = ConfigFile::load("/etc/app.conf", "app");
///     auto const port = config.value("port"); // of the line `app.port = 8080`
///
/// A fault in the file, or in a file that it includes, throws a `PException`. Its text has one line for each level of
/// inclusion. Keys outside the prefix, references that cannot be resolved and wildcards without a match are no faults:
/// they are skipped silently. A `ConfigObserver` is notified of them.
///
/// | Accessor                | Meaning                                                                             |
/// |-------------------------|-------------------------------------------------------------------------------------|
/// | `parent()`              | the including file, which must outlive the included one; null for a root            |
/// | `file_name()`           | the last part of the file's name                                                    |
/// | `path()`                | the folder to which relative includes of this file refer                            |
/// | `file_path()`           | the name by which the file is opened, also used in every message                    |
/// | `canonical_file_path()` | determined when the name was set; empty if there was no such file                   |
/// | `prefix()`              | the prefix of keys, with its final dot; only a root with a name has one             |
/// | `line_no()`             | the current or the last line, from 1; 0 before the first line;                      |
/// |                         | saturates at 2,147,483,647                                                          |
/// | `values()`              | the table, keys without the prefix; the most recent value of a key is found first   |
class ConfigFile {
public:
    /// Constructs a root file. Keys must have the prefix `name.`, or no prefix if `name` is empty. The file is not read
    /// yet.
    TARNWICK_EXPORT ConfigFile(QString const &file, QString const &name);
    /// Constructs a file that `parent` includes. The file is not read yet.
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

    /// Returns the most recent value of a key.
    [[nodiscard]] std::optional<QString> value(QString const &key) const
    {
        auto const found = values_.constFind(key);
        return found == values_.cend() ? std::nullopt : std::optional(*found);
    }
    /// Returns all values of a key, newest first.
    [[nodiscard]] QStringList values(QString const &key) const { return values_.values(key); }
    /// Returns the keys, sorted and without repetitions.
    [[nodiscard]] QStringList keys() const
    {
        QStringList keys = values_.uniqueKeys();
        keys.sort();
        return keys;
    }
    [[nodiscard]] bool contains(QString const &key) const { return values_.contains(key); }

    /// Sets the observer; null, the default, removes it. Files that are included later inherit it.
    void set_observer(ConfigObserver *observer) noexcept { observer_ = observer; }

    /// Sets the name of the file, and what the accessors derive from it.
    TARNWICK_EXPORT void set_file_name(QString const &file);

    /// Reads the file. After an exception the table has the values of all lines before the failing line. A second call
    /// reads the file again and adds its values again.
    TARNWICK_EXPORT void load();
    /// Constructs a root file and reads it. The exception names the file as passed here.
    [[nodiscard]] TARNWICK_EXPORT static ConfigFile load(QString const &file, QString const &name);
    /// The same with an observer, which may be null. It observes only this load.
    [[nodiscard]] TARNWICK_EXPORT static ConfigFile load(QString const &file, QString const &name,
                                                         ConfigObserver *observer);
    /// Constructs a file that `parent` includes, and reads it. References in it can use the values of `parent`. An
    /// observer of `parent` observes this load and nothing later.
    [[nodiscard]] TARNWICK_EXPORT static ConfigFile load(ConfigFile const &parent, QString const &file);
    static ConfigFile load(ConfigFile const &&parent, QString const &file) = delete; // parent() would dangle

    /// Processes one line. It must have no surrounding white space and not be a comment.
    TARNWICK_EXPORT void process_directive(QString const &line);
    /// Adds a value. It never replaces another value of the key.
    TARNWICK_EXPORT void add_value(QString const &key, QString const &value);
    /// Adds the values of another table. An empty table becomes a copy of `other`. Otherwise the values of each key are
    /// added in reverse, so the value that `other` received first is found first.
    TARNWICK_EXPORT void merge(ConfigFile const &other);

    /// Parses a reference, `${name}` or `${name:-default}`. Returns false if the value is none. An empty default counts
    /// as no default and leaves `default_value` unchanged.
    TARNWICK_EXPORT bool is_var(QString const &value, QString &name, std::optional<QString> &default_value) const;
    /// Returns the value of a name: the newest in this file or in the file that includes it, the environment variable,
    /// or `default_value`, in that order.
    [[nodiscard]] TARNWICK_EXPORT std::optional<QString> get_var(QString const &name,
                                                                 std::optional<QString> const &default_value) const;
    /// Returns a value without its surrounding pair of quotes. Throws a `PException` if the closing quote is missing.
    [[nodiscard]] TARNWICK_EXPORT QString unescaped(QString const &value) const;

    /// Reads the file, or the files that match a wildcard, and adds their values.
    TARNWICK_EXPORT void include_file(QString include);
    /// Returns whether any file above this one, directly or indirectly including it, has that canonical path. This file
    /// itself is not compared.
    [[nodiscard]] TARNWICK_EXPORT bool test_recursion(QString const &canonical_path) const;

private:
    struct Resolved;
    struct OpenFile;
    class Loader;

    void open(OpenFile &open_file);
    [[nodiscard]] std::optional<QString> next_include(OpenFile &open_file);
    [[nodiscard]] std::optional<QString> process(QStringView line);
    void insert(QString &&key, QString &&value);
    [[nodiscard]] QString const *effective_prefix() const noexcept;
    [[nodiscard]] Resolved resolved(QString const &name, std::optional<QString> const &default_value) const;
    [[nodiscard]] QStringView unquoted(QStringView value) const;
    void check_path_length() const;

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
