// Values that the debugger prints (print_values.gdb).

#include <tarnwick/data/php/zval.h>

#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <google/protobuf/text_format.h>

#include <QtCore/QString>

using namespace tarnwick::data::php;

namespace {

ZVal value_of(char const *textproto)
{
    tarnwick::rpc::php::v1::ZVal message;
    return google::protobuf::TextFormat::ParseFromString(textproto, &message) ? ZVal(new detail::ZVal(message))
                                                                              : ZVal();
}

} // namespace

[[gnu::noinline]] void look_here(ZVal const &value)
{
    asm volatile("" : : "g"(&value) : "memory");
}

int main()
{
    ZVal const value = value_of(R"pb(
        array_value {
            elements { string_key: "name" value { string_value: "G\303\274nter \"G\" \377" } }
            elements { long_key: 7 value { long_value: -5 } }
            elements { value { double_value: 0.5 } }
            elements { string_key: "on" value { bool_value: true } }
            elements { string_key: "none" value { null_value: NULL_VALUE } }
            elements { string_key: "nothing" value { } }
            elements { string_key: "list" value { array_value { } } }
            elements { string_key: "json" value { json_value: "[1]" } }
            elements { string_key: "time" value { timestamp_value { seconds: 8 nanos: 9 } } }
            elements {
                string_key: "user"
                value {
                    object_value {
                        class_name: "App\\User"
                        properties { elements { string_key: "id" value { long_value: 3 } } }
                    }
                }
            }
            elements { string_key: "file" value { resource_value { type_name: "stream" value { long_value: 2 } } } }
        })pb");
    ZVal const nothing;
    QString const text = QStringLiteral("Grüße");
    QString const null;
    PelorinArray const &array = *std::get_if<PelorinArray>(&value->value());
    look_here(value);
    return value && !nothing && !text.isEmpty() && null.isNull() && array ? 0 : 1;
}
