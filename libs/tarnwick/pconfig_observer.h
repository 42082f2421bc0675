#pragma once

// For programs that show what the reader of configuration files does; see pconfigfile.h.

#include <QtCore/QString>
#include <QtCore/QStringView>

namespace PelorinPHPX {

class ConfigFile;

/// Is told what a ConfigFile does, and each file that it includes, at the moment it happens: `file.line_no()` is the line
/// and `file.parent()` the file that includes this one. It changes nothing of what is read. What an observer throws ends
/// the load.
class ConfigObserver {
public:
    /// Where the value of a reference was found.
    enum class Source { file, parent, environment, default_value };

    /// A file was opened; its lines follow.
    virtual void opened(ConfigFile const & /*file*/) {}
    /// A line that is neither empty nor a comment; what comes of it follows.
    virtual void directive(ConfigFile const & /*file*/, QStringView /*line*/) {}
    /// The value is a reference, and has been replaced.
    virtual void resolved(ConfigFile const & /*file*/, QString const & /*name*/, Source /*source*/) {}
    /// The value is a reference to what is nowhere: the directive ends here.
    virtual void unresolved(ConfigFile const & /*file*/, QStringView /*key*/, QString const & /*name*/) {}
    /// The key does not begin with the prefix: the directive ends here.
    virtual void outside_prefix(ConfigFile const & /*file*/, QStringView /*key*/, QString const & /*prefix*/) {}
    /// A value came into the file's table, under a key without the prefix.
    virtual void added(ConfigFile const & /*file*/, QString const & /*key*/, QString const & /*value*/) {}
    /// The include is a wildcard, which that many files of the folder match; they are read next.
    virtual void matched(ConfigFile const & /*file*/, QString const & /*include*/, QString const & /*folder*/,
                         qsizetype /*files*/)
    {
    }
    /// An included file has been read, and its table was added to the file's own by ConfigFile::merge.
    virtual void merged(ConfigFile const & /*file*/, ConfigFile const & /*included*/) {}
    /// A file is opened next, which can take long: a pipe waits for a program that writes to it.
    virtual void opening(ConfigFile const & /*file*/) {}

protected:
    ConfigObserver() = default;
    ConfigObserver(ConfigObserver const &) = default;
    ConfigObserver &operator=(ConfigObserver const &) = default;
    ~ConfigObserver() = default; // nobody owns an observer by this type
};

} // namespace PelorinPHPX
