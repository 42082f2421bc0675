#pragma once

#include <tarnwick/data/php/zval.h>

#include "support/textproto.h"

#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <string>

namespace tarnwick::test {

/// A PHP value, and a PHP array, as the rpc dialect sends them.
inline data::php::ZVal value_from_text(std::string const &textproto)
{
    return data::php::ZVal(new data::php::detail::ZVal(from_text<rpc::php::v1::ZVal>(textproto)));
}

inline data::php::PelorinArray array_from_text(std::string const &textproto)
{
    return data::php::PelorinArray(
        new data::php::detail::PelorinArray(from_text<rpc::php::v1::PelorinArray>(textproto)));
}

} // namespace tarnwick::test
