// Prints the PHP values of a request's start as a tree. Reads a serialised report of the rpc dialect from standard
// input; protoc encodes one from text:
//
//     protoc -I proto --encode=tarnwick.rpc.php.v1.NotifyRequest tarnwick/rpc/php/v1/notify_request.proto

#include <tarnwick/data/php/zval.h>

#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl.h>

#include <fmt/format.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <string>
#include <string_view>
#include <variant>

using namespace tarnwick::data;
using namespace tarnwick::data::php;

namespace {

/// One overload for each of the eleven kinds: a missing one is a compile error.
class Printer {
public:
    explicit Printer(std::size_t depth = 0)
        : depth_(depth)
    {
    }

    void operator()(ZVal::undefined_t) const { fmt::print("undefined\n"); }
    void operator()(ZVal::null_t) const { fmt::print("null\n"); }
    void operator()(bool value) const { fmt::print("{}\n", value); }
    void operator()(std::int64_t value) const { fmt::print("{}\n", value); }
    void operator()(double value) const { fmt::print("{}\n", value); }
    void operator()(std::string const &bytes) const { fmt::print("\"{}\"\n", bytes); }
    void operator()(QByteArray const &json) const { fmt::print("json {}\n", json.toStdString()); }
    void operator()(TimePair time) const { fmt::print("{} s, {} ns\n", time.seconds, time.nanos); }

    void operator()(PelorinArray const &array) const
    {
        fmt::print("array of {}\n", array->elements().size());
        for (auto const &[key, value] : array->elements()) {
            if (auto const *number = std::get_if<std::int64_t>(&key->value()))
                line(std::to_string(*number), value);
            else if (auto const *bytes = std::get_if<std::string>(&key->value()))
                line(*bytes, value);
            else
                line("(no key)", value);
        }
    }

    void operator()(PelorinObject const &object) const
    {
        fmt::print("object of class {}, ", object->class_name().toStdString());
        (*this)(object->properties());
        if (object->value()->kind() != ZVal::Kind::undefined)
            line("(value)", object->value());
    }

    void operator()(PelorinResource const &resource) const
    {
        fmt::print("resource of type {}\n", resource->type_name().toStdString());
        if (resource->value()->kind() != ZVal::Kind::undefined)
            line("(value)", resource->value());
    }

private:
    void line(std::string_view label, ZVal const &value) const
    {
        fmt::print("{:{}}{}: ", "", 2 * (depth_ + 1), label);
        std::visit(Printer(depth_ + 1), value->value());
    }

    std::size_t depth_;
};

} // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): an exception ends the program, as intended
int main()
{
    tarnwick::rpc::php::v1::NotifyRequest message;
    // A PHP array takes three messages, and PHP accepts 64 nested arrays: more than the parser's default limit.
    google::protobuf::io::IstreamInputStream bytes(&std::cin);
    google::protobuf::io::CodedInputStream stream(&bytes);
    stream.SetRecursionLimit(1000);
    if (!message.ParseFromCodedStream(&stream) || !stream.ConsumedEntireMessage()) {
        fmt::print(stderr, "no report on standard input\n");
        return 1;
    }

    // An absent array reads as an empty one. The tree copies its values, so the message is no longer needed.
    PelorinArray const superglobals(new detail::PelorinArray(message.rinit().superglobals()));
    message.Clear();
    Printer()(superglobals);
}
