#include "print/json_schema.h"

#include <tarnwick/data/description.h>
#include <tarnwick/data/records.h>
#include <tarnwick/data/time_pair.h>
#include <tarnwick/data/walk.h>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QString>

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace tarnwick::program {
namespace {

using data::Sense;
using namespace Qt::StringLiterals;
namespace php = data::php;

QString text(std::string_view utf8)
{
    return QString::fromUtf8(utf8);
}

QJsonObject of_type(QString const &type)
{
    return {{u"type"_s, type}};
}

QJsonObject any_of(QJsonArray const &alternatives)
{
    return {{u"anyOf"_s, alternatives}};
}

QJsonObject nullable(QJsonObject schema)
{
    if (!schema.contains(u"type"_s))
        return any_of({schema, of_type(u"null"_s)});
    schema.insert(u"type"_s, QJsonArray{schema.value(u"type"_s), u"null"_s});
    return schema;
}

QJsonObject matching(QString const &pattern)
{
    return {{u"type"_s, u"string"_s}, {u"pattern"_s, pattern}};
}

QJsonObject list_of(QJsonObject const &items)
{
    return {{u"type"_s, u"array"_s}, {u"items"_s, items}};
}

/// Members of an object.
class Members {
public:
    Members &add(QString const &name, QJsonObject const &schema)
    {
        required_.append(name);
        return add_optional(name, schema);
    }
    Members &add_optional(QString const &name, QJsonObject const &schema)
    {
        properties_.insert(name, schema);
        return *this;
    }
    /// Returns the schema of an object with these members and no others.
    [[nodiscard]] QJsonObject object() const
    {
        return {
            {u"type"_s, u"object"_s},
            {u"properties"_s, properties_},
            {u"required"_s, required_},
            {u"additionalProperties"_s, false},
        };
    }

private:
    QJsonObject properties_;
    QJsonArray required_;
};

/// Returns the schema of an object with one member.
QJsonObject object_with(QString const &name, QJsonObject const &schema)
{
    return Members().add(name, schema).object();
}

/// Writes the schema of each type that a field can have, with the same distinctions as `data::walk`. The overloads of
/// `of` are chosen by the type of the field, without handles.
class SchemaWriter {
public:
    explicit SchemaWriter(JsonStyle style)
        : style_(style)
    {
    }

    QJsonObject write()
    {
        QJsonArray records;
        data::for_each_type(data::ReportRecords(), [&]<class Record> {
            using Payload = data::payload_of_t<Record>;
            records.append(defined(text(data::Description<Payload>::name), [&] { return line<Payload>(); }));
        });
        return {
            {u"$schema"_s, u"https://json-schema.org/draft/2020-12/schema"_s},
            {u"title"_s, u"A record that tarnwick inspect prints"_s},
            {u"oneOf"_s, records},
            {u"$defs"_s, definitions_},
        };
    }

private:
    template <class T>
    using Type = std::type_identity<T>;

    /// Returns the schema of a type or of its handle.
    template <class T>
    QJsonObject schema(Sense sense = Sense::plain)
    {
        return of(Type<data::payload_of_t<T>>(), sense);
    }

    template <std::integral T>
    QJsonObject of(Type<T> /*type*/, Sense sense)
    {
        using Limits = std::numeric_limits<T>;
        if (style_.string_ids && sense == Sense::id)
            return matching(u"^(0|[1-9][0-9]*)$"_s);
        auto const between = [](qint64 least, qint64 most) {
            return QJsonObject{{u"type"_s, u"integer"_s}, {u"minimum"_s, least}, {u"maximum"_s, most}};
        };
        if constexpr (sizeof(T) < sizeof(std::int64_t))
            return between(Limits::min(), Limits::max());
        if (style_.string_ids)
            return any_of({between(std::signed_integral<T> ? -exact_in_double : 0, exact_in_double),
                           matching(u"^-?[1-9][0-9]{15,19}$"_s)});
        if constexpr (std::signed_integral<T>)
            return between(Limits::min(), Limits::max());
        else
            return {{u"type"_s, u"integer"_s}, {u"minimum"_s, 0}, {u"exclusiveMaximum"_s, 0x1p64}};
    }
    QJsonObject of(Type<bool> /*type*/, Sense /*sense*/) { return of_type(u"boolean"_s); }
    template <class T>
        requires std::is_enum_v<T>
    QJsonObject of(Type<T> /*type*/, Sense sense)
    {
        return schema<std::underlying_type_t<T>>(sense);
    }
    QJsonObject of(Type<double> /*type*/, Sense /*sense*/) { return any_of({of_type(u"number"_s), not_finite()}); }
    QJsonObject of(Type<data::TimePair> /*type*/, Sense /*sense*/)
    {
        return defined(u"TimePair"_s, [&] {
            return Members().add(u"seconds"_s, schema<std::int64_t>()).add(u"nanos"_s, schema<std::int32_t>()).object();
        });
    }
    QJsonObject of(Type<php::RequestId> /*type*/, Sense /*sense*/) { return schema<std::uint64_t>(Sense::id); }
    QJsonObject of(Type<QString> /*type*/, Sense /*sense*/)
    {
        return nullable(style_.base64_nul ? schema<std::string_view>() : of_type(u"string"_s));
    }
    QJsonObject of(Type<std::string_view> /*type*/, Sense /*sense*/)
    {
        return defined(u"bytes"_s, [] { return bytes(u"base64"_s); });
    }
    QJsonObject of(Type<QByteArray> /*type*/, Sense /*sense*/) { return schema<std::string_view>(); }
    QJsonObject of(Type<std::string> /*type*/, Sense /*sense*/) { return schema<std::string_view>(); }
    template <std::size_t size>
    QJsonObject of(Type<std::array<char, size>> /*type*/, Sense /*sense*/)
    {
        return matching(u"^[0-9a-f]{%1}$"_s.arg(2 * size));
    }
    template <class T>
    QJsonObject of(Type<std::optional<T>> /*type*/, Sense sense)
    {
        return nullable(schema<T>(sense));
    }
    template <class... Alternatives>
    QJsonObject of(Type<std::variant<Alternatives...>> /*type*/, Sense /*sense*/)
    {
        return any_of({alternative<Alternatives>()...});
    }
    template <class T>
    QJsonObject of(Type<QList<T>> /*type*/, Sense /*sense*/)
    {
        return list_of(schema<T>());
    }
    template <class Key, class T>
    QJsonObject of(Type<QMap<Key, T>> /*type*/, Sense /*sense*/)
    {
        return list_of(schema<T>());
    }
    QJsonObject of(Type<php::StackTrace> /*type*/, Sense /*sense*/) { return schema<QList<php::Function>>(); }
    QJsonObject of(Type<php::detail::ZVal> /*type*/, Sense /*sense*/)
    {
        return defined(u"php.ZVal"_s, [&] { return style_.plain_values ? plain_value() : typed_value(); });
    }
    QJsonObject of(Type<php::detail::PelorinArray> /*type*/, Sense /*sense*/)
    {
        return defined(u"php.PelorinArray"_s, [&] { return style_.plain_values ? plain_array() : entries(); });
    }
    template <data::Described Record>
    QJsonObject of(Type<Record> /*type*/, Sense /*sense*/)
    {
        return defined(text(data::Description<Record>::name), [&] {
            Members members;
            add_fields<Record>(members);
            return members.object();
        });
    }

    template <class Alternative>
    QJsonObject alternative()
    {
        if constexpr (data::Described<Alternative>)
            return object_with(text(data::class_name<Alternative>()), schema<Alternative>());
        else
            return of_type(u"null"_s);
    }

    /// A record with its place in the capture.
    template <class Record>
    QJsonObject line()
    {
        Members members;
        members.add(u"record"_s, {{u"const"_s, text(data::Description<Record>::name)}})
            .add_optional(u"file"_s, schema<std::string_view>())
            .add(u"frame"_s, schema<std::uint64_t>())
            .add(u"offset"_s, schema<std::uint64_t>())
            .add(u"dialect"_s, {{u"enum"_s, QJsonArray{u"rpc"_s, u"protobuf"_s}}});
        if constexpr (std::same_as<Record, php::detail::Superglobals>)
            members.add(u"view"_s, {{u"enum"_s, QJsonArray{u"init"_s, u"change"_s, u"all"_s}}});
        if constexpr (!requires(Record const &record) { record.request_id(); }) // that of the frame
            members.add(u"request_id"_s, schema<php::RequestId>());
        add_fields<Record>(members);
        return members.object();
    }

    template <class Record>
    void add_fields(Members &members)
    {
        data::for_each_field<Record>([&](auto const &field) { members.add(text(field.name), of_field(field)); });
    }

    template <class Record, class Member>
    QJsonObject of_field(data::Field<Record, Member> const &field)
    {
        auto found = schema<std::remove_cvref_t<std::invoke_result_t<Member Record::*, Record const &>>>(field.sense);
        if (!field.labels.empty()) {
            std::vector<std::string> labels;
            for (auto const &[value, meaning] : field.labels)
                labels.push_back(fmt::format("{}: {}", value, meaning));
            found.insert(u"description"_s, text(fmt::format("{}", fmt::join(labels, ", "))));
        }
        return found;
    }
    template <class Record, class Member>
    QJsonObject of_field(data::Link<Record, Member> const &link)
    {
        using Handle = std::remove_cvref_t<std::invoke_result_t<Member Record::*, Record const &>>;
        return nullable(schema<decltype(std::declval<Handle>()->id())>(link.sense));
    }

    static QJsonObject bytes(QString const &base64_name)
    {
        return any_of({of_type(u"string"_s), object_with(base64_name, of_type(u"string"_s))});
    }
    static QJsonObject not_finite() { return {{u"enum"_s, QJsonArray{u"NaN"_s, u"Infinity"_s, u"-Infinity"_s}}}; }

    QJsonObject entries()
    {
        auto entry = list_of(schema<php::ZVal>());
        entry.insert(u"minItems"_s, 2);
        entry.insert(u"maxItems"_s, 2);
        return list_of(entry);
    }

    // Values nest, so each level must be validated once: the kind or the mark selects the schema of the content. Of
    // alternatives in `anyOf`, several would validate the same content, and the time would double at each level.

    QJsonObject typed_value()
    {
        return [&]<std::size_t... kind>(std::index_sequence<kind...>) {
            return QJsonObject{
                {u"type"_s, u"object"_s},
                {u"properties"_s,
                 QJsonObject{{u"kind"_s, QJsonObject{{u"enum"_s, QJsonArray{text(data::kind_names[kind])...}}}}}},
                {u"required"_s, QJsonArray{u"kind"_s}},
                {u"allOf"_s, QJsonArray{typed_value<std::variant_alternative_t<kind, php::ZVal::Value>>(
                                 data::kind_names[kind])...}},
            };
        }(std::make_index_sequence<data::kind_names.size()>());
    }
    template <class Content>
    QJsonObject typed_value(std::string_view kind)
    {
        QJsonObject const is_kind{{u"const"_s, text(kind)}};
        Members members;
        members.add(u"kind"_s, is_kind);
        if constexpr (!std::is_empty_v<Content>)
            members.add(u"value"_s, schema<Content>());
        return {
            {u"if"_s, QJsonObject{{u"properties"_s, QJsonObject{{u"kind"_s, is_kind}}}}},
            {u"then"_s, members.object()},
        };
    }

    QJsonObject plain_value()
    {
        auto types = plain_array();
        types.insert(u"type"_s, QJsonArray{u"string"_s, u"number"_s, u"boolean"_s, u"null"_s, u"array"_s, u"object"_s});
        auto const string = bytes(u"$base64"_s);
        QJsonObject marks{
            {u"$entries"_s, object_with(u"$entries"_s, entries())},
            {u"$object"_s, Members()
                               .add(u"$object"_s, schema<QString>())
                               .add(u"properties"_s, schema<php::PelorinArray>())
                               .add(u"value"_s, schema<php::ZVal>())
                               .object()},
            {u"$resource"_s,
             Members().add(u"$resource"_s, schema<QString>()).add(u"value"_s, schema<php::ZVal>()).object()},
            {u"$base64"_s, object_with(u"$base64"_s, of_type(u"string"_s))},
            {u"$double"_s, object_with(u"$double"_s, not_finite())},
            {u"$json"_s, object_with(u"$json"_s, string)},
            {u"$timestamp"_s, object_with(u"$timestamp"_s, schema<data::TimePair>())},
        };
        if (style_.string_ids)
            marks.insert(u"$long"_s, object_with(u"$long"_s, matching(u"^-?[1-9][0-9]{15,18}$"_s)));
        types.insert(u"else"_s, marked(marks));
        return types;
    }
    /// The schema of a list, or of an object whose members do not start with `$`; otherwise of `$entries`.
    QJsonObject plain_array()
    {
        return {
            {u"type"_s, QJsonArray{u"array"_s, u"object"_s}},
            {u"items"_s, schema<php::ZVal>()},
            {u"if"_s, QJsonObject{{u"propertyNames"_s, matching(u"^(?!\\$)"_s)}}},
            {u"then"_s, QJsonObject{{u"additionalProperties"_s, schema<php::ZVal>()}}},
            {u"else"_s, marked({{u"$entries"_s, object_with(u"$entries"_s, entries())}})},
        };
    }
    /// The schema of an object with one of these members, which selects its schema.
    static QJsonObject marked(QJsonObject const &marks)
    {
        QJsonArray names;
        for (auto const &name : marks.keys())
            names.append(QJsonObject{{u"required"_s, QJsonArray{name}}});
        return {{u"anyOf"_s, names}, {u"dependentSchemas"_s, marks}};
    }

    /// Returns a reference to the definition of that name, which is written once. Definitions can refer to each other.
    template <class Write>
    QJsonObject defined(QString const &name, Write &&write)
    {
        if (!definitions_.contains(name)) {
            definitions_.insert(name, QJsonObject());
            definitions_.insert(name, write());
        }
        return {{u"$ref"_s, u"#/$defs/"_s + name}};
    }

    JsonStyle style_;
    QJsonObject definitions_;
};

} // namespace

QJsonObject json_schema(JsonStyle style)
{
    return SchemaWriter(style).write();
}

} // namespace tarnwick::program
