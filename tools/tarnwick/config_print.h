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

/// Writes a member whose value is a string.
void text_field(JsonWriter &json, std::string_view name, QString const &text);
/// Writes a member whose value is a list of strings.
void list_field(JsonWriter &json, std::string_view name, QStringList const &texts);
/// Writes the members `file` and `line`.
void line_fields(JsonWriter &json, ConfigPlace::Line const &line);
/// Appends the lines of the includes that led to the place. Each is on its own line after a tab, as in errors of the
/// reader.
std::string with_includes(std::string text, ConfigPlace const &place);
/// Writes the JSON and a line feed.
void write_line(Output &output, JsonWriter const &json);

} // namespace tarnwick::program
