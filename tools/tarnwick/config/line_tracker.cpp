#include "config/line_tracker.h"

#include "print/readable_text.h"
#include "standard_error.h"

#include <fmt/format.h>

#include <QtCore/QFile>

#include <filesystem>
#include <system_error>

namespace tarnwick::program {

std::string escaped(QString const &text)
{
    return escaped_text(text.toStdString());
}

std::string location_text(ConfigPlace::Line const &line)
{
    return fmt::format("{}:{}", escaped(line.file), line.number);
}

void LineTracker::opening(PelorinPHPX::ConfigFile const &file)
{
    auto const *parent = file.parent();
    if (parent == nullptr)
        return;
    std::error_code error;
    if (std::filesystem::is_fifo(QFile::encodeName(file.file_path()).toStdString(), error))
        print_error(fmt::format("{}: '{}' is a pipe: waiting for a program to write to it\n",
                                location_text(place_of(*parent).line), escaped(file.file_path())));
}

} // namespace tarnwick::program
