// Builds two PHP arrays, prints what the second has and the first lacks, and writes the difference into a message.

#include <tarnwick/data/php/make_values.h>
#include <tarnwick/data/print.h>

#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <fmt/format.h>

using namespace tarnwick::data::php;

int main()
{
    auto const before = php_elements({
        {php_string("user"), php_string("ann")},
        {php_string("cart"), php_array({{php_long(0), php_string("tea")}})},
    });
    auto const after = php_elements({
        {php_string("user"), php_string("ann")},
        {php_string("cart"), php_array({{php_long(0), php_string("tea")}, {php_long(1), php_string("milk")}})},
        {php_string("paid"), php_bool(true)},
    });

    auto const added = before->diff_keys(*after);
    fmt::print("added: {}\n", added);

    tarnwick::rpc::php::v1::PelorinArray message;
    added->to_protobuf(message);
    fmt::print("{} elements, {} bytes\n", message.elements_size(), message.ByteSizeLong());
}
