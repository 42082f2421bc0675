#pragma once

// The environment of tests of configuration files: files in a folder, the working folder, environment variables. All is
// restored when the test ends.

#include <gtest/gtest.h>

#include <tarnwick/pconfigfile.h>
#include <tarnwick/pexception.h>

#include <QtCore/QByteArray>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QString>
#include <QtCore/QTemporaryDir>
#include <QtCore/QtEnvironmentVariables>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace tarnwick::test {

inline QString q(std::string_view utf8)
{
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

/// A folder in memory if it has that many free bytes, otherwise the temporary folder. Some tests write thousands of files;
/// a container often has 64 MB of /dev/shm.
inline QString scratch_folder(QString const &in_memory, std::uintmax_t least)
{
    std::error_code error;
    auto const space = std::filesystem::space(in_memory.toStdString(), error);
    return !error && space.available >= least && QFileInfo(in_memory).isWritable() ? in_memory : QDir::tempPath();
}

class ConfigFolder {
public:
    ConfigFolder()
        : folder_(scratch_folder(QString(u"/dev/shm"), std::uintmax_t(1) << 30) + QString(u"/tarnwick-XXXXXX"))
    {
        EXPECT_TRUE(folder_.isValid());
    }

    // QDir would leave files whose names are not UTF-8.
    ~ConfigFolder()
    {
        std::error_code error;
        std::filesystem::remove_all(path(), error);
    }
    ConfigFolder(ConfigFolder const &) = delete;
    ConfigFolder &operator=(ConfigFolder const &) = delete;

    /// With links followed, so that names of files in it are canonical.
    [[nodiscard]] std::string path() const { return QDir(folder_.path()).canonicalPath().toStdString(); }
    [[nodiscard]] std::string path(std::string const &name) const { return path() + "/" + name; }

    /// Writes a file and creates its folders. Returns its full name.
    std::string write(std::string const &name, std::string_view content) const // NOLINT(modernize-use-nodiscard)
    {
        auto const file = path(name);
        std::filesystem::create_directories(std::filesystem::path(file).parent_path());
        std::ofstream stream(file, std::ios::binary);
        stream << content;
        EXPECT_TRUE(stream.flush()) << file;
        return file;
    }
    void link(std::string const &target, std::string const &name) const
    {
        std::filesystem::create_symlink(target, path(name));
    }

private:
    QTemporaryDir folder_;
};

class WorkingFolder {
public:
    explicit WorkingFolder(std::string const &folder) { EXPECT_TRUE(QDir::setCurrent(q(folder))); }
    ~WorkingFolder() { QDir::setCurrent(before_); }
    WorkingFolder(WorkingFolder const &) = delete;
    WorkingFolder &operator=(WorkingFolder const &) = delete;

private:
    QString before_ = QDir::currentPath();
};

class Variable {
public:
    Variable(char const *name, std::string_view value)
        : name_(name)
        , was_set_(qEnvironmentVariableIsSet(name))
        , before_(qgetenv(name))
    {
        qputenv(name, QByteArrayView(value));
    }
    ~Variable()
    {
        if (was_set_)
            qputenv(name_, before_);
        else
            qunsetenv(name_);
    }
    Variable(Variable const &) = delete;
    Variable &operator=(Variable const &) = delete;

private:
    char const *name_;
    bool was_set_;
    QByteArray before_;
};

using PelorinPHPX::ConfigFile;
using Texts = std::vector<std::string>;

/// The whole table as `key=value`, keys sorted, values of a key newest first.
inline Texts table(ConfigFile const &config)
{
    Texts table;
    for (auto const &key : config.keys()) {
        for (auto const &value : config.values(key))
            table.push_back((key + u'=' + value).toStdString());
    }
    EXPECT_EQ(static_cast<qsizetype>(table.size()), config.values().size());
    return table;
}

/// The table of a file without faults.
inline Texts loaded(std::string const &file, std::string_view name = {})
{
    try {
        return table(ConfigFile::load(q(file), q(name)));
    } catch (PException const &error) {
        ADD_FAILURE() << error.what();
        return {};
    }
}

/// The table of a file with that content.
inline Texts read(std::string_view content, std::string_view name = {})
{
    ConfigFolder const folder;
    return loaded(folder.write("f.conf", content), name);
}

/// The text of the exception that an action throws; empty if it throws none.
template <class Action>
std::string failure_of(Action &&action)
{
    try {
        action();
    } catch (PException const &error) {
        return error.what();
    }
    return {};
}

/// The text of the exception that a load throws; empty if it throws none.
inline std::string failure(std::string const &file, std::string_view name = {})
{
    return failure_of([&] { (void)ConfigFile::load(q(file), q(name)); });
}

/// Replaces `FOLDER` in an expected text by the name of the folder.
inline std::string in(ConfigFolder const &folder, std::string text)
{
    constexpr std::string_view word = "FOLDER";
    auto const path = folder.path();
    for (std::size_t at = 0; (at = text.find(word, at)) != std::string::npos; at += path.size())
        text.replace(at, word.size(), path);
    return text;
}

} // namespace tarnwick::test
