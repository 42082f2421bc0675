#include "print/text_ranges.h"

#include <algorithm>

namespace tarnwick::program {

void add_ranges(TextRanges &ranges, TextRanges const &more)
{
    if (more.empty())
        return;
    ranges.insert(ranges.end(), more.begin(), more.end());
    std::ranges::sort(ranges, {}, &TextRange::begin);
    auto last = ranges.begin();
    for (auto const &range : ranges) {
        if (range.begin <= last->end)
            last->end = std::max(last->end, range.end);
        else
            *++last = range;
    }
    ranges.erase(last + 1, ranges.end());
}

std::string masked(std::string_view text, TextRanges ranges)
{
    std::ranges::sort(ranges, {}, &TextRange::begin);
    std::string result;
    std::size_t copied = 0; // up to here
    for (auto range = ranges.begin(); range != ranges.end();) {
        auto end = range->end;
        auto next = range + 1;
        for (; next != ranges.end() && next->begin <= end; ++next)
            end = std::max(end, next->end);
        if (end > range->begin) {
            result.append(text.substr(copied, range->begin - copied)).append(mask_text);
            copied = end;
        }
        range = next;
    }
    return result.append(text.substr(copied));
}

} // namespace tarnwick::program
