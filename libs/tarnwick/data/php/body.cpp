#include <tarnwick/data/php/body.h>

#include <tarnwick/data/reading.h>

namespace tarnwick::data::php::detail {

Body::Body(std::string const &text_0, std::int64_t number, std::string const &text_1)
    : text_0_(text(text_0))
    , number_(number)
    , text_1_(text(text_1))
{
}

} // namespace tarnwick::data::php::detail
