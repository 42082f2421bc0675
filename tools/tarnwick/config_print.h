#pragma once

#include "config/place.h"
#include "config_options.h"
#include "print/json_writer.h"
#include "print/output.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <string>
#include <string_view>

namespace tarnwick::program {

/// Colours of the text that the commands of `tarnwick config` print.
class ConfigStyle {
public:
    explicit ConfigStyle(ConfigOptions const &options);

    [[nodiscard]] std::string name(std::string_view text) const;
    [[nodiscard]] std::string warning(std::string_view text) const;

private:
    bool color_;
};

void text_field(JsonWriter &json, std::string_view name, QString const &text);
void list_field(JsonWriter &json, std::string_view name, QStringList const &texts);
/// Writes the members `file` and `line`.
void line_fields(JsonWriter &json, ConfigPlace::Line const &line);
/// Returns the text followed by the lines of the includes that led to the place, indented by a tab as in the reader's own
/// faults.
std::string with_includes(std::string text, ConfigPlace const &place);
/// Writes the finished document and a line feed.
void write_line(Output &output, JsonWriter const &json);

} // namespace tarnwick::program
