#include "requests/key_arrays.h"

#include <fmt/format.h>

#include <cstdint>
#include <variant>

namespace tarnwick::program {

KeyArray key_array_of(data::php::RequestHeaders const &record, std::string_view /*view*/)
{
    return {0, record->headers()};
}

KeyArray key_array_of(data::php::ResponseHeaders const &record, std::string_view /*view*/)
{
    return {1, record->headers()};
}

KeyArray key_array_of(data::php::Superglobals const &record, std::string_view view)
{
    return {first_superglobals + (view == "init" ? 0U : view == "change" ? 1U : 2U), record->values()};
}

std::string key_text(data::php::ZVal const &key)
{
    if (auto const *text = std::get_if<std::string>(&key->value()))
        return *text;
    if (auto const *number = std::get_if<std::int64_t>(&key->value()))
        return fmt::to_string(*number);
    return "undefined";
}

KeyArrays key_arrays_of(RequestRecords const &records)
{
    using namespace data::php;
    KeyArrays arrays;
    data::for_each_type(data::Types<RequestHeaders, ResponseHeaders, Superglobals>(), [&]<class Record> {
        for (auto const &reported : records.of_either<Record>()) {
            auto const &[index, array] = key_array_of(reported.record, reported.view);
            if (!arrays[index])
                arrays[index] = array;
        }
    });
    return arrays;
}

} // namespace tarnwick::program
