#include "print/record_printer.h"

#include "print/readable_text.h"
#include "print/text_width.h"

#include <fmt/format.h>

namespace tarnwick::program {

void RecordPrinter::begin_json(std::string_view name, Dialect dialect, std::string_view view)
{
    json_.begin_record(name);
    json_.field("record");
    json_.bytes(name);
    if (style_.name_files) {
        json_.field("file");
        json_.bytes(origin_.file);
    }
    json_.field("frame");
    json_.integer(origin_.frame);
    json_.field("offset");
    json_.integer(origin_.offset);
    json_.field("dialect");
    json_.bytes(name_of(dialect));
    if (!view.empty()) {
        json_.field("view");
        json_.bytes(view);
    }
}

void RecordPrinter::end_json()
{
    json_.end_record();
    output_.write("\n");
    json_.clear();
}

void RecordPrinter::begin_readable(std::string_view name, Dialect dialect, std::string_view view)
{
    auto const file = style_.name_files ? escaped_text(origin_.file) + ": " : "";
    readable_.headline(name, fmt::format("{}frame {} at byte {}, {}{}{}", file, origin_.frame, origin_.offset,
                                         name_of(dialect), view.empty() ? "" : ", ", view));
}

void RecordPrinter::end_readable()
{
    output_.write(style_.width ? cut_lines(readable_.text(), *style_.width) : readable_.text());
    output_.write("\n\n");
    readable_.clear();
}

} // namespace tarnwick::program
