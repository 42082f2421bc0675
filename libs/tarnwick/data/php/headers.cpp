#include <tarnwick/data/php/headers.h>

#include <tarnwick/data/reading.h>

#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <google/protobuf/repeated_ptr_field.h>

#include <cstddef>
#include <string_view>
#include <utility>

namespace tarnwick::data::php::detail {
namespace {

constexpr std::string_view separator = ": ";

PelorinArray::Elements split(google::protobuf::RepeatedPtrField<std::string> const &lines)
{
    PelorinArray::Elements headers;
    headers.reserve(static_cast<std::size_t>(lines.size()));
    for (std::string_view const line : lines) {
        auto const colon = line.find(separator);
        if (colon == line.npos)
            headers.emplace_back(php_string(line), php::ZVal(new ZVal));
        else
            headers.emplace_back(php_string(line.substr(0, colon)), php_string(line.substr(colon + separator.size())));
    }
    return headers;
}

} // namespace

Headers::Headers(RequestId request_id, rpc::php::v1::PelorinArray const &headers)
    : request_id_(request_id)
    , headers_(new PelorinArray(headers))
{
}

Headers::Headers(RequestId request_id, google::protobuf::RepeatedPtrField<std::string> const &lines)
    : request_id_(request_id)
    , headers_(new PelorinArray(split(lines)))
{
}

} // namespace tarnwick::data::php::detail
