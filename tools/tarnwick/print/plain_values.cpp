#include "print/plain_values.h"

#include <tarnwick/data/walk.h>

#include <QtCore/QByteArray>
#include <QtCore/QUtf8StringView>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace tarnwick::program {
namespace {

using namespace data::php;
using Elements = PelorinArray::Elements;

/// Writes each kind of PHP value.
class PlainValue {
public:
    explicit PlainValue(JsonWriter &writer)
        : writer_(writer)
    {
    }

    void operator()(ZVal::undefined_t /*content*/) const { writer_.absent(); }
    void operator()(ZVal::null_t /*content*/) const { writer_.absent(); }
    void operator()(bool value) const { writer_.boolean(value); }
    void operator()(std::int64_t value) const
    {
        bool const is_exact = value >= -exact_in_double && value <= exact_in_double;
        if (writer_.style().string_ids && !is_exact)
            write_marked("$long", [&] { writer_.integer(value); });
        else
            writer_.integer(value);
    }
    void operator()(double value) const
    {
        if (std::isfinite(value))
            writer_.real(value);
        else
            write_marked("$double", [&] { writer_.real(value); });
    }
    void operator()(std::string const &value) const { writer_.bytes(value, "$base64"); }
    void operator()(PelorinArray const &array) const { write_plain(writer_, *array); }
    void operator()(PelorinObject const &object) const
    {
        writer_.begin_record({});
        writer_.field("$object");
        writer_.text(object->class_name());
        writer_.field("properties");
        write_plain(writer_, *object->properties());
        writer_.field("value");
        write_plain(writer_, *object->value());
        writer_.end_record();
    }
    void operator()(PelorinResource const &resource) const
    {
        writer_.begin_record({});
        writer_.field("$resource");
        writer_.text(resource->type_name());
        writer_.field("value");
        write_plain(writer_, *resource->value());
        writer_.end_record();
    }
    void operator()(QByteArray const &json) const
    {
        std::string_view const text{json.constData(), static_cast<std::size_t>(json.size())};
        write_marked("$json", [&] { writer_.bytes(text, "$base64"); });
    }
    void operator()(data::TimePair time) const
    {
        write_marked("$timestamp", [&] { writer_.time(time); });
    }

private:
    template <class Write>
    void write_marked(std::string_view mark, Write &&write) const
    {
        writer_.begin_alternative(mark);
        write();
        writer_.end_alternative();
    }

    JsonWriter &writer_;
};

bool is_list(Elements const &elements)
{
    std::int64_t next = 0;
    return std::ranges::all_of(elements, [&](auto const &element) {
        auto const *const index = std::get_if<std::int64_t>(&element.first->value());
        return index != nullptr && *index == next++;
    });
}

/// Returns whether the keys can be the names of an object's members.
bool has_names(Elements const &elements, JsonStyle style)
{
    std::vector<std::string_view> names;
    names.reserve(elements.size());
    for (auto const &[key, value] : elements) {
        auto const *const name = std::get_if<std::string>(&key->value());
        if (name == nullptr || name->starts_with('$') || (style.base64_nul && name->find('\0') != std::string::npos) ||
            !QUtf8StringView(name->data(), static_cast<qsizetype>(name->size())).isValidUtf8())
            return false;
        names.push_back(*name);
    }
    std::ranges::sort(names);
    return std::ranges::adjacent_find(names) == names.end();
}

} // namespace

void write_plain(JsonWriter &writer, detail::ZVal const &value)
{
    if (value.value().valueless_by_exception())
        writer.absent();
    else
        std::visit(PlainValue(writer), value.value());
}

void write_plain(JsonWriter &writer, detail::PelorinArray const &array)
{
    auto const &elements = array.elements();
    if (is_list(elements)) {
        writer.begin_list();
        for (auto const &[key, value] : elements)
            write_plain(writer, *value);
        writer.end_list();
    } else if (has_names(elements, writer.style())) {
        writer.begin_record({});
        for (auto const &[key, value] : elements) {
            writer.member(std::get<std::string>(key->value()));
            write_plain(writer, *value);
        }
        writer.end_record();
    } else {
        writer.begin_alternative("$entries");
        writer.begin_list();
        for (auto const &[key, value] : elements) {
            writer.begin_entry();
            write_plain(writer, *key);
            write_plain(writer, *value);
            writer.end_entry();
        }
        writer.end_list();
        writer.end_alternative();
    }
}

} // namespace tarnwick::program
