// Converts a map of Qt values to a message, serialises it, and converts it back to a map.

#include <tarnwick/qstring_format.h>
#include <tarnwick/tarnwick_utils.h>

#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <fmt/format.h>

#include <QtCore/QDate>
#include <QtCore/QVariantMap>

#include <string>

using namespace Qt::StringLiterals;

int main()
{
    QVariantMap const order{
        {u"number"_s, 1017},
        {u"customer"_s, u"Zoë"_s},
        {u"paid"_s, true},
        {u"prices"_s, QVariantList{19.5, 4.0}},
        {u"placed"_s, QDate(2024, 1, 2)},
    };

    // A map alone is converted value by value, and Qt has no JSON for a date alone. A map in a variant is converted as
    // a whole, and its dates become texts.
    tarnwick::rpc::php::v1::ZVal message;
    PelorinPHPX::to_protobuf_zval(message, order);
    fmt::print("by itself:    {}\n", message.json_value());
    PelorinPHPX::to_protobuf_zval(message, QVariant(order));
    fmt::print("in a variant: {}\n", message.json_value());

    std::string const bytes = message.SerializeAsString();
    fmt::print("{} bytes\n", bytes.size());

    tarnwick::rpc::php::v1::ZVal received;
    if (!received.ParseFromString(bytes))
        return 1;
    auto const map = PelorinPHPX::qvariant_from_protobuf_zval(received).toMap();
    for (auto const &[key, value] : map.asKeyValueRange())
        fmt::print("{} is a {}\n", key, value.typeName());
}
