#include "config/line_tracker.h"

#include "standard_error.h"
#include "print/readable_text.h"

#include <fmt/format.h>

#include <QtCore/QFile>

#include <filesystem>
#include <system_error>

namespace tarnwick::program {

std::string shown(QString const &text)
{
    return shown_text(text.toStdString());
}

std::string shown(ConfigPlace::Line const &line)
{
    return fmt::format("{}:{}", shown(line.file), line.number);
}

void LineTracker::opening(PelorinPHPX::ConfigFile const &file)
{
    auto const *parent = file.parent();
    if (parent == nullptr)
        return;
    std::error_code error;
    if (std::filesystem::is_fifo(QFile::encodeName(file.file_path()).toStdString(), error))
        print_error(fmt::format("{}: '{}' is a pipe: waiting for a program to write to it\n", shown(place_of(*parent).line),
                         shown(file.file_path())));
}

} // namespace tarnwick::program
