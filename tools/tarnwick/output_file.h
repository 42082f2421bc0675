#pragma once

#include <string>

namespace tarnwick::program {

/// Renames a file, unless the new name exists. Returns whether it did; otherwise `errno` is the reason. On network file
/// systems that cannot check the new name, it can replace a file that was created in the meantime.
bool rename_to_new(std::string const &from, std::string const &to);

/// Stores the names of the files in the folder of a file on the disk, so that a new name survives a crash of the machine.
/// Returns whether it did, or the file system has no way to do it; otherwise `errno` is the reason.
bool store_folder_of(std::string const &name);

/// New file that gets its name when it is complete. Until then its name ends with `.part`. The file is removed if the
/// object is destroyed before, or if SIGHUP, SIGINT or SIGTERM ends the process. There can be one such object at a
/// time.
class OutputFile {
public:
    /// Throws `WriteError` if a file of either name exists, or if the file cannot be created.
    explicit OutputFile(std::string name);
    ~OutputFile();
    OutputFile(OutputFile const &) = delete;
    OutputFile &operator=(OutputFile const &) = delete;

    [[nodiscard]] int descriptor() const { return descriptor_; }

    /// Stores the content on the disk and gives the file its name. Throws `WriteError`, also if a file of this name was
    /// created in the meantime.
    void finish();

private:
    std::string name_;
    std::string part_name_;
    int descriptor_;
};

} // namespace tarnwick::program
