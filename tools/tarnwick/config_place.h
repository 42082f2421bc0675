#pragma once

#include <tarnwick/pconfigfile.h>

#include <QtCore/QString>

#include <cstdint>
#include <vector>

namespace tarnwick::program {

/// A line of a configuration file, and the lines whose includes led there, from the root on.
struct ConfigPlace {
    struct Line {
        QString file;
        std::int32_t number = 0;
    };

    Line line;
    std::vector<Line> includes;
};

/// The line that a file is at.
inline ConfigPlace place_of(PelorinPHPX::ConfigFile const &file)
{
    ConfigPlace place{{file.file_path(), file.line_no()}, {}};
    for (auto const *above = file.parent(); above != nullptr; above = above->parent())
        place.includes.insert(place.includes.begin(), {above->file_path(), above->line_no()});
    return place;
}

} // namespace tarnwick::program
