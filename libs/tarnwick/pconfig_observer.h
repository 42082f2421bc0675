#pragma once

// Interface for programs that show what the reader of configuration files does; see pconfigfile.h.

#include <QtCore/QString>
#include <QtCore/QStringView>

namespace PelorinPHPX {

class ConfigFile;

/// Observer of a ConfigFile and of the files that it includes. Each function is called when its event happens:
/// `file.line_no()` is the current line, `file.parent()` the including file. An observer cannot change what is read. An
/// exception from an observer ends the load.
class ConfigObserver {
public:
    /// Where the value of a reference was found.
    enum class Source { file, parent, environment, default_value };

    /// A file was opened; its lines follow.
    virtual void opened(ConfigFile const & /*file*/) {}
    /// A line was read that is neither empty nor a comment. Its effects follow.
    virtual void directive(ConfigFile const & /*file*/, QStringView /*line*/) {}
    /// The value was a reference, and has been replaced.
    virtual void resolved(ConfigFile const & /*file*/, QString const & /*name*/, Source /*source*/) {}
    /// The value was a reference that could not be resolved. The directive is ignored.
    virtual void unresolved(ConfigFile const & /*file*/, QStringView /*key*/, QString const & /*name*/) {}
    /// The key does not begin with the prefix. The directive is ignored.
    virtual void outside_prefix(ConfigFile const & /*file*/, QStringView /*key*/, QString const & /*prefix*/) {}
    /// A value was added to the file's table, under a key without the prefix.
    virtual void added(ConfigFile const & /*file*/, QString const & /*key*/, QString const & /*value*/) {}
    /// An include is a wildcard that matches `files` files of `folder`. These are read next.
    virtual void matched(ConfigFile const & /*file*/, QString const & /*include*/, QString const & /*folder*/,
                         qsizetype /*files*/)
    {
    }
    /// An included file has been read, and ConfigFile::merge has added its table to that of the including file.
    virtual void merged(ConfigFile const & /*file*/, ConfigFile const & /*included*/) {}
    /// A file is about to be opened. Opening can block: a pipe waits for a writer.
    virtual void opening(ConfigFile const & /*file*/) {}

protected:
    ConfigObserver() = default;
    ConfigObserver(ConfigObserver const &) = default;
    ConfigObserver &operator=(ConfigObserver const &) = default;
    ~ConfigObserver() = default; // not virtual: no observer is deleted through this type
};

} // namespace PelorinPHPX
