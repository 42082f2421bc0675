#include "requests/call_site.h"

#include "print/short_text.h"

#include <fmt/format.h>

#include <QtCore/QString>
#include <QtCore/QStringView>

#include <algorithm>
#include <array>
#include <cstddef>

namespace tarnwick::program {
namespace {

using data::php::Function;

constexpr std::size_t max_call_site = 1000;

bool is_library_file(QStringView file)
{
    constexpr std::array<QStringView, 6> places{u"phar://",       u"/usr/share/php/", u"/usr/share/pear/",
                                                u"/usr/lib/php/", u"/usr/lib64/php/", u"/usr/local/lib/php/"};
    constexpr std::array<QStringView, 2> directories{u"/vendor/", u"/node_modules/"};
    return std::ranges::any_of(places, [file](QStringView place) { return file.startsWith(place); }) ||
           std::ranges::any_of(directories, [file](QStringView directory) {
               return file.contains(directory) || file.startsWith(directory.sliced(1));
           });
}

QStringView file_of(Function const &function)
{
    return function.location() ? QStringView(function.location()->file()) : QStringView();
}

bool has_file(Function const &function)
{
    return !file_of(function).isEmpty();
}

bool is_in_application(Function const &function)
{
    return has_file(function) && !is_library_file(file_of(function));
}

} // namespace

Function const *call_site(data::php::StackTrace const &trace)
{
    auto const &frames = trace.frames();
    for (auto *const is_wanted : {is_in_application, has_file}) {
        auto const found = std::ranges::find_if(frames, is_wanted);
        if (found != frames.end())
            return &*found;
    }
    return frames.isEmpty() ? nullptr : &frames.front();
}

std::string call_site_text(data::php::StackTrace const &trace)
{
    auto const *const call = call_site(trace);
    if (call == nullptr)
        return {};
    auto const &location = call->location();
    if (!location || location->file().isEmpty())
        return cut_text(call->name().toStdString(), max_call_site);
    return fmt::format("{}:{}", cut_text(location->file().toStdString(), max_call_site), location->line());
}

} // namespace tarnwick::program
